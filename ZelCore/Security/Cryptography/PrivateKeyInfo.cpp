#include "ZelCore/Security/Cryptography/PrivateKeyInfo.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"

namespace ZelCore::Security::Cryptography {

namespace {

constexpr unsigned SmallestKey = 2048; // bits; all current recommendations reject shorter ones
constexpr DWORD Encoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

/// Calls `call(pointer, &length)` once for the length and once for the bytes.
template <class Call>
std::vector<unsigned char> GetBytes(Call call, const wchar_t* method, const wchar_t* file, int line) {
    DWORD length = 0;
    ZelWin32::CheckWin32(call(nullptr, &length), method, file, line);
    std::vector<unsigned char> bytes(length);
    ZelWin32::CheckWin32(call(bytes.data(), &length), method, file, line);
    bytes.resize(length);
    return bytes;
}

} // namespace

CPrivateKeyInfo::CPrivateKeyInfo(const wchar_t* containerName, unsigned long flags)
    : m_container(containerName != nullptr ? containerName : L""), m_flags(flags) {
    if (containerName != nullptr) {
        CheckNotEmpty(containerName, L"containerName",
                      ZEL_SITE(L"ZelCore::Security::Cryptography::CPrivateKeyInfo::CPrivateKeyInfo"));
    }
}

const wchar_t* CPrivateKeyInfo::GetContainerName() const noexcept {
    return m_container.empty() ? nullptr : m_container.c_str();
}

unsigned long CPrivateKeyInfo::GetFlags() const noexcept {
    return m_flags;
}

void CPrivateKeyInfo::Create(unsigned int bits) const {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CPrivateKeyInfo::Create";
    constexpr unsigned bitShift = 16; // the upper half of the flags contains the length
    CheckNotNull(GetContainerName(), L"containerName", ZEL_SITE(method));
    CheckAtMost(bits, 0xFFFF, L"bits", ZEL_SITE(method));
    if (bits < SmallestKey) { // 0 would be the system's default, which may be 512
        throw CArgumentOutOfRangeException(L"bits", std::to_wstring(bits).c_str(), nullptr, ZEL_SITE(method));
    }
    DWORD error = ERROR_SUCCESS;
    {
        const CCryptoServiceProvider provider(GetContainerName(), m_flags | CRYPT_NEWKEYSET);
        HCRYPTKEY handle = 0;
        if (!::CryptGenKey(provider.GetHandle(), AT_KEYEXCHANGE, bits << bitShift, &handle)) {
            error = ::GetLastError();
        }
        const KeyHandle key(handle);
    }
    if (error != ERROR_SUCCESS) {
        try {
            Delete();                                // a container without a key would block the next attempt
        } catch (const ZelWin32::CWin32Exception&) { // only the first failure is reported
        }
        throw ZelWin32::CWin32Exception(error, nullptr, ZEL_SITE(method));
    }
}

void CPrivateKeyInfo::Delete() const {
    CheckNotNull(GetContainerName(), L"containerName",
                 ZEL_SITE(L"ZelCore::Security::Cryptography::CPrivateKeyInfo::Delete"));
    CCryptoServiceProvider::DeleteContainer(GetContainerName(), m_flags);
}

CPublicKeyInfo CPrivateKeyInfo::GetPublicKey() const {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CPrivateKeyInfo::GetPublicKey";
    const CCryptoServiceProvider provider(GetContainerName(), m_flags);
    const std::vector<unsigned char> exported = GetBytes(
        [&](unsigned char* bytes, DWORD* length) {
            return ::CryptExportPublicKeyInfo(provider.GetHandle(), AT_KEYEXCHANGE, Encoding,
                                              reinterpret_cast<CERT_PUBLIC_KEY_INFO*>(bytes), length);
        },
        ZEL_SITE(method));
    const std::vector<unsigned char> encoded = GetBytes(
        [&](unsigned char* bytes, DWORD* length) {
            return ::CryptEncodeObjectEx(Encoding, X509_PUBLIC_KEY_INFO, exported.data(), 0, nullptr, bytes, length);
        },
        ZEL_SITE(method));
    return {encoded.data(), encoded.size()};
}

} // namespace ZelCore::Security::Cryptography
