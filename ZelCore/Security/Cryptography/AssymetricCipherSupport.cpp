#include "ZelCore/Security/Cryptography/AssymetricCipherSupport.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <cstring>

namespace ZelCore::Security::Cryptography {

namespace {

using ZelWin32::CheckWin32;

void CheckData(const unsigned char* data, std::size_t size, const wchar_t* name, const wchar_t* method,
               const wchar_t* file, int line) {
    if (size != 0) {
        CheckNotNull(data, name, method, file, line);
    }
}

/// Converts a length to the system's type.
DWORD ToLength(std::size_t size, const wchar_t* name, const wchar_t* method, const wchar_t* file, int line) {
    CheckAtMost(size, Largest32, name, method, file, line);
    return static_cast<DWORD>(size);
}

HashHandle CreateHash(const CCryptoServiceProvider& provider, SignatureHashAlgorithm algorithm, const wchar_t* method,
                      const wchar_t* file, int line) {
    HCRYPTHASH hash = 0;
    CheckWin32(::CryptCreateHash(provider.GetHandle(),
                                 algorithm == SignatureHashAlgorithm::Sha1 ? CALG_SHA1 : CALG_SHA_256, 0, 0, &hash),
               method, file, line);
    return HashHandle(hash);
}

void HashAll(const HashHandle& hash, const unsigned char* data, std::size_t size, const wchar_t* method,
             const wchar_t* file, int line) {
    CheckWin32(ForEachPiece(data, size,
                            [&](const unsigned char* piece, DWORD length) {
                                return ::CryptHashData(hash.Get(), piece, length, 0) != FALSE;
                            }),
               method, file, line);
}

constexpr std::size_t SmallestPadding = 11; // bytes that PKCS #1 v1.5 adds to a message (RFC 8017, 7.2)

/// Keys of other algorithms, including RSA-PSS and RSA-OAEP, are not valid for these functions.
bool IsForRsa(const CERT_PUBLIC_KEY_INFO& info) {
    return info.Algorithm.pszObjId != nullptr && std::strcmp(info.Algorithm.pszObjId, szOID_RSA_RSA) == 0;
}

/// The system accepts invalid keys and then "encrypts" to the plain text. Modulus and exponent must be odd, the
/// exponent at least 3, and the length of the modulus one that the provider supports.
bool IsSoundRsaKey(const CERT_PUBLIC_KEY_INFO& info) {
    void* memory = nullptr;
    DWORD size = 0;
    if (!::CryptDecodeObjectEx(X509_ASN_ENCODING, RSA_CSP_PUBLICKEYBLOB, info.PublicKey.pbData, info.PublicKey.cbData,
                               CRYPT_DECODE_ALLOC_FLAG, nullptr, static_cast<void*>(&memory), &size)) {
        return false;
    }
    const ZelWin32::UniqueHandle<ZelWin32::LocalMemoryTraits> owner(memory);
    constexpr std::size_t modulusAt = sizeof(BLOBHEADER) + sizeof(RSAPUBKEY); // little-endian
    RSAPUBKEY key;
    if (size <= modulusAt) {
        return false;
    }
    std::memcpy(&key, static_cast<const unsigned char*>(memory) + sizeof(BLOBHEADER), sizeof(key));
    constexpr DWORD shortest = 384, longest = 16384; // bits
    if (key.bitlen < shortest || key.bitlen > longest || key.bitlen % 8 != 0 || size - modulusAt < key.bitlen / 8) {
        return false;
    }
    const unsigned lowest = static_cast<const unsigned char*>(memory)[modulusAt];
    return key.pubexp >= 3 && (key.pubexp & lowest & 1) != 0;
}

/// Whether a key of that length has room for the padding and digest of a signature (RFC 8017, 9.2).
bool FitsSignature(std::size_t keyLength, SignatureHashAlgorithm algorithm) {
    constexpr std::size_t sha1 = 15 + 20, sha256 = 19 + 32; // each with its algorithm identifier
    return keyLength >= SmallestPadding + (algorithm == SignatureHashAlgorithm::Sha1 ? sha1 : sha256);
}

KeyHandle ImportPublicKey(const CCryptoServiceProvider& provider, const CPublicKeyInfo& key, const wchar_t* method,
                          const wchar_t* file, int line) {
    const CERT_PUBLIC_KEY_INFO& info = *key.GetInfo();
    if (!IsForRsa(info)) {
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_ALGID), nullptr, method, file, line);
    }
    if (!IsSoundRsaKey(info)) {
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_KEY), nullptr, method, file, line);
    }
    HCRYPTKEY handle = 0;
    CheckWin32(::CryptImportPublicKeyInfo(provider.GetHandle(), X509_ASN_ENCODING | PKCS_7_ASN_ENCODING,
                                          const_cast<CERT_PUBLIC_KEY_INFO*>(&info), &handle),
               method, file, line);
    return KeyHandle(handle);
}

/// Returns the length in bytes of the key's cipher text and signatures.
DWORD GetBlockLength(const KeyHandle& key, const wchar_t* method, const wchar_t* file, int line) {
    DWORD bits = 0, size = sizeof(bits);
    CheckWin32(::CryptGetKeyParam(key.Get(), KP_BLOCKLEN, reinterpret_cast<BYTE*>(&bits), &size, 0), method, file,
               line);
    return bits / 8;
}

} // namespace

