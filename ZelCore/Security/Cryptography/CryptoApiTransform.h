#pragma once

// Private to the library: the transform that all symmetric algorithms make.

#include "ZelCore/Security/Cryptography/CryptoHandles.h"
#include "ZelCore/Security/Cryptography/CryptoServiceProvider.h"
#include "ZelCore/Security/Cryptography/SymmetricAlgorithm.h"

namespace ZelCore::Security::Cryptography {

/// What a transform needs of the algorithm that makes it.
struct CipherParameters {
    ALG_ID algorithm;
    CipherMode mode;
    std::uint64_t blockSize;    ///< in bits
    std::uint64_t feedbackSize; ///< in bits
    bool encrypting;
};

/// Encrypts or decrypts through CryptoAPI.
///
/// A decryptor holds the last block of every non-final call back, since only the final call takes the padding off.
/// It keeps the held block after the final call: a decryptor that is used again puts it in front of the next message.
///
/// Results are made in memory of the transform's own and change places with the caller's output once all has gone well.
class CCryptoApiTransform final : public ICryptoTransform {
public:
    /// The IV is used where it is not empty and the mode has one.
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
    std::uint64_t m_blockSize; ///< in bits, as the algorithm was told
    std::size_t m_systemBlock; ///< in bytes, as it is
    std::vector<unsigned char> m_held;
    std::vector<unsigned char> m_next; ///< what is held once a call has succeeded
    std::vector<unsigned char> m_work; ///< where a call makes its result; all zeros between calls
};

/// Checks the parameters on behalf of an algorithm and makes its transform.
/// \param id           CryptoAPI's number for the algorithm with a key of this length
/// \param feedbackSize what CFB can feed back in this algorithm, in bits
/// \param file         the algorithm's source file, where the exceptions say they come from
std::unique_ptr<ICryptoTransform> CheckAndCreateTransform(CSymmetricAlgorithm& algorithm, ALG_ID id,
                                                          const SecureBytes& key, const SecureBytes& iv,
                                                          bool encrypting, std::uint64_t feedbackSize,
                                                          const wchar_t* file);

} // namespace ZelCore::Security::Cryptography
