#pragma once

#include "ZelCore/Security/Cryptography/ICryptoTransform.h"
#include "ZelCore/ZeroMemoryAllocator.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Security::Cryptography {

/// The block-cipher mode of operation (NIST SP 800-38A), with CryptoAPI's numbers.
enum class CipherMode : std::uint32_t {
    CBC = 1, ///< cipher block chaining: the default
    ECB = 2, ///< every block is encrypted by itself: equal blocks stay recognisable
    OFB = 3, ///< not implemented
    CFB = 4, ///< cipher feedback
    CTS = 5, ///< passed on to the system, which may refuse it
};

/// A block cipher with its key, initialisation vector (IV), sizes and mode, from which encryptors and decryptors are
/// made. The system's CryptoAPI encrypts, decrypts and pads (PKCS #5, RFC 8018).
///
///     CAes aes;                                    // 256 bits, CBC; a random key and IV on first use
///     const auto encryptor = aes.CreateEncryptor();
///     const auto key = aes.GetKey(), iv = aes.GetIV(); // for the decryptor
///
/// The modes give secrecy, not integrity: changed cipher text mostly decrypts to something. Whoever can send changed
/// cipher text and sees whether decryption failed by its padding or by something else can decrypt messages without the
/// key. Sign or otherwise authenticate the cipher text together with its IV, and check that before decrypting.
///
/// A message needs an IV of its own. The object keeps its IV, and each encryptor starts with it: two encryptors of one
/// object, and two messages through one encryptor, use the same IV twice. The cipher texts then show which messages
/// begin alike, and in CFB mode the exclusive or of their first bytes. Call GenerateIV before each CreateEncryptor, and
/// store the IV with the cipher text.
///
/// Sizes are in bits and not checked when they are set. Keys and IVs live in memory that is wiped before it is
/// released.
///
/// Classes may derive from this one and from the ciphers. No class here has a virtual destructor: destroy an algorithm
/// as an object of its own class, never through a pointer to a base class. One thread at a time.
class ZELCORE_API CSymmetricAlgorithm {
public:
    /// Replace the IV and the key by random bytes, of the current block size and key size. Throw CArgumentException
    /// where these sizes are none that SetIV and SetKey take, CWin32Exception when the system refuses; the old ones
    /// then stay.
    ///@{
    virtual void GenerateIV() = 0;
    virtual void GenerateKey() = 0;
    ///@}

    /// Make a transform of the given key and IV, or of the algorithm's own, which are generated if there are none.
    /// A short IV is filled up with zeros, an empty one too; ECB ignores the IV. The transform is the caller's and
    /// independent of the algorithm, which may change or end before it. None of these functions makes a new IV where
    /// there is one: see above.
    ///
    /// Throw CNotImplementedException for OFB, CArgumentException for "feedbackSize", "key" (empty) and "iv" (1 to 7
    /// bytes), CArgumentOutOfRangeException for a "key" or "feedbackSize" that 32 bits do not hold, CWin32Exception
    /// when the system refuses the key, for its length for example.
    ///@{
    virtual std::unique_ptr<ICryptoTransform> CreateDecryptor(const SecureBytes& key, const SecureBytes& iv) = 0;
    virtual std::unique_ptr<ICryptoTransform> CreateDecryptor();
    virtual std::unique_ptr<ICryptoTransform> CreateEncryptor(const SecureBytes& key, const SecureBytes& iv) = 0;
    virtual std::unique_ptr<ICryptoTransform> CreateEncryptor();
    ///@}

    /// The IV, generated first if there is none. The reference is valid until the IV changes.
    virtual const SecureBytes& GetIV() const;

    /// \param iv as long as a block, otherwise CArgumentException for "iv"
    virtual void SetIV(const SecureBytes& iv);

    /// The key, generated first if there is none. The reference is valid until the key changes.
    virtual const SecureBytes& GetKey() const;

    /// Also makes the key's length the key size. Throws CArgumentException for "key" when it is empty or of a length
    /// that the cipher does not have.
    virtual void SetKey(const SecureBytes& key);

    /// The size in bits of the key, or of the one that would be generated.
    virtual std::uint64_t GetKeySize();
    /// For the next key that is generated; a key that is there stays.
    virtual void SetKeySize(std::uint64_t bits);

    /// The size of a block and of the IV, in bits. The ciphers have one size each: another one makes transforms that
    /// take other counts than the system does.
    ///@{
    virtual std::uint64_t GetBlockSize();
    virtual void SetBlockSize(std::uint64_t bits);
    ///@}

    /// How many bits CFB feeds back. Another number than the class can do is refused when a transform is made.
    ///@{
    virtual std::uint64_t GetFeedbackSize();
    virtual void SetFeedbackSize(std::uint64_t bits);
    ///@}

    /// For the transforms that are made from now on; CBC at first. Not checked before.
    ///@{
    virtual CipherMode GetMode();
    virtual void SetMode(CipherMode mode);
    ///@}

protected:
    /// Without key and IV. Sizes are in bits.
    CSymmetricAlgorithm(std::uint64_t blockSize, std::uint64_t feedbackSize, std::uint64_t keySize, CipherMode mode);
    /// A copy has key and IV too, in memory of its own that is wiped as well.
    ///@{
    CSymmetricAlgorithm(const CSymmetricAlgorithm&) = default;
    CSymmetricAlgorithm& operator=(const CSymmetricAlgorithm&) = default;
    ///@}

    /// Wipes key and IV.
    ~CSymmetricAlgorithm();

private:
    std::uint64_t m_blockSize;
    std::uint64_t m_feedbackSize;
    mutable std::uint64_t m_keySize; // mutable, since asking for the key may generate it
    CipherMode m_mode;
    mutable SecureBytes m_key;
    mutable SecureBytes m_iv;
};

} // namespace ZelCore::Security::Cryptography
