#pragma once

#include "ZelCore/Security/Cryptography/PublicKeyInfo.h"

#include <string>

namespace ZelCore::Security::Cryptography {

/// Names a key container of the system, in which an RSA key pair lies that programs use but do not see.
/// A copyable value: it holds the name, not the key. Only the methods that throw ask the system, each of them anew.
class ZELCORE_API CPrivateKeyInfo {
public:
    /// \param containerName the container's name; null for the user's default container. An empty name throws
    ///                      CArgumentException for "containerName".
    /// \param flags         CryptoAPI's, such as CRYPT_MACHINE_KEYSET (0x20) for a container of the computer
    explicit CPrivateKeyInfo(const wchar_t* containerName, unsigned long flags = 0);

    /// Moving copies too: without its name, an object would stand for the default container.
    ///@{
    CPrivateKeyInfo(const CPrivateKeyInfo&) = default;
    CPrivateKeyInfo& operator=(const CPrivateKeyInfo&) = default;
    ///@}

    /// The container's name, null for the default container. Valid while the object lives and is not assigned to.
    const wchar_t* GetContainerName() const noexcept;

    /// The flags of the constructor, as CryptAcquireContextW takes them.
    unsigned long GetFlags() const noexcept;

    /// Makes the container with a new key pair of so many bits, for signatures and for encryption. Throws
    /// CWin32Exception, with NTE_EXISTS (0x8009000F) where there is such a container, and leaves none without a key.
    /// Throws CArgumentOutOfRangeException for "bits" below 2048, which can be factored, or above 65,535, and
    /// CArgumentNullException for "containerName" where this is the default container, which belongs to all programs.
    ///
    /// \param bits the length of the modulus; the system may refuse lengths that are no multiple of 8
    void Create(unsigned int bits) const;

    /// Deletes the container with its keys for ever. Throws CWin32Exception where there is none, and
    /// CArgumentNullException for "containerName" where this is the user's default container: other programs have
    /// their keys there.
    void Delete() const;

    /// The public half of the pair. Throws CWin32Exception where there is no such container or no key in it.
    CPublicKeyInfo GetPublicKey() const;

private:
    std::wstring m_container;
    unsigned long m_flags;
};

} // namespace ZelCore::Security::Cryptography
