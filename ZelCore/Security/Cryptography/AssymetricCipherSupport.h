#pragma once

#include "ZelCore/Security/Cryptography/PrivateKeyInfo.h"
#include "ZelCore/Security/Cryptography/PublicKeyInfo.h"
#include "ZelCore/ZeroMemoryAllocator.h"

namespace ZelCore::Security::Cryptography {

/// The hash algorithm of a signature.
enum class SignatureHashAlgorithm : int {
    Sha1 = 0,   ///< only for compatibility with old data
    Sha256 = 1, ///< any other value is treated as this one
};

/// \name RSA signatures and encryption
/// With PKCS #1 v1.5 padding (RFC 8017). CryptoAPI stores signatures and cipher text in little-endian order, other
/// libraries in big-endian order; `reverse` converts to and from big-endian.
///
/// All functions throw CWin32Exception if the system call fails, and CArgumentNullException for a null pointer with a
/// size other than 0. A public key that is not declared as an RSA key (rsaEncryption, 1.2.840.113549.1.1.1) is rejected
/// with NTE_BAD_ALGID, and an invalid one with NTE_BAD_KEY. The functions keep no state and may be called from any
/// thread.
///@{

/// Signs data of any size with the container's key.
/// \return the signature, as long as the key; a key that is too short throws CWin32Exception with NTE_BAD_LEN
ZELCORE_API std::vector<unsigned char> SignData(const CPrivateKeyInfo& key, SignatureHashAlgorithm hash,
                                                const unsigned char* data, std::size_t size, bool reverse);

/// Whether the signature of the data was made with the private key that belongs to the public key. A signature that
/// does not match returns false and throws no exception.
ZELCORE_API bool VerifyData(const CPublicKeyInfo& key, SignatureHashAlgorithm hash, const unsigned char* data,
                            std::size_t size, const unsigned char* signature, std::size_t signatureSize, bool reverse);

/// Replaces the data by its cipher text. The data must be at least 11 bytes shorter than the key, otherwise
/// CWin32Exception with NTE_BAD_LEN. On failure the data is unchanged.
ZELCORE_API void EncryptData(const CPublicKeyInfo& key, SecureBytes& data, bool reverse);

/// Replaces cipher text by the data. On failure it is unchanged. Cipher text whose length differs from the key's throws
/// CWin32Exception with NTE_BAD_DATA. Do not reveal to the sender whether the padding was correct: this allows a
/// padding-oracle attack, which decrypts messages without the key. Verify a signature of the cipher text first.
ZELCORE_API void DecryptData(const CPrivateKeyInfo& key, SecureBytes& data, bool reverse);

///@}

} // namespace ZelCore::Security::Cryptography
