#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"

#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics::Configuration {

using ZelCore::Configuration::CConfigurationElement;
using ZelCore::Configuration::CConfigurationException;
using ZelCore::Configuration::CConfigurationSection;

CTraceListenerElement::CTraceListenerElement() : CConfigurationElement(L"add") {}
CTraceListenerElement::~CTraceListenerElement() = default;

void CTraceListenerElement::Deserialize(IXMLDOMElement* xmlIn) {
    /// Properties that are read in addition to the published ones.
    struct Addition final : CConfigurationElement {
        explicit Addition(CProperty<bool>& counts) : CConfigurationElement(L"add"), property(counts) {}
        void GetProperties(PropertyList& properties) override {
            properties.push_back(&property);
        }
        CProperty<bool>& property;
    };
    CConfigurationElement::Deserialize(xmlIn);
    Addition(countFailures).Deserialize(xmlIn);
}

void CTraceListenerElement::GetProperties(PropertyList& properties) {
    properties.insert(properties.end(), {&type, &name, &initializeData, &maximumFileSize, &maximumNumberOfFiles});
}

CSourceSwitchElement::CSourceSwitchElement() : CConfigurationElement(L"add") {}
CSourceSwitchElement::~CSourceSwitchElement() = default;

void CSourceSwitchElement::GetProperties(PropertyList& properties) {
    properties.insert(properties.end(), {&name, &value});
}

CTraceSourceElement::CTraceSourceElement() : CConfigurationElement(L"source") {}
CTraceSourceElement::~CTraceSourceElement() = default;

void CTraceSourceElement::Deserialize(IXMLDOMElement* xmlIn) {
    switchName = {L"switchName", false}; // discards the value of an earlier reading
    switchValue = {L"switchValue", false};
    CConfigurationElement::Deserialize(xmlIn);
    const std::wstring parsed = L"PARSED";
    if (switchName.GetStatus() == parsed && switchValue.GetStatus() == parsed) {
        throw CConfigurationException(
            L"Illegal to specify both switchName and switchValue on a trace source.",
            ZEL_SITE(L"ZelCore::Diagnostics::Configuration::CTraceSourceElement::Deserialize"));
    }
}

void CTraceSourceElement::GetProperties(PropertyList& properties) {
    properties.insert(properties.end(), {&name, &switchName, &switchValue, &propagate, &inherit, &listeners});
}

CSystemDiagnosticsSection::CSystemDiagnosticsSection() : CConfigurationSection(L"system.diagnostics") {}
CSystemDiagnosticsSection::~CSystemDiagnosticsSection() = default;

void CSystemDiagnosticsSection::GetProperties(PropertyList& properties) {
    properties.insert(properties.end(), {&sources, &switches, &sharedListeners});
}

std::wstring CSystemDiagnosticsSection::GetTypeName() {
    return L"not used";
}

} // namespace ZelCore::Diagnostics::Configuration
