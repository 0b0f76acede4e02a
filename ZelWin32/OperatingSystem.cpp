#include "ZelWin32/OperatingSystem.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

ZelCore::CVersion COperatingSystem::GetVersion() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    CheckWin32(::GetVersionExW(&version), ZEL_SITE(L"ZelWin32::COperatingSystem::GetVersion"));
    return {static_cast<int>(version.dwMajorVersion), static_cast<int>(version.dwMinorVersion),
            static_cast<int>(version.dwBuildNumber), 0};
}

} // namespace ZelWin32
