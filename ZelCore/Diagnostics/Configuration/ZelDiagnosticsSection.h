#pragma once

#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Configuration/ConfigurationSection.h"

namespace ZelCore::Diagnostics::Configuration {

// As for the elements of SystemDiagnosticsSection.h: users derive, and no base destroys.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The library's own section, "zel/zel.diagnostics", which has to be declared with the type that GetTypeName returns.
///
/// \code{.xml}
/// <zel.diagnostics logDirectory="%ProgramData%\Logs"/>
/// \endcode
class ZELCORE_API CZelDiagnosticsSection : public ZelCore::Configuration::CConfigurationSection {
public:
    /// Empty, nothing read.
    CZelDiagnosticsSection();
    CZelDiagnosticsSection(const CZelDiagnosticsSection&) = delete;
    CZelDiagnosticsSection& operator=(const CZelDiagnosticsSection&) = delete;
    ~CZelDiagnosticsSection();

    /// The section of a configuration file, read when it is first asked for and kept as long as the process lives; an
    /// empty section where there is none. May be called from any thread. Throws as reading a configuration does.
    ///
    /// \param path as of CConfigurationManager::OpenExeConfiguration: empty for the program's own
    /// The section is shared by the whole process: who changes it sees to it that nobody reads it meanwhile.
    static CZelDiagnosticsSection& GetZelDiagnosticsConfiguration(const std::wstring& path);

    /// Forgets what an earlier reading expanded.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;
    std::wstring GetTypeName() override;

    /// The log directory as it is written in the file; empty where it is not. Valid while the section lives.
    const std::wstring& GetLogDirectory() const {
        return m_logDirectory.GetValue();
    }
    /// The log directory with the environment's variables in place, as they were when this was asked for the first
    /// time; for a section of GetZelDiagnosticsConfiguration, when it was read. Throws CConfigurationException when the
    /// system cannot expand them. Valid while the section lives.
    const std::wstring& GetLogDirectoryExpanded() const;

private:
    ZelCore::Configuration::CConfigurationProperty<std::wstring> m_logDirectory{L"logDirectory", false};
    mutable std::wstring m_logDirectoryExpanded;
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Diagnostics::Configuration
