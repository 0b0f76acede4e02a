#include "ZelWin32/PEModule.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

void* CPEModule::GetModuleHandleOf(const void* address) noexcept {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const wchar_t*>(address), &module);
    return module;
}

void* CPEModule::Load(const wchar_t* name) {
    const HMODULE module = ::GetModuleHandleW(name);
    if (module == nullptr) {
        throw CWin32Exception(::GetLastError(), name, ZEL_SITE(L"ZelWin32::CPEModule::Load", 59));
    }
    return module;
}

std::wstring CPEModule::GetModuleFileNameW(void* module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(static_cast<HMODULE>(module), path.data(), static_cast<DWORD>(path.size()));
        CheckWin32(length != 0, ZEL_SITE(L"ZelWin32::CPEModule::GetModuleFileNameW"));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

} // namespace ZelWin32
