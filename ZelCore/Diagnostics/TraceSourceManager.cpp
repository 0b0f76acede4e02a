#include "ZelCore/Diagnostics/TraceSourceManager.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Diagnostics/Configuration/DiagnosticsConfiguration.h"
#include "ZelCore/Diagnostics/Registry.h"
#include "ZelCore/Diagnostics/SourceSwitchManager.h"
#include "ZelCore/Diagnostics/TraceListenerManager.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics {

namespace {

/// Looks for the name, then for the part before its last dot, and so on.
template <class Map> typename Map::iterator FindWithAncestors(Map& map, std::wstring name) {
    for (;;) {
        if (const auto found = map.find(name); found != map.end()) {
            return found;
        }
        const std::size_t dot = name.rfind(L'.');
        if (dot == std::wstring::npos) {
            return map.end();
        }
        name.erase(dot);
    }
}

} // namespace

CTraceSourceImpl::CTraceSourceImpl(const std::wstring& sourceName) {
    auto& sources = Configuration::GetDiagnosticsConfiguration().sources.GetValue();
    const auto found = FindWithAncestors(sources, sourceName);
    if (found == sources.end()) {
        name = sourceName.substr(0, sourceName.find(L'.'));
        sourceSwitch = std::make_shared<CSourceSwitch>(L"", SourceLevels::Off);
        return;
    }
    name = found->first;
    auto& element = *found->second;
    const std::wstring& switchName = element.switchName.GetValue();
    sourceSwitch = switchName.empty() ? std::make_shared<CSourceSwitch>(L"", element.switchValue.GetValue())
                                      : CSourceSwitchManager::GetSourceSwitch(switchName.c_str());
    for (const auto& listener : element.listeners.GetValue()) {
        listeners.push_back(CTraceListenerManager::GetTraceListener(listener.first.c_str()));
    }
}

CTraceSourceImpl::~CTraceSourceImpl() = default;

std::shared_ptr<CTraceSourceImpl> CTraceSourceManager::GetTraceSource(const wchar_t* sourceName) {
    CheckNotEmpty(sourceName, L"sourceName", ZEL_SITE(L"ZelCore::Diagnostics::CTraceSourceManager::GetTraceSource"));
    static Registry<CTraceSourceImpl>& registry = *new Registry<CTraceSourceImpl>;
    const std::lock_guard<ZelWin32::CCriticalSection> guard(registry.lock);
    const auto found = FindWithAncestors(registry.objects, sourceName);
    if (found != registry.objects.end()) {
        if (auto source = found->second.lock()) {
            return source;
        }
    }
    auto source = std::make_shared<CTraceSourceImpl>(found != registry.objects.end() ? found->first : sourceName);
    registry.objects[source->name] = source;
    return source;
}

} // namespace ZelCore::Diagnostics
