#include "Support/Crypto.h"

namespace {

const wchar_t* const Provider1 = L"Microsoft Enhanced Cryptographic Provider v1.0";
const wchar_t* const Provider2 = L"Microsoft Enhanced RSA and AES Cryptographic Provider (Prototype)";
const wchar_t* const Provider3 = L"Microsoft Enhanced RSA and AES Cryptographic Provider";

} // namespace

TEST(SystemVersion, DISABLED_ChoosesProviderAndFunctions) {
    const std::wstring text = CEnvironment::ExpandEnvironmentVariables(L"%ZEL_VERSION%");
    const ImportHook version("GetVersionExW", [text](OSVERSIONINFOW* info) -> BOOL {
        info->dwMajorVersion = static_cast<DWORD>(text[0] - L'0');
        info->dwMinorVersion = static_cast<DWORD>(text[2] - L'0');
        return TRUE;
    });
    std::wstring used, function;
    bool missing = true;
    const ImportHook acquire(
        "CryptAcquireContextW",
        [&](HCRYPTPROV* handle, const wchar_t*, const wchar_t* name, DWORD type, DWORD flags) -> BOOL {
            used = name;
            EXPECT_EQ(type, used == Provider1 ? PROV_RSA_FULL : PROV_RSA_AES);
            EXPECT_EQ(flags, CRYPT_VERIFYCONTEXT);
            return ::CryptAcquireContextW(handle, nullptr, name, type, flags);
        });
    const CRandomNumberGenerator random;
    EXPECT_EQ(used, CEnvironment::ExpandEnvironmentVariables(L"%ZEL_PROVIDER%"));

    // The functions that the library finds reject a size that is not a multiple of a block, each in its own way.
    const ImportHook find("GetProcAddress", [&](HMODULE module, const char* name) -> void* {
        if (missing) {
            ::SetLastError(127);
            return nullptr;
        }
        if (std::string(name) == "RtlNtStatusToDosError") {
            return reinterpret_cast<void*>(::GetProcAddress(module, name));
        }
        function = std::wstring(name, name + std::strlen(name));
        if (function.starts_with(L"System")) {
            return reinterpret_cast<void*>(
                +[](void*, ULONG size, ULONG) -> LONG { return size % 16 != 0 ? static_cast<LONG>(0xC000000D) : 0; });
        }
        return reinterpret_cast<void*>(+[](void*, DWORD size, DWORD) -> BOOL {
            ::SetLastError(87);
            return size % 16 == 0;
        });
    });
    unsigned char memory[16] = {};
    using Scope = MemoryProtectionScope;
    ExpectError(127, [&] { CProtectedMemory::Protect(memory, 16, Scope::SameProcess); },
                {.method = L"`anonymous-namespace'::EnsureProtectMemoryFunctionsLoaded", .line = 66});
    missing = false;
    CProtectedMemory::Protect(memory, 16, Scope::SameProcess);
    EXPECT_EQ(function, CEnvironment::ExpandEnvironmentVariables(L"%ZEL_FUNCTION%"))
        << "the last one that was looked for";
    const bool status = function.starts_with(L"System");
    ExpectError(87, [&] { CProtectedMemory::Protect(memory, 15, Scope::SameProcess); }, {.line = status ? 88 : 94});
    ExpectError(87, [&] { CProtectedMemory::Unprotect(memory, 15, Scope::SameProcess); }, {.line = status ? 110 : 116});
}

TEST(SystemVersion, ChoosesProviderAndFunctions) {
    const std::wstring file = L"SystemFunction041", memory = L"CryptUnprotectMemory";
    for (const auto& [version, provider, function] : {std::tuple(L"5.0", Provider1, file),
                                                      {L"5.1", Provider2, file},
                                                      {L"5.2", Provider3, file},
                                                      {L"6.0", Provider3, memory},
                                                      {L"6.2", Provider3, memory}}) {
        ::SetEnvironmentVariableW(L"ZEL_VERSION", version);
        ::SetEnvironmentVariableW(L"ZEL_PROVIDER", provider);
        ::SetEnvironmentVariableW(L"ZEL_FUNCTION", function.c_str());
        EXPECT_TRUE(RunInChild(L"SystemVersion.DISABLED_ChoosesProviderAndFunctions")) << version;
    }
}

TEST(SystemVersion, DISABLED_KeepsTheSystemsProvider) {
    std::wstring kept;
    const ImportHook pin("GetModuleHandleExW", [&](DWORD flags, const wchar_t* name, HMODULE* module) -> BOOL {
        const BOOL found = ::GetModuleHandleExW(flags, name, module);
        if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) == 0) {
            EXPECT_TRUE(found) << ::GetLastError();
            kept = name;
        }
        return found;
    });
    const CRandomNumberGenerator random;
    wchar_t folder[MAX_PATH];
    ::GetSystemDirectoryW(folder, MAX_PATH);
    EXPECT_EQ(kept, folder + std::wstring(L"\\rsaenh.dll")) << "not one of the program's folder";
}

TEST(SystemVersion, KeepsTheSystemsProvider) {
    EXPECT_TRUE(RunInChild(L"SystemVersion.DISABLED_KeepsTheSystemsProvider"));
}
