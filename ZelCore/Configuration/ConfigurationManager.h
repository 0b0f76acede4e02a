#pragma once

#include "ZelCore/Configuration/Configuration.h"

#include <cstddef>

namespace ZelCore::Configuration {

/// Opens configurations. COM must be initialised on the calling thread (ZelWin32::CComInitGuard).
///
/// Documents that define a document type are refused with CConfigurationException, and no other file is fetched.
class ZELCORE_API CConfigurationManager {
public:
    CConfigurationManager() = delete;

    /// Opens a file in any encoding that XML 1.0 declares or marks. A file that does not exist is no error: its
    /// configuration has no sections.
    ///
    /// \param path empty for the running program's own: its file name with ".config" behind it
    ///
    /// Throws CXmlException for a file that is no XML, CWin32Exception when it cannot be read.
    static CConfiguration OpenExeConfiguration(const std::wstring& path);

    /// The same for text in memory. Throws CConfigurationException with the parser's reason for text that is no XML,
    /// CArgumentNullException for "text", CArgumentOutOfRangeException for a "length" beyond 1 GiB.
    static CConfiguration OpenExeConfigurationBuffer(const wchar_t* text, std::size_t length);
};

} // namespace ZelCore::Configuration
