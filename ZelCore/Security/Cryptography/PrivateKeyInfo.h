#pragma once

#include "ZelCore/Security/Cryptography/PublicKeyInfo.h"

#include <string>

namespace ZelCore::Security::Cryptography {

/// Identifies a key container of the system, which stores an RSA key pair that programs can use but not read. A
/// copyable value: it holds the name of the container, not the key. Only the methods that throw access the system, on
/// each call.
class ZELCORE_API CPrivateKeyInfo {
public:
    /// \param containerName the container's name; null for the user's default container. An empty name throws
    ///                      CArgumentException for "containerName".
    /// \param flags         CryptoAPI flags, for example CRYPT_MACHINE_KEYSET (0x20) for a container of the computer
    explicit CPrivateKeyInfo(const wchar_t* containerName, unsigned long flags = 0);

    /// Moving copies, because an object without its name would refer to the default container.
    ///@{
    CPrivateKeyInfo(const CPrivateKeyInfo&) = default;
    CPrivateKeyInfo& operator=(const CPrivateKeyInfo&) = default;
    ///@}

    /// Returns the container's name, or null for the default container. Valid while the object lives and is not
    /// assigned to.
    const wchar_t* GetContainerName() const noexcept;

    /// Returns the flags given to the constructor, as CryptAcquireContextW takes them.
    unsigned long GetFlags() const noexcept;

    /// Creates the container with a new key pair of `bits` bits, for signatures and for encryption. Throws
    /// CWin32Exception if the system call fails, with NTE_EXISTS (0x8009000F) if the container already exists. A
    /// failure does not leave a container without a key. Throws CArgumentOutOfRangeException for "bits" below 2048,
    /// which can be factored, or above 65,535. Throws CArgumentNullException for "containerName" for the default
    /// container, which all programs share.
    ///
    /// \param bits the length of the modulus; the system may reject lengths that are not a multiple of 8
    void Create(unsigned int bits) const;

    /// Deletes the container with its keys permanently. Throws CWin32Exception if it does not exist, and
    /// CArgumentNullException for "containerName" for the user's default container, in which other programs store their
    /// keys.
    void Delete() const;

    /// Returns the public key. Throws CWin32Exception if the container does not exist or has no key.
    CPublicKeyInfo GetPublicKey() const;

private:
    std::wstring m_container;
    unsigned long m_flags;
};

} // namespace ZelCore::Security::Cryptography
