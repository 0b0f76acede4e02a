#pragma once

#include "ZelCore/Security/Cryptography/PrivateKeyInfo.h"
#include "ZelCore/Security/Cryptography/PublicKeyInfo.h"
#include "ZelCore/ZeroMemoryAllocator.h"

namespace ZelCore::Security::Cryptography {

/// The digest that is signed.
enum class SignatureHashAlgorithm : int {
    Sha1 = 0,   ///< for old data only
    Sha256 = 1, ///< any other value acts as this
};

/// \name RSA signatures and encryption
/// With PKCS #1 v1.5 padding (RFC 8017). CryptoAPI keeps signatures and cipher text with the lowest byte first, all
/// others with the highest first: `reverse` converts to and from theirs.
///
/// All throw CWin32Exception for what the system refuses, and CArgumentNullException for a null pointer with a size.
/// Public keys have to say that they are RSA keys (rsaEncryption, 1.2.840.113549.1.1.1), otherwise they are refused
/// with NTE_BAD_ALGID, and to be sound ones, otherwise with NTE_BAD_KEY. The functions keep nothing and may be called
/// from any thread.
///@{

/// Signs data of any size with the container's key.
/// \return the signature, as long as the key; CWin32Exception with NTE_BAD_LEN for a key that is too short for it
ZELCORE_API std::vector<unsigned char> SignData(const CPrivateKeyInfo& key, SignatureHashAlgorithm hash,
                                                const unsigned char* data, std::size_t size, bool reverse);

/// Whether the signature is that of the data by the owner of the key. Returns false, and does not throw, for a
/// signature that does not fit.
ZELCORE_API bool VerifyData(const CPublicKeyInfo& key, SignatureHashAlgorithm hash, const unsigned char* data,
                            std::size_t size, const unsigned char* signature, std::size_t signatureSize, bool reverse);

/// Replaces the data by its cipher text. It must be at least 11 bytes shorter than the key, otherwise CWin32Exception
/// with NTE_BAD_LEN; on failure it stays as it was.
ZELCORE_API void EncryptData(const CPublicKeyInfo& key, SecureBytes& data, bool reverse);

/// Replaces cipher text by the data; on failure it stays as it was. Cipher text that is not as long as the key throws
/// CWin32Exception with NTE_BAD_DATA. Do not let the sender see whether the padding was right: with enough attempts
/// that decrypts messages without the key. Verify a signature of the cipher text first.
ZELCORE_API void DecryptData(const CPrivateKeyInfo& key, SecureBytes& data, bool reverse);

///@}

} // namespace ZelCore::Security::Cryptography
