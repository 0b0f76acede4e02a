#pragma once

#include "ZelCore/Export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ZelCore::Diagnostics {

/// The type of an entry, with the system's values.
enum class EventLogEntryType : std::uint16_t {
    Error = 0x1,         ///< something was lost
    Warning = 0x2,       ///< something may be lost later
    Information = 0x4,   ///< something was done
    SuccessAudit = 0x8,  ///< access was granted
    FailureAudit = 0x10, ///< access was refused
};

/// Writes entries to the Windows event log. May be shared by threads.
class ZELCORE_API CEventLog {
public:
    /// \param source the name under which an application registered its messages; null throws CArgumentNullException,
    ///               empty CArgumentException
    /// \param server the computer, null for this one
    ///
    /// Throws CWin32Exception when the system refuses.
    explicit CEventLog(const wchar_t* source, const wchar_t* server = nullptr);
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;
    /// Gives the source's handle back to the system.
    ~CEventLog();

    /// Writes an entry on behalf of the current user.
    ///
    /// \param strings what is put into the message of the identifier; at most 65,535, otherwise
    ///                CArgumentOutOfRangeException for "strings"
    /// \param type    how the entry is shown
    /// \param eventId the message's identifier in the source's message file, with its severity bits
    /// \param category the source's own; 0 for none
    ///
    /// Throws CWin32Exception when the system refuses the entry; nothing is written then.
    void WriteEntry(const std::vector<std::wstring>& strings, EventLogEntryType type, std::uint32_t eventId,
                    std::uint16_t category) const;

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Diagnostics
