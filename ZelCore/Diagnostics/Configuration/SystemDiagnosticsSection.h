#pragma once

#include "ZelCore/Configuration/ConfigurationElementCollection.h"
#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Configuration/ConfigurationSection.h"
#include "ZelCore/Diagnostics/SourceLevels.h"

/// The sections of a program's configuration that trace sources go by.
namespace ZelCore::Diagnostics::Configuration {

/// A property of text, number, truth value or levels.
template <class T> using CProperty = ZelCore::Configuration::CConfigurationProperty<T, 1>;
/// A property that is a collection of elements with names.
template <class E>
using CCollectionProperty =
    ZelCore::Configuration::CConfigurationProperty<ZelCore::Configuration::CConfigurationElementCollection<E>, 0>;

// Users derive from these classes and never destroy one through a base: elements have no virtual destructor, so that
// their virtual functions are the two or three that they are known by.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A listener among those that sources share. In a source only its name counts.
///
/// \code{.xml}
/// <add name="log" type="FileLog" initializeData="%LOGDIRECTORY%\app.log" maximumFileSize="1048576"
///      maximumNumberOfFiles="5"/>
/// \endcode
class ZELCORE_API CTraceListenerElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// With the values that are written beside the properties below, nothing read.
    CTraceListenerElement();
    CTraceListenerElement(const CTraceListenerElement&) = delete;
    CTraceListenerElement& operator=(const CTraceListenerElement&) = delete;
    ~CTraceListenerElement();
    /// Reads countFailures too, which is not among the properties of GetProperties.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> type{L"type", false}; ///< "FileLog", "EventProvider", or anything else for the console
    CProperty<std::wstring> name{L"name", true};  ///< by which sources name it; the one that is required
    CProperty<std::wstring> initializeData{L"initializeData", false}; ///< the log's file name, the provider's GUID
    CProperty<std::int64_t> maximumFileSize{L"maximumFileSize", false, -1};           ///< bytes; -1 for no limit
    CProperty<std::uint32_t> maximumNumberOfFiles{L"maximumNumberOfFiles", false, 1}; ///< with the current one
    /// Whether failures of the listener are counted instead of leaving TraceEvent, see CTraceListener.
    CProperty<bool> countFailures{L"countFailures", false, false};
};

/// A switch that sources share.
///
/// \code{.xml}
/// <add name="AppSwitch" value="Warning, ActivityTracing"/>
/// \endcode
class ZELCORE_API CSourceSwitchElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// Off, nothing read.
    CSourceSwitchElement();
    CSourceSwitchElement(const CSourceSwitchElement&) = delete;
    CSourceSwitchElement& operator=(const CSourceSwitchElement&) = delete;
    ~CSourceSwitchElement();
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};                      ///< by which sources name it; required
    CProperty<SourceLevels> value{L"value", true, SourceLevels::Off}; ///< which events pass; required
};

/// A source, with a level of its own or a shared switch, and the names of its listeners.
///
/// \code{.xml}
/// <source name="App.Tcp" switchValue="Warning"><listeners><add name="log"/></listeners></source>
/// \endcode
class ZELCORE_API CTraceSourceElement : public ZelCore::Configuration::CConfigurationElement {
public:
    /// Off and without listeners, nothing read.
    CTraceSourceElement();
    CTraceSourceElement(const CTraceSourceElement&) = delete;
    CTraceSourceElement& operator=(const CTraceSourceElement&) = delete;
    ~CTraceSourceElement();

    /// Throws CConfigurationException where there are both a switchName and a switchValue, also empty ones.
    void Deserialize(IXMLDOMElement* xmlIn) override;
    void GetProperties(PropertyList& properties) override;

    CProperty<std::wstring> name{L"name", true};              ///< of the source and those below it; required
    CProperty<std::wstring> switchName{L"switchName", false}; ///< one of "switches"; if empty, its own level counts
    CProperty<SourceLevels> switchValue{L"switchValue", false, SourceLevels::Off}; ///< the source's own level
    CProperty<bool> propagate{L"propagate", false, false};                         ///< read, but without effect
    CProperty<bool> inherit{L"inherit", false, true};                              ///< read, but without effect
    CCollectionProperty<CTraceListenerElement> listeners{L"listeners", false};     ///< names of "sharedListeners"
};

/// The section "system.diagnostics", which tells trace sources their switches and listeners. It needs no declaration.
///
/// The library reads it by itself for the running program. To read another program's, hand an object to
/// CConfiguration::GetSystemDiagnosticsSection.
class ZELCORE_API CSystemDiagnosticsSection : public ZelCore::Configuration::CConfigurationSection {
public:
    /// Empty, nothing read.
    CSystemDiagnosticsSection();
    CSystemDiagnosticsSection(const CSystemDiagnosticsSection&) = delete;
    CSystemDiagnosticsSection& operator=(const CSystemDiagnosticsSection&) = delete;
    ~CSystemDiagnosticsSection();
    void GetProperties(PropertyList& properties) override;

    /// "not used": nobody looks for a declaration.
    std::wstring GetTypeName() override;

    /// What is traced, from which level on and where to.
    CCollectionProperty<CTraceSourceElement> sources{L"sources", false};
    /// The levels that sources share.
    CCollectionProperty<CSourceSwitchElement> switches{L"switches", false};
    /// Where events can go.
    CCollectionProperty<CTraceListenerElement> sharedListeners{L"sharedListeners", false};
};

#pragma GCC diagnostic pop

} // namespace ZelCore::Diagnostics::Configuration
