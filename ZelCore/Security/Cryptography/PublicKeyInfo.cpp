#include "ZelCore/Security/Cryptography/PublicKeyInfo.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/UniqueHandle.h"

namespace ZelCore::Security::Cryptography {

CPublicKeyInfo::CPublicKeyInfo(const unsigned char* encoded, std::size_t size) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CPublicKeyInfo::CPublicKeyInfo";
    CheckNotNull(encoded, L"encoded", ZEL_SITE(method));
    if (size == 0) {
        throw CArgumentException(L"encoded", GetMessageText(Message::CannotBeEmpty), ZEL_SITE(method));
    }
    CheckAtMost(size, Largest32, L"size", ZEL_SITE(method));
    m_encoded.assign(encoded, encoded + size);
    void* info = nullptr;
    DWORD length = 0;
    ZelWin32::CheckWin32(::CryptDecodeObjectEx(X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, X509_PUBLIC_KEY_INFO,
                                               m_encoded.data(), static_cast<DWORD>(size), CRYPT_DECODE_ALLOC_FLAG,
                                               nullptr, static_cast<void*>(&info), &length),
                         ZEL_SITE(method));
    m_info.reset(static_cast<const CERT_PUBLIC_KEY_INFO*>(info),
                 [](const CERT_PUBLIC_KEY_INFO* memory) { ::LocalFree(const_cast<CERT_PUBLIC_KEY_INFO*>(memory)); });
}

} // namespace ZelCore::Security::Cryptography
