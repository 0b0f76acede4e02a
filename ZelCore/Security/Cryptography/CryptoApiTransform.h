#pragma once

// Private to the library: the transform that all symmetric algorithms create.

#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

namespace ZelCore::Security::Cryptography {

/// The parameters of a transform, set by the algorithm that creates it.
struct CipherParameters {
    ALG_ID algorithm;
    CipherMode mode;
    std::uint64_t blockSize;    ///< in bits
    std::uint64_t feedbackSize; ///< in bits
    bool encrypting;
};

/// Encrypts or decrypts through CryptoAPI.
///
/// A decryptor holds back the last block of every non-final call, because only the final call removes the padding. The
/// held block is kept after the final call: a decryptor that is used again puts it before the next message.
///
/// Results are produced in the transform's own memory and swapped with the caller's output after the whole call has
/// succeeded.
class CCryptoApiTransform final : public ICryptoTransform {
public:
    /// The IV is used if it is not empty and the mode uses one.
    CCryptoApiTransform(const SecureBytes& key, const SecureBytes& iv, const CipherParameters& parameters);

    bool CanReuseTransform() const override {
        return true;
    }
    bool CanTransformMultipleBlocks() const override {
        return true;
    }
    std::size_t InputBlockSize() const override {
        return m_blockSize / 8;
    }
    std::size_t OutputBlockSize() const override {
        return m_blockSize / 8;
    }
    std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                               std::vector<unsigned char>& output) override;
    std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) override;

private:
    bool IsWholeBlocks(std::size_t count) const noexcept;
    std::size_t Transform(const unsigned char* input, std::size_t count, bool final);
    std::size_t Encrypt(const unsigned char* input, std::size_t count, bool final);
    std::size_t Decrypt(const unsigned char* input, std::size_t count, bool final);

    void SetKeyParameter(DWORD parameter, const void* value, int line);
    void CheckSize(std::size_t count, const wchar_t* method, const wchar_t* file, int line) const;
    std::size_t DecryptInPlace(bool final, const wchar_t* method, const wchar_t* file, int line);

    const CCryptoServiceProvider m_provider;
    KeyHandle m_key;
    bool m_encrypting;
    std::uint64_t m_blockSize; ///< in bits, as set on the algorithm
    std::size_t m_systemBlock; ///< in bytes, as the system reports it
    std::vector<unsigned char> m_held;
    std::vector<unsigned char> m_next; ///< the bytes to be held back once a call has succeeded
    std::vector<unsigned char> m_work; ///< working buffer of a call; all zeros between calls
};

/// Checks the parameters for an algorithm and creates its transform.
/// \param id           CryptoAPI's ALG_ID of the algorithm with this key length
/// \param feedbackSize the CFB feedback size that the algorithm supports, in bits
/// \param file         the algorithm's source file, reported by the exceptions
std::unique_ptr<ICryptoTransform> CheckAndCreateTransform(CSymmetricAlgorithm& algorithm, ALG_ID id,
                                                          const SecureBytes& key, const SecureBytes& iv,
                                                          bool encrypting, std::uint64_t feedbackSize,
                                                          const wchar_t* file);

} // namespace ZelCore::Security::Cryptography