std::vector<unsigned char> SignData(const CPrivateKeyInfo& key, SignatureHashAlgorithm hash, const unsigned char* data,
                                    std::size_t size, bool reverse) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::SignData";
    CheckData(data, size, L"data", ZEL_SITE(method));
    const CCryptoServiceProvider provider(key.GetContainerName(), key.GetFlags());
    const HashHandle digest = CreateHash(provider, hash, ZEL_SITE(method, 32));
    HashAll(digest, data, size, ZEL_SITE(method, 40));
    DWORD length = 0;
    CheckWin32(::CryptSignHashW(digest.Get(), AT_KEYEXCHANGE, nullptr, 0, nullptr, &length), ZEL_SITE(method, 46));
    if (length == 0) {
        throw CInvalidOperationException(nullptr, ZEL_SITE(method, 50));
    }
    if (!FitsSignature(length, hash)) { // not every system checks this
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_LEN), nullptr, ZEL_SITE(method, 56));
    }
    std::vector<unsigned char> signature(length);
    CheckWin32(::CryptSignHashW(digest.Get(), AT_KEYEXCHANGE, nullptr, 0, signature.data(), &length),
               ZEL_SITE(method, 56));
    signature.resize(length);
    if (reverse) {
        std::reverse(signature.begin(), signature.end());
    }
    return signature;
}

bool VerifyData(const CPublicKeyInfo& key, SignatureHashAlgorithm hash, const unsigned char* data, std::size_t size,
                const unsigned char* signature, std::size_t signatureSize, bool reverse) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::VerifyData";
    CheckData(data, size, L"data", ZEL_SITE(method));
    CheckData(signature, signatureSize, L"signature", ZEL_SITE(method));
    const CCryptoServiceProvider provider;
    const KeyHandle publicKey = ImportPublicKey(provider, key, ZEL_SITE(method, 80));
    const HashHandle digest = CreateHash(provider, hash, ZEL_SITE(method, 90));
    HashAll(digest, data, size, ZEL_SITE(method, 98));
    const DWORD length = GetBlockLength(publicKey, ZEL_SITE(method));
    if (signatureSize != length || !FitsSignature(length, hash)) {
        return false;
    }
    std::vector<unsigned char> copy(signature, signature + signatureSize);
    if (reverse) {
        std::reverse(copy.begin(), copy.end());
    }
    return ::CryptVerifySignatureW(digest.Get(), copy.data(), length, publicKey.Get(), nullptr, 0) != FALSE;
}

void EncryptData(const CPublicKeyInfo& key, SecureBytes& data, bool reverse) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::EncryptData";
    // Unreached: requires a vector of 4 GiB.
    const DWORD size = ToLength(data.size(), L"data", ZEL_SITE(method));
    const CCryptoServiceProvider provider;
    const KeyHandle publicKey = ImportPublicKey(provider, key, ZEL_SITE(method, 116));
    const DWORD block = GetBlockLength(publicKey, ZEL_SITE(method));
    if (data.size() + SmallestPadding > block) {
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_LEN), nullptr, ZEL_SITE(method, 131));
    }
    SecureBytes result = data;
    result.resize(std::max<std::size_t>(result.size(), 1)); // with a null pointer the call only returns the length
    DWORD length = size;
    if (!::CryptEncrypt(publicKey.Get(), 0, TRUE, 0, result.data(), &length, size)) {
        if (::GetLastError() != ERROR_MORE_DATA) {
            ZelWin32::ThrowLastError(ZEL_SITE(method, 131));
        }
        // Not every system returns the length.
        const DWORD room = length > size ? length : block;
        result.resize(room);
        length = size;
        CheckWin32(::CryptEncrypt(publicKey.Get(), 0, TRUE, 0, result.data(), &length, room), ZEL_SITE(method, 140));
    }
    result.resize(length);
    if (reverse) {
        std::reverse(result.begin(), result.end());
    }
    data.swap(result);
}

void DecryptData(const CPrivateKeyInfo& key, SecureBytes& data, bool reverse) {
    const wchar_t* const method = L"ZelCore::Security::Cryptography::DecryptData";
    // Unreached: requires a vector of 4 GiB.
    DWORD length = ToLength(data.size(), L"data", ZEL_SITE(method));
    const CCryptoServiceProvider provider(key.GetContainerName(), key.GetFlags());
    HCRYPTKEY handle = 0;
    CheckWin32(::CryptGetUserKey(provider.GetHandle(), AT_KEYEXCHANGE, &handle), ZEL_SITE(method, 159));
    const KeyHandle privateKey(handle);
    if (length != GetBlockLength(privateKey, ZEL_SITE(method, 173))) { // the system would access that many bytes
        throw ZelWin32::CWin32Exception(static_cast<unsigned long>(NTE_BAD_DATA), nullptr, ZEL_SITE(method, 173));
    }
    SecureBytes result = data;
    if (reverse) {
        std::reverse(result.begin(), result.end());
    }
    CheckWin32(::CryptDecrypt(privateKey.Get(), 0, TRUE, 0, result.data(), &length), ZEL_SITE(method, 173));
    result.resize(length);
    data.swap(result);
}

} // namespace ZelCore::Security::Cryptography
