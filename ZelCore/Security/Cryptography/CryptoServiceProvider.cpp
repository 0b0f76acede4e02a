#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"

#include "ZelCore/Lazy.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/OperatingSystem.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ZelCore::Security::Cryptography {

namespace {

using Provider = std::pair<const wchar_t*, unsigned long>;

Provider SelectProvider() {
    const CVersion version = ZelWin32::COperatingSystem::GetVersion();
    if (version.GetMajor() < 6 && version.GetMinor() == 0) {
        return {L"Microsoft Enhanced Cryptographic Provider v1.0", PROV_RSA_FULL};
    }
    if (version.GetMajor() < 6 && version.GetMinor() == 1) {
        return {L"Microsoft Enhanced RSA and AES Cryptographic Provider (Prototype)", PROV_RSA_AES};
    }
    return {L"Microsoft Enhanced RSA and AES Cryptographic Provider", PROV_RSA_AES};
}

constinit CLazy<Provider> g_provider(&SelectProvider);

/// The system unloads the provider's module with the last context and needs over a millisecond to load it again; a
/// program that encrypts small records one after the other would pay for that each time. Only the system's module is
/// loaded, not one of the same name in the program's folder.
bool KeepProviderLoaded() {
    constexpr wchar_t file[] = L"\\rsaenh.dll";
    wchar_t path[MAX_PATH + std::size(file)];
    const UINT length = ::GetSystemDirectoryW(path, MAX_PATH);
    HMODULE module = nullptr;
    if (length == 0 || length >= MAX_PATH) {
        // Unreached: the system's folder has a short path. On failure creating contexts only takes longer.
        return false;
    }
    std::copy(std::begin(file), std::end(file), path + length);
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, path, &module) != FALSE;
}

constinit CLazy<bool> g_loaded(&KeepProviderLoaded);

} // namespace

CCryptoServiceProvider::CCryptoServiceProvider()
    : m_name(g_provider.GetValue().first), m_type(g_provider.GetValue().second) {
    ZelWin32::CheckWin32(
        ::CryptAcquireContextW(&m_handle, nullptr, m_name.c_str(), m_type, CRYPT_VERIFYCONTEXT),
        ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoServiceProvider::CCryptoServiceProvider", 46));
    g_loaded.GetValue();
}

CCryptoServiceProvider::CCryptoServiceProvider(const wchar_t* container, unsigned long flags)
    : m_name(g_provider.GetValue().first != nullptr ? g_provider.GetValue().first : L""),
      m_type(g_provider.GetValue().second) {
    ZelWin32::CheckWin32(
        ::CryptAcquireContextW(&m_handle, container, m_name.c_str(), m_type, flags),
        ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoServiceProvider::CCryptoServiceProvider", 64));
    g_loaded.GetValue();
}

CCryptoServiceProvider::~CCryptoServiceProvider() {
    if (m_handle != 0) {
        const DWORD lastError = ::GetLastError();
        ::CryptReleaseContext(m_handle, 0);
        ::SetLastError(lastError);
    }
}

void CCryptoServiceProvider::DeleteContainer(const wchar_t* container, unsigned long flags) {
    const auto& [name, type] = g_provider.GetValue();
    HCRYPTPROV none = 0; // deleting returns no context
    ZelWin32::CheckWin32(::CryptAcquireContextW(&none, container, name, type, flags | CRYPT_DELETEKEYSET),
                         ZEL_SITE(L"ZelCore::Security::Cryptography::CCryptoServiceProvider::DeleteContainer"));
}

} // namespace ZelCore::Security::Cryptography
