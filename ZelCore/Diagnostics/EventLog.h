#pragma once

#include "ZelCore/Export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZelCore::Diagnostics {

/// The type of an entry; the values are those of the system.
enum class EventLogEntryType : std::uint16_t {
    Error = 0x1,         ///< data or functionality was lost
    Warning = 0x2,       ///< a problem that may cause a loss later
    Information = 0x4,   ///< a successful operation
    SuccessAudit = 0x8,  ///< a successful access
    FailureAudit = 0x10, ///< a denied access
};

/// Writes entries to the Windows event log. May be used from several threads.
class ZELCORE_API CEventLog {
public:
    /// \param source the name under which an application registered its messages; null throws CArgumentNullException,
    ///               an empty name CArgumentException
    /// \param server the computer; null for the local one
    ///
    /// Throws CWin32Exception if the system call fails.
    explicit CEventLog(const wchar_t* source, const wchar_t* server = nullptr);
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;
    /// Deregisters the source.
    ~CEventLog();

    /// Writes an entry for the current user.
    ///
    /// \param strings the insertion strings of the message; more than 65,535 throw CArgumentOutOfRangeException for
    ///                "strings"
    /// \param type    the type of the entry
    /// \param eventId the message identifier in the source's message file, with its severity bits
    /// \param category a category of the source; 0 for none
    ///
    /// Throws CWin32Exception if the system rejects the entry; nothing is then written.
    void WriteEntry(const std::vector<std::wstring>& strings, EventLogEntryType type, std::uint32_t eventId,
                    std::uint16_t category) const;

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Diagnostics
