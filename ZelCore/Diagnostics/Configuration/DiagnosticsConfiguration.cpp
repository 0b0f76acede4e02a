#include "ZelCore/Diagnostics/Configuration/DiagnosticsConfiguration.h"

#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelWin32/ComInitGuard.h"
#include "ZelWin32/CriticalSection.h"

#include <mutex>

namespace ZelCore::Diagnostics::Configuration {

CSystemDiagnosticsSection& GetDiagnosticsConfiguration() {
    static ZelWin32::CCriticalSection& lock = *new ZelWin32::CCriticalSection;
    static CSystemDiagnosticsSection* kept = nullptr;
    const std::lock_guard<ZelWin32::CCriticalSection> guard(lock);
    if (kept == nullptr) {
        auto section = std::make_unique<CSystemDiagnosticsSection>();
        const ZelWin32::CComInitGuard com;
        ZelCore::Configuration::CConfigurationManager::OpenExeConfiguration(L"").GetSystemDiagnosticsSection(*section);
        kept = section.release();
    }
    return *kept;
}

} // namespace ZelCore::Diagnostics::Configuration
