#pragma once

#include "ZelCore/Configuration/Configuration.h"

#include <cstddef>

/// Sections, elements, properties and collections of XML configuration files.
namespace ZelCore::Configuration {

/// Opens configurations. COM must be initialized on the calling thread (ZelWin32::CComInitGuard).
///
/// Documents with a document type declaration are rejected with CConfigurationException, and no other files are loaded.
class ZELCORE_API CConfigurationManager {
public:
    CConfigurationManager() = delete;

    /// Opens a file in UTF-8, UTF-16 or an encoding that is named in its declaration and supported by the system's
    /// parser. A file that does not exist, or that is a folder, is not an error: its configuration has no sections.
    ///
    /// \param path empty for the running program's own configuration: its file name with ".config" appended
    ///
    /// Waits while another process has locked a range of the file. Throws CXmlException for a file that is not
    /// well-formed XML, CWin32Exception if it cannot be read, CComException without COM, and
    /// CArgumentOutOfRangeException for "size" beyond 1 GiB.
    static CConfiguration OpenExeConfiguration(const std::wstring& path);

    /// The same for text in memory, which is copied. Throws CConfigurationException with the parser's reason for text
    /// that is not well-formed XML, and for a null character before the end; CArgumentNullException for "text".
    ///
    /// \param length in characters, with or without terminating nulls; at most 1,073,741,823, otherwise
    ///               CArgumentOutOfRangeException for "length"
    static CConfiguration OpenExeConfigurationBuffer(const wchar_t* text, std::size_t length);
};

} // namespace ZelCore::Configuration
