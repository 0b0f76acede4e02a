#pragma once

#include "ZelCore/Configuration/Configuration.h"

#include <cstddef>

/// Sections, elements, properties and collections of XML configuration files.
namespace ZelCore::Configuration {

/// Opens configurations. COM must be initialised on the calling thread (ZelWin32::CComInitGuard).
///
/// Documents that define a document type are refused with CConfigurationException, and no other file is fetched.
class ZELCORE_API CConfigurationManager {
public:
    CConfigurationManager() = delete;

    /// Opens a file in UTF-8, UTF-16 or an encoding that its declaration names and the system's parser has. A file that
    /// does not exist, or is a folder, is no error: its configuration has no sections.
    ///
    /// \param path empty for the running program's own: its file name with ".config" behind it
    ///
    /// Where somebody has locked a range of the file it waits. Throws CXmlException for a file that is no XML,
    /// CWin32Exception when it cannot be read, CComException without COM, CArgumentOutOfRangeException for "size"
    /// beyond 1 GiB.
    static CConfiguration OpenExeConfiguration(const std::wstring& path);

    /// The same for text in memory, which is copied. Throws CConfigurationException with the parser's reason for text
    /// that is no XML, and for a character of the value 0 before the end; CArgumentNullException for "text".
    ///
    /// \param length in characters, with or without terminating zeros; at most 1,073,741,823, otherwise
    /// CArgumentOutOfRangeException for "length"
    static CConfiguration OpenExeConfigurationBuffer(const wchar_t* text, std::size_t length);
};

} // namespace ZelCore::Configuration
