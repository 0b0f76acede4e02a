#include "ZelCore/Security/Cryptography/ProtectedMemory.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Lazy.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/OperatingSystem.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::Security::Cryptography {

namespace {

using StatusFunction = LONG(WINAPI*)(void*, ULONG, ULONG); // NTSTATUS
using FlagFunction = BOOL(WINAPI*)(void*, DWORD, DWORD);
using ToError = ULONG(WINAPI*)(LONG);

/// The system's functions. Older systems have them under other names and with another result type.
struct MemoryFunctions {
    void* protect;
    void* unprotect;
    ToError toError; ///< null if the functions return a flag and set the last error
};

void* Find(const wchar_t* module, const char* name) {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(ZelWin32::CPEModule::Load(module)), name));
}

MemoryFunctions EnsureProtectMemoryFunctionsLoaded() {
    MemoryFunctions functions{};
    if (ZelWin32::COperatingSystem::GetVersion().GetMajor() < 6) {
        functions = {Find(L"advapi32", "SystemFunction040"), Find(L"advapi32", "SystemFunction041"),
                     reinterpret_cast<ToError>(Find(L"ntdll", "RtlNtStatusToDosError"))};
    } else {
        functions = {Find(L"crypt32", "CryptProtectMemory"), Find(L"crypt32", "CryptUnprotectMemory"), nullptr};
    }
    ZelWin32::CheckWin32(functions.protect != nullptr && functions.unprotect != nullptr,
                         ZEL_SITE(L"`anonymous-namespace'::EnsureProtectMemoryFunctionsLoaded", 66));
    return functions;
}

constinit CLazy<MemoryFunctions> g_functions(&EnsureProtectMemoryFunctionsLoaded);

/// The lines at which the two methods report a null pointer, a status and a flag.
struct Lines {
    int null, status, flag;
};

void Run(void* MemoryFunctions::*which, unsigned char* data, std::size_t size, MemoryProtectionScope scope,
         const Lines& lines, const wchar_t* method) {
    CheckNotNull(data, L"userData", ZEL_SITE(method, lines.null));
    CheckAtMost(size, Largest32, L"size", ZEL_SITE(method));
    const MemoryFunctions& functions = g_functions.GetValue();
    void* const function = functions.*which;
    const auto length = static_cast<DWORD>(size);
    const auto flags = static_cast<DWORD>(scope);
    if (functions.toError != nullptr) {
        const LONG status = reinterpret_cast<StatusFunction>(function)(data, length, flags);
        if (status != 0) {
            throw ZelWin32::CWin32Exception(functions.toError(status), nullptr, ZEL_SITE(method, lines.status));
        }
    } else {
        ZelWin32::CheckWin32(reinterpret_cast<FlagFunction>(function)(data, length, flags),
                             ZEL_SITE(method, lines.flag));
    }
}

} // namespace

void CProtectedMemory::Protect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope) {
    Run(&MemoryFunctions::protect, userData, size, scope, {78, 88, 94},
        L"ZelCore::Security::Cryptography::CProtectedMemory::Protect");
}

void CProtectedMemory::Unprotect(unsigned char* userData, std::size_t size, MemoryProtectionScope scope) {
    Run(&MemoryFunctions::unprotect, userData, size, scope, {100, 110, 116},
        L"ZelCore::Security::Cryptography::CProtectedMemory::Unprotect");
}

} // namespace ZelCore::Security::Cryptography
