#pragma once

#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Configuration/ConfigurationSection.h"

namespace ZelCore::Diagnostics::Configuration {

template <class T> using CProperty = ZelCore::Configuration::CConfigurationProperty<T, 1>;
template <class E>
using CCollectionProperty =
    ZelCore::Configuration::CConfigurationProperty<ZelCore::Configuration::CConfigurationElementCollection<E>, 0>;

/// A listener: <add name="log" type="FileLog" initializeData="%LOGDIRECTORY%\app.log" maximumFileSize="1048576"
/// maximumNumberOfFiles="5"/>. In a source only its name counts.
class ZELCORE_API CTraceListenerElement final : public ZelCore::Configuration::CConfigurationElement {
public:
    CTraceListenerElement();
    CTraceListenerElement(const CTraceListenerElement&) = delete;
    CTraceListenerElement& operator=(const CTraceListenerElement&) = delete;
    ~CTraceListenerElement();
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> type{L"type", false};
    CProperty<std::wstring> name{L"name", true};
    CProperty<std::wstring> initializeData{L"initializeData", false};
    CProperty<std::int64_t> maximumFileSize{L"maximumFileSize", false, -1};           ///< bytes; -1 for no limit
    CProperty<std::uint32_t> maximumNumberOfFiles{L"maximumNumberOfFiles", false, 1}; ///< with the current one
};

/// A switch that sources share: <add name="AppSwitch" value="Warning, ActivityTracing"/>
class ZELCORE_API CSourceSwitchElement final : public ZelCore::Configuration::CConfigurationElement {
public:
    CSourceSwitchElement();
    CSourceSwitchElement(const CSourceSwitchElement&) = delete;
    CSourceSwitchElement& operator=(const CSourceSwitchElement&) = delete;
    ~CSourceSwitchElement();
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};
    CProperty<SourceLevels> value{L"value", true, SourceLevels::Off};
};

/// A source: <source name="App.Tcp" switchValue="Warning"><listeners><add name="log"/></listeners></source>
class ZELCORE_API CTraceSourceElement final : public ZelCore::Configuration::CConfigurationElement {
public:
    CTraceSourceElement();
    CTraceSourceElement(const CTraceSourceElement&) = delete;
    CTraceSourceElement& operator=(const CTraceSourceElement&) = delete;
    ~CTraceSourceElement();

    /// Throws CConfigurationException where there are both a switchName and a switchValue, also empty ones.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};
    CProperty<std::wstring> switchName{L"switchName", false};
    CProperty<SourceLevels> switchValue{L"switchValue", false, SourceLevels::Off};
    CProperty<bool> propagate{L"propagate", false, false};
    CProperty<bool> inherit{L"inherit", false, true};
    CCollectionProperty<CTraceListenerElement> listeners{L"listeners", false};
};

/// The section "system.diagnostics", which tells trace sources their switches and listeners. It needs no declaration.
class ZELCORE_API CSystemDiagnosticsSection final : public ZelCore::Configuration::CConfigurationSection {
public:
    CSystemDiagnosticsSection();
    CSystemDiagnosticsSection(const CSystemDiagnosticsSection&) = delete;
    CSystemDiagnosticsSection& operator=(const CSystemDiagnosticsSection&) = delete;
    ~CSystemDiagnosticsSection();
    void GetProperties(PropertyList& properties) override;
    std::wstring GetTypeName() override;

    CCollectionProperty<CTraceSourceElement> sources{L"sources", false};
    CCollectionProperty<CSourceSwitchElement> switches{L"switches", false};
    CCollectionProperty<CTraceListenerElement> sharedListeners{L"sharedListeners", false};
};

} // namespace ZelCore::Diagnostics::Configuration
