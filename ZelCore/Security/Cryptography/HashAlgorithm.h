#pragma once

#include "ZelCore/Security/Cryptography/ICryptoTransform.h"

#include <memory>

namespace ZelCore::IO {
class CStream;
}

namespace ZelCore::Security::Cryptography {

/// A message digest (FIPS 180-4, RFC 1320, RFC 1321) by the system's CryptoAPI. Also a transform that passes its
/// input through, so that a CCryptoStream can compute a digest of what flows through it. (A CCryptoStream
/// adds the digest after the data: writing, when it is closed, reading, at the end.)
///
///     CHashAlgorithm sha256(0x800C);       // CALG_SHA_256 of wincrypt.h
///     const unsigned char text[] = "abc";  // or a stream
///     const std::vector<unsigned char> digest = sha256.ComputeHash(text, sizeof text - 1);
///
/// Data is added until the digest is final; then Clear starts the next message. Adding to a final digest, making it
/// final twice and asking for it before throw CInvalidOperationException; what the system refuses,
/// CWin32Exception. One thread at a time.
class ZELCORE_API CHashAlgorithm : public ICryptoTransform {
public:
    /// \param algorithmId CryptoAPI's ALG_ID: 0x8002 MD4, 0x8003 MD5, 0x8004 SHA-1, 0x800C SHA-256, 0x800D SHA-384,
    ///                    0x800E SHA-512
    ///
    /// Throws CWin32Exception for an algorithm that the system does not have.
    explicit CHashAlgorithm(unsigned int algorithmId);
    /// Releases what the system holds for it, without a digest.
    ~CHashAlgorithm() override;

    /// Always true: Clear starts the next message.
    bool CanReuseTransform() const override;
    /// Always true.
    bool CanTransformMultipleBlocks() const override;

    /// Always 1: any number of bytes will do.
    ///@{
    std::size_t InputBlockSize() const override;
    std::size_t OutputBlockSize() const override;
    ///@}

    /// Adds the input, copies it to `output`, which becomes of that size, and returns its size. On failure the output
    /// stays as it was; what it held before is wiped on success. Null throws CArgumentNullException for "inputBuffer",
    /// also for a count of 0.
    std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                               std::vector<unsigned char>& output) override;

    /// Adds the input and returns the final digest, not the input. Null will do for a count of 0, otherwise
    /// CArgumentNullException for "inputBuffer".
    std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) override;

    /// Adds the data and returns the final digest. Data of 0 bytes counts as data, also at a null pointer; null with a
    /// size throws CArgumentNullException for "data".
    std::vector<unsigned char> ComputeHash(const unsigned char* data, std::size_t size);

    /// Adds the rest of the stream and returns the final digest; its buffer is wiped. Without anything to read or added
    /// before it throws CInvalidOperationException.
    std::vector<unsigned char> ComputeHash(IO::CStream& stream);

    /// A copy of the final digest: 16 to 64 bytes by the algorithm. It is empty, and nothing is thrown, where the
    /// system did not tell its length.
    std::vector<unsigned char> GetDigest() const;

    /// Starts a new message, whether the one before was finished or not.
    void Clear();

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Security::Cryptography
