#pragma once

#include "ZelCore/Configuration/ConfigurationSection.h"

struct IXMLDOMDocument;

namespace ZelCore::Configuration {

/// An opened configuration file: sections declared in "configSections" and read by name.
///
///     const ZelWin32::CComInitGuard com;
///     CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(L"");
///     CMySection section;
///     if (configuration.GetSection(L"mygroup/my.section", section)) {
///         std::printf("%ls\n", section.m_directory.GetValue().c_str());
///     }
///
/// Names of sections become part of a query as they stand: never take them from outside. All copies share one document
/// and must end before COM does on their thread; one thread at a time.
class ZELCORE_API CConfiguration {
public:
    /// Takes a reference of its own to the document. Null throws CArgumentNullException for "document".
    /// \param path the full path of the file, from whose folder "configSource" counts; empty for none
    CConfiguration(IXMLDOMDocument* document, const std::wstring& path);

    /// Copies share the document. One that was moved from has none: it finds no section.
    ///@{
    CConfiguration(const CConfiguration& other);
    CConfiguration(CConfiguration&& other) noexcept;
    CConfiguration& operator=(CConfiguration other) noexcept;
    ///@}

    /// Releases its reference to the document, for which COM must still be initialised.
    ~CConfiguration();

    /// Reads a section, from the file that its "configSource" attribute names if there is one: its path counts from
    /// the folder of this file. The root element of that file takes the section's place, so give it the same name; a
    /// "configSource" of its own is followed only when the section is read again.
    ///
    /// \param name groups and section, separated by "/"; empty throws CArgumentException for "name"
    /// \return false, with the section untouched, when it is not declared with the section's type or not there
    ///
    /// Throws CConfigurationException for a "configSource" beside content or without a file and for what the section
    /// lacks, CXmlException for such a file that is no XML, CWin32Exception for one that cannot be read, CComException
    /// for a name that makes no query. What the section has read before stays read.
    bool GetSection(const std::wstring& name, CConfigurationSection& section);

    /// The same for "system.diagnostics", which needs no declaration.
    bool GetSystemDiagnosticsSection(CConfigurationSection& section);

    /// Always false: groups have nothing to read.
    bool GetSectionGroup(const std::wstring& name, CConfigurationSectionGroup& group);

    /// The full path of the file; empty for a buffer. Valid while the object lives and is not assigned to.
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
