#include "ZelCore/Diagnostics/SourceSwitchManager.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Diagnostics/Configuration/DiagnosticsConfiguration.h"
#include "ZelCore/Diagnostics/Registry.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics {

std::shared_ptr<CSourceSwitch> CSourceSwitchManager::GetSourceSwitch(const wchar_t* switchName) {
    const wchar_t* const method = L"ZelCore::Diagnostics::CSourceSwitchManager::GetSourceSwitch";
    CheckNotNull(switchName, L"switchName", ZEL_SITE(method));
    static Registry<CSourceSwitch>& registry = *new Registry<CSourceSwitch>;
    return registry.GetOrMake(switchName, [&] {
        auto& switches = Configuration::GetDiagnosticsConfiguration().switches.GetValue();
        const auto found = switches.find(switchName);
        if (found == switches.end()) {
            throw ZelCore::Configuration::CConfigurationException(
                CString::Format(GetMessageText(Message::SourceSwitchNotFound), switchName).c_str(), ZEL_SITE(method));
        }
        return std::make_shared<CSourceSwitch>(switchName, found->second->value.GetValue());
    });
}

} // namespace ZelCore::Diagnostics
