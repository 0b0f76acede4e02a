#pragma once

#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Configuration/ConfigurationSection.h"

namespace ZelCore::Diagnostics::Configuration {

// As in SystemDiagnosticsSection.h: may be derived from, never destroyed through a base.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The library's own section, "zel/zel.diagnostics", which must be declared with the type that GetTypeName returns.
///
/// \code{.xml}
/// <zel.diagnostics logDirectory="%ProgramData%\Logs"/>
/// \endcode
class ZELCORE_API CZelDiagnosticsSection : public ZelCore::Configuration::CConfigurationSection {
public:
    /// An empty section.
    CZelDiagnosticsSection();
    CZelDiagnosticsSection(const CZelDiagnosticsSection&) = delete;
    CZelDiagnosticsSection& operator=(const CZelDiagnosticsSection&) = delete;
    ~CZelDiagnosticsSection();

    /// Returns the section of a configuration file. It is read on the first call and kept until the process ends; it is
    /// empty if it does not exist. May be called from any thread. Throws the exceptions of reading a configuration.
    ///
    /// \param path as for CConfigurationManager::OpenExeConfiguration: empty for the program's own
    ///
    /// The section is shared by the whole process: a caller that changes it must ensure that no other thread reads it
    /// meanwhile.
    static CZelDiagnosticsSection& GetZelDiagnosticsConfiguration(const std::wstring& path);

    /// Discards the expanded directory of an earlier reading.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;
    std::wstring GetTypeName() override;

    /// Returns the log directory as written in the file; empty if it is absent. Valid while the section lives.
    const std::wstring& GetLogDirectory() const {
        return m_logDirectory.GetValue();
    }
    /// Returns the log directory with environment variables expanded. They are expanded on the first call; for a
    /// section of GetZelDiagnosticsConfiguration, when it was read. Throws CConfigurationException if the system cannot
    /// expand them. Valid while the section lives.
    const std::wstring& GetLogDirectoryExpanded() const;

private:
    ZelCore::Configuration::CConfigurationProperty<std::wstring> m_logDirectory{L"logDirectory", false};
    mutable std::wstring m_logDirectoryExpanded;
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Diagnostics::Configuration
