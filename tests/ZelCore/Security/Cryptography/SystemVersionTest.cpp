#include "Support/Crypto.h"

namespace {

const wchar_t* const Child = L"SystemVersion.DISABLED_ChoosesProviderAndFunctions";
const wchar_t* const Provider1 = L"Microsoft Enhanced Cryptographic Provider v1.0";
const wchar_t* const Provider2 = L"Microsoft Enhanced RSA and AES Cryptographic Provider (Prototype)";
const wchar_t* const Provider3 = L"Microsoft Enhanced RSA and AES Cryptographic Provider";

/// Takes what the child expects from the environment.
void RunFor(const std::wstring& program, const wchar_t* version, const wchar_t* provider, const wchar_t* function) {
    ::SetEnvironmentVariableW(L"ZEL_VERSION", version);
    ::SetEnvironmentVariableW(L"ZEL_PROVIDER", provider);
    ::SetEnvironmentVariableW(L"ZEL_FUNCTION", function);
    EXPECT_EQ(RunInChild(program, Child), 0u) << provider;
}

} // namespace

TEST(SystemVersion, DISABLED_ChoosesProviderAndFunctions) {
    std::optional<ImportHook> version;
    if (const std::wstring text = CEnvironment::ExpandEnvironmentVariables(L"%ZEL_VERSION%"); text[0] != L'%') {
        version.emplace("GetVersionExW", [text](OSVERSIONINFOW* info) -> BOOL {
            info->dwMajorVersion = static_cast<DWORD>(text[0] - L'0');
            info->dwMinorVersion = static_cast<DWORD>(text[2] - L'0');
            return TRUE;
        });
    }
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

    // The functions that the library finds refuse what is no multiple of a block, each in its own way.
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
    const std::wstring own = GetOwnPath();
    RunFor(own, L"5.0", Provider1, L"SystemFunction041");
    RunFor(own, L"5.1", Provider2, L"SystemFunction041");
    RunFor(own, L"5.2", Provider3, L"SystemFunction041");
    RunFor(own, L"6.0", Provider3, L"CryptUnprotectMemory");
    RunFor(own, L"6.2", Provider3, L"CryptUnprotectMemory");
}

TEST(SystemVersion, IsAskedOfTheSystem) {
    if (!IsWine()) {
        GTEST_SKIP() << "only an emulation pretends to be an older system";
    }
    const wchar_t* const key = L"Software\\Wine\\AppDefaults\\zelcore_tests_winxp.exe";
    const std::wstring own = GetOwnPath();
    const std::wstring copy = own.substr(0, own.rfind(L'\\') + 1) + L"zelcore_tests_winxp.exe";
    ASSERT_TRUE(::CopyFileW(own.c_str(), copy.c_str(), FALSE));
    ::RegSetKeyValueW(HKEY_CURRENT_USER, key, L"Version", REG_SZ, L"winxp", 12);
    RunFor(copy, nullptr, Provider2, L"SystemFunction041");
    ::RegDeleteKeyW(HKEY_CURRENT_USER, key);
    ::DeleteFileW(copy.c_str());
}
