#pragma once

#include "ZelCore/Security/Cryptography/ICryptoTransform.h"
#include "ZelCore/ZeroMemoryAllocator.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Security::Cryptography {

/// The block-cipher mode of operation (NIST SP 800-38A), with the numbers of CryptoAPI.
enum class CipherMode : std::uint32_t {
    CBC = 1, ///< cipher block chaining, the default
    ECB = 2, ///< electronic codebook: equal blocks have equal cipher text
    OFB = 3, ///< not implemented
    CFB = 4, ///< cipher feedback
    CTS = 5, ///< cipher text stealing; passed on to the system, which may reject it
};

/// A block cipher with its key, initialization vector (IV), sizes and mode, which creates encryptors and decryptors.
/// The system's CryptoAPI encrypts, decrypts and pads (PKCS #5, RFC 8018).
///
///     CAes aes;                                    // 256 bits, CBC; a random key and IV on first use
///     const auto encryptor = aes.CreateEncryptor();
///     const auto key = aes.GetKey(), iv = aes.GetIV(); // for the decryptor
///
/// The modes provide confidentiality but not integrity: modified cipher text usually decrypts to something. An attacker
/// who can send modified cipher text and observe whether decryption failed because of the padding can decrypt messages
/// without the key. Sign or otherwise authenticate the cipher text together with its IV, and verify it before
/// decrypting.
///
/// Each message requires its own IV. The object keeps its IV, and each encryptor starts with it: two encryptors of one
/// object, and two messages through one encryptor, use the same IV twice. The cipher texts then reveal which messages
/// have the same beginning, and in CFB mode the exclusive or of their first bytes. Call GenerateIV before each
/// CreateEncryptor, and store the IV with the cipher text.
///
/// Sizes are in bits and are not checked when they are set. Keys and IVs are stored in memory that is wiped before it
/// is released.
///
/// Classes may derive from this class and from the ciphers. None of them has a virtual destructor: destroy an algorithm
/// through its own type, never through a pointer to a base class. Not thread-safe: one thread at a time.
class ZELCORE_API CSymmetricAlgorithm {
public:
    /// Replace the IV or the key by random bytes of the current block size or key size. Throw CArgumentException if
    /// SetIV or SetKey does not accept that size, and CWin32Exception if the system call fails; the old value is then
    /// unchanged.
    ///@{
    virtual void GenerateIV() = 0;
    virtual void GenerateKey() = 0;
    ///@}

    /// Create a transform with the given key and IV, or with the algorithm's own, which are generated if absent. A
    /// short or empty IV is zero-padded; ECB ignores the IV. The caller owns the transform, which is independent of the
    /// algorithm: the algorithm may be changed or destroyed first. None of these functions replaces an existing IV: see
    /// above.
    ///
    /// Throw CNotImplementedException for OFB; CArgumentException for "feedbackSize", "key" (empty) and "iv" (1 to 7
    /// bytes); CArgumentOutOfRangeException for a "key" or "feedbackSize" beyond 32 bits; CWin32Exception if the system
    /// rejects the key, for example for its length.
    ///@{
    virtual std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) = 0;
    virtual std::unique_ptr<ICryptoTransform> CreateDecryptor();
    virtual std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) = 0;
    virtual std::unique_ptr<ICryptoTransform> CreateEncryptor();
    ///@}

    /// Returns the IV, which is generated first if absent. The reference is valid until the IV changes.
    virtual const SecureBytes& GetIV() const;

    /// \param iv of the block size, otherwise CArgumentException for "iv"
    virtual void SetIV(const SecureBytes& iv);

    /// Returns the key, which is generated first if absent. The reference is valid until the key changes.
    virtual const SecureBytes& GetKey() const;

    /// Sets the key and the key size. Throws CArgumentException for "key" if it is empty or if the cipher does not
    /// support its length.
    virtual void SetKey(const SecureBytes& key);

    /// Returns the size in bits of the key, or of the key that would be generated.
    virtual std::uint64_t GetKeySize();
    /// Sets the size of the next generated key. An existing key does not change.
    virtual void SetKeySize(std::uint64_t bits);

    /// The size in bits of a block and of the IV. Each cipher has one fixed block size: a different value creates
    /// transforms whose counts do not match the system's.
    ///@{
    virtual std::uint64_t GetBlockSize();
    virtual void SetBlockSize(std::uint64_t bits);
    ///@}

    /// The number of bits that CFB feeds back. A number that the class does not support is rejected when a transform is
    /// created.
    ///@{
    virtual std::uint64_t GetFeedbackSize();
    virtual void SetFeedbackSize(std::uint64_t bits);
    ///@}

    /// The mode of transforms created afterwards; CBC by default. It is checked when a transform is created.
    ///@{
    virtual CipherMode GetMode();
    virtual void SetMode(CipherMode mode);
    ///@}

protected:
    /// An algorithm without key and IV. Sizes are in bits.
    CSymmetricAlgorithm(std::uint64_t blockSize, std::uint64_t feedbackSize, std::uint64_t keySize, CipherMode mode);
    /// A copy has its own key and IV with the same values, in memory that is wiped as well.
    ///@{
    CSymmetricAlgorithm(const CSymmetricAlgorithm&) = default;
    CSymmetricAlgorithm& operator=(const CSymmetricAlgorithm&) = default;
    ///@}

    /// Wipes key and IV.
    ~CSymmetricAlgorithm();

private:
    std::uint64_t m_blockSize;
    std::uint64_t m_feedbackSize;
    mutable std::uint64_t m_keySize; // mutable, because GetKey may generate the key
    CipherMode m_mode;
    mutable SecureBytes m_key;
    mutable SecureBytes m_iv;
};

} // namespace ZelCore::Security::Cryptography
