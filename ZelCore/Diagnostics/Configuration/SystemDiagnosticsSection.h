#pragma once

#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Configuration/ConfigurationSection.h"
#include "ZelCore/Diagnostics/SourceLevels.h"

/// The sections of a program's configuration that trace sources use.
namespace ZelCore::Diagnostics::Configuration {

/// A property of type text, number, boolean or levels.
template <class T> using CProperty = ZelCore::Configuration::CConfigurationProperty<T, 1>;
/// A property that is a collection of named elements.
template <class E>
using CCollectionProperty =
    ZelCore::Configuration::CConfigurationProperty<ZelCore::Configuration::CConfigurationElementCollection<E>, 0>;

// These classes may be derived from and are never destroyed through a base: elements have no virtual destructor,
// because their two or three virtual functions are published.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// One of the listeners that sources share. In a source only its name is used.
///
/// \code{.xml}
/// <add name="log" type="FileLog" initializeData="%LOGDIRECTORY%\app.log" maximumFileSize="1048576"
///      maximumNumberOfFiles="5"/>
/// \endcode
class ZELCORE_API CTraceListenerElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// The default values of the properties below.
    CTraceListenerElement();
    CTraceListenerElement(const CTraceListenerElement&) = delete;
    CTraceListenerElement& operator=(const CTraceListenerElement&) = delete;
    ~CTraceListenerElement();
    /// Also reads countFailures, which is not among the properties of GetProperties.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> type{L"type", false}; ///< "FileLog", "EventProvider", or any other text for the console
    CProperty<std::wstring> name{L"name", true};  ///< the name that sources refer to; the only required property
    CProperty<std::wstring> initializeData{L"initializeData", false}; ///< the log's file name or the provider's GUID
    CProperty<std::int64_t> maximumFileSize{L"maximumFileSize", false, -1};           ///< in bytes; -1 for no limit
    CProperty<std::uint32_t> maximumNumberOfFiles{L"maximumNumberOfFiles", false, 1}; ///< including the current one
    /// Whether failures of the listener are counted instead of thrown by TraceEvent, see CTraceListener.
    CProperty<bool> countFailures{L"countFailures", false, false};
};

/// A switch that sources share.
///
/// \code{.xml}
/// <add name="AppSwitch" value="Warning, ActivityTracing"/>
/// \endcode
class ZELCORE_API CSourceSwitchElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// Level Off.
    CSourceSwitchElement();
    CSourceSwitchElement(const CSourceSwitchElement&) = delete;
    CSourceSwitchElement& operator=(const CSourceSwitchElement&) = delete;
    ~CSourceSwitchElement();
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};                      ///< the name that sources refer to; required
    CProperty<SourceLevels> value{L"value", true, SourceLevels::Off}; ///< the events that pass; required
};

/// A source, with its own level or a shared switch, and the names of its listeners.
///
/// \code{.xml}
/// <source name="App.Tcp" switchValue="Warning"><listeners><add name="log"/></listeners></source>
/// \endcode
class ZELCORE_API CTraceSourceElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// Level Off, without listeners.
    CTraceSourceElement();
    CTraceSourceElement(const CTraceSourceElement&) = delete;
    CTraceSourceElement& operator=(const CTraceSourceElement&) = delete;
    ~CTraceSourceElement();

    /// Throws CConfigurationException if both switchName and switchValue are present, even if they are empty.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};              ///< the name of the source and its descendants; required
    CProperty<std::wstring> switchName{L"switchName", false}; ///< one of "switches"; if empty, switchValue is used
    CProperty<SourceLevels> switchValue{L"switchValue", false, SourceLevels::Off}; ///< the source's own level
    CProperty<bool> propagate{L"propagate", false, false};                         ///< read, but has no effect
    CProperty<bool> inherit{L"inherit", false, true};                              ///< read, but has no effect
    CCollectionProperty<CTraceListenerElement> listeners{L"listeners", false};     ///< names of "sharedListeners"
};

/// The section "system.diagnostics", which configures the switches and listeners of trace sources. It needs no
/// declaration.
///
/// The library reads it automatically for the running program. To read another program's section, pass an object to
/// CConfiguration::GetSystemDiagnosticsSection.
class ZELCORE_API CSystemDiagnosticsSection : public ZelCore::Configuration::CConfigurationSection {
public:
    /// An empty section.
    CSystemDiagnosticsSection();
    CSystemDiagnosticsSection(const CSystemDiagnosticsSection&) = delete;
    CSystemDiagnosticsSection& operator=(const CSystemDiagnosticsSection&) = delete;
    ~CSystemDiagnosticsSection();
    void GetProperties(PropertyList& properties) override;

    /// Returns "not used": the section needs no declaration.
    std::wstring GetTypeName() override;

    /// The trace sources, with their levels and listeners.
    CCollectionProperty<CTraceSourceElement> sources{L"sources", false};
    /// The levels that sources share.
    CCollectionProperty<CSourceSwitchElement> switches{L"switches", false};
    /// The listeners that sources share.
    CCollectionProperty<CTraceListenerElement> sharedListeners{L"sharedListeners", false};
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Diagnostics::Configuration
