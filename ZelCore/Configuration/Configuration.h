#pragma once

#include "ZelCore/Configuration/ConfigurationSection.h"

struct IXMLDOMDocument;

namespace ZelCore::Configuration {

/// An open configuration file: sections are declared in "configSections" and read by name.
///
///     const ZelWin32::CComInitGuard com;
///     CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(L"");
///     CMySection section;
///     if (configuration.GetSection(L"mygroup/my.section", section)) {
///         std::printf("%ls\n", section.m_directory.GetValue().c_str());
///     }
///
/// Section names are inserted into a query without escaping: never use names from untrusted input. All copies share one
/// document and must be destroyed before COM is uninitialized on their thread. Not thread-safe: one thread at a time.
class ZELCORE_API CConfiguration {
public:
    /// Adds a reference to the document. Null throws CArgumentNullException for "document".
    /// \param path the full path of the file, whose folder is the base of "configSource"; empty for none
    CConfiguration(IXMLDOMDocument* document, const std::wstring& path);

    /// Copies share the document. A moved-from object has none and finds no section.
    ///@{
    CConfiguration(const CConfiguration& other);
    CConfiguration(CConfiguration&& other) noexcept;
    CConfiguration& operator=(CConfiguration other) noexcept;
    ///@}

    /// Releases the reference to the document; COM must still be initialized.
    ~CConfiguration();

    /// Reads a section. If it has a "configSource" attribute, it is read from that file, whose path is relative to the
    /// folder of this file. The root element of that file replaces the section and should have the same name. A
    /// "configSource" in that root element is followed only when the section is read again.
    ///
    /// \param name groups and section, separated by "/"; an empty name throws CArgumentException for "name"
    /// \return false, with the section unchanged, if it is not declared with the section's type or does not exist
    ///
    /// Throws CConfigurationException for a "configSource" together with content, for a missing "configSource" file and
    /// for missing properties; CXmlException if that file is not well-formed XML; CWin32Exception if it cannot be read;
    /// CComException for a name that is not a valid query. Properties read before the failure keep their new values.
    bool GetSection(const std::wstring& name, CConfigurationSection& section);

    /// The same for the section "system.diagnostics", which needs no declaration.
    bool GetSystemDiagnosticsSection(CConfigurationSection& section);

    /// Always returns false: groups have no content to read.
    bool GetSectionGroup(const std::wstring& name, CConfigurationSectionGroup& group);

    /// Returns the full path of the file, or an empty string for a buffer. Valid while the object lives and is not
    /// assigned to.
    const std::wstring& GetPath() const noexcept {
        return m_path;
    }

private:
    bool IsDeclared(const std::vector<std::wstring>& parts, CConfigurationSection& section) const;
    bool ReadContent(const std::vector<std::wstring>& parts, CConfigurationSection& section);

    std::wstring m_path;
    IXMLDOMDocument* m_document;
};

} // namespace ZelCore::Configuration
