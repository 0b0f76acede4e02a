#include "ZelCore/Diagnostics/TraceListenerManager.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/Configuration/ConfigurationException.h"
#include "ZelCore/Diagnostics/Configuration/DiagnosticsConfiguration.h"
#include "ZelCore/Diagnostics/ConsoleTraceListener.h"
#include "ZelCore/Diagnostics/EventProviderTraceListener.h"
#include "ZelCore/Diagnostics/LogWriterTraceListener.h"
#include "ZelCore/Diagnostics/Registry.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics {

namespace {

// Site: both overloads and their helpers.
const wchar_t* const Method = L"ZelCore::Diagnostics::CTraceListenerManager::GetTraceListener";

Registry<CTraceListener>& GetRegistry() {
    static Registry<CTraceListener>& registry = *new Registry<CTraceListener>;
    return registry;
}

std::shared_ptr<CTraceListener> MakeListener(const wchar_t* name, const std::wstring& type, const wchar_t* data,
                                             std::int64_t maximumFileSize, std::uint32_t maximumNumberOfFiles) {
    if (type == L"FileLog") {
        return std::make_shared<CLogWriterTraceListener>(name, data, maximumFileSize, maximumNumberOfFiles);
    }
    if (type == L"EventProvider") {
        return std::make_shared<CEventProviderTraceListener>(name, data);
    }
    return std::make_shared<CConsoleTraceListener>(name);
}

} // namespace

std::shared_ptr<CTraceListener> CTraceListenerManager::GetTraceListener(const wchar_t* listenerName) {
    CheckNotNull(listenerName, L"listenerName", ZEL_SITE(Method));
    return GetRegistry().GetOrMake(listenerName, [&] {
        auto& listeners = Configuration::GetDiagnosticsConfiguration().sharedListeners.GetValue();
        const auto found = listeners.find(listenerName);
        if (found == listeners.end()) {
            throw ZelCore::Configuration::CConfigurationException(
                CString::Format(GetMessageText(Message::TraceListenerNotFound), listenerName).c_str(),
                ZEL_SITE(Method));
        }
        auto& entry = *found->second;
        // The lock is already held; the other overload checks its arguments.
        auto listener =
            GetTraceListener(listenerName, entry.type.GetValue().c_str(), entry.initializeData.GetValue().c_str(),
                             entry.maximumFileSize.GetValue(), entry.maximumNumberOfFiles.GetValue());
        listener->SetCountsFailures(entry.countFailures.GetValue());
        return listener;
    });
}

std::shared_ptr<CTraceListener> CTraceListenerManager::GetTraceListener(const wchar_t* listenerName,
                                                                        const wchar_t* listenerType,
                                                                        const wchar_t* initializeData,
                                                                        std::int64_t maximumFileSize,
                                                                        std::uint32_t maximumNumberOfFiles) {
    CheckNotNull(listenerName, L"listenerName", ZEL_SITE(Method));
    CheckNotNull(listenerType, L"listenerType", ZEL_SITE(Method));
    CheckNotNull(initializeData, L"initializeData", ZEL_SITE(Method));
    if (maximumFileSize < 1 && maximumFileSize != -1) {
        throw CArgumentOutOfRangeException(L"maximumFileSizem", std::to_wstring(maximumFileSize).c_str(), nullptr,
                                           ZEL_SITE(Method));
    }
    if (maximumNumberOfFiles == 0) {
        throw CArgumentOutOfRangeException(L"maximumNumberOfFiles", L"0", nullptr, ZEL_SITE(Method));
    }
    return GetRegistry().GetOrMake(listenerName, [&] {
        return MakeListener(listenerName, listenerType, initializeData, maximumFileSize, maximumNumberOfFiles);
    });
}

} // namespace ZelCore::Diagnostics
