#pragma once

#include "ZelCore/Security/Cryptography/ICryptoTransform.h"

#include <memory>

namespace ZelCore::IO {
class CStream;
}

namespace ZelCore::Security::Cryptography {

/// A message digest (FIPS 180-4, RFC 1320, RFC 1321) computed by the system's CryptoAPI. It is also a transform that
/// passes its input through, so that a CCryptoStream can compute the digest of the data that it processes. (A
/// CCryptoStream appends the digest to the data: on Close when writing, at the end when reading.)
///
///     CHashAlgorithm sha256(0x800C);       // CALG_SHA_256 of wincrypt.h
///     const unsigned char text[] = "abc";  // or a stream
///     const std::vector<unsigned char> digest = sha256.ComputeHash(text, sizeof text - 1);
///
/// Data is added until the digest is final; Clear then starts the next message. Adding data to a final digest,
/// finalizing it twice and requesting it before it is final throw CInvalidOperationException. A failing system call
/// throws CWin32Exception. Not thread-safe: one thread at a time.
class ZELCORE_API CHashAlgorithm : public ICryptoTransform {
public:
    /// \param algorithmId CryptoAPI's ALG_ID: 0x8002 MD4, 0x8003 MD5, 0x8004 SHA-1, 0x800C SHA-256, 0x800D SHA-384,
    ///                    0x800E SHA-512
    ///
    /// Throws CWin32Exception for an algorithm that the system does not support.
    explicit CHashAlgorithm(unsigned int algorithmId);
    /// Releases the system's resources without computing a digest.
    ~CHashAlgorithm() override;

    /// Always true: Clear starts the next message.
    bool CanReuseTransform() const override;
    /// Always true.
    bool CanTransformMultipleBlocks() const override;

    /// Always 1: any number of bytes is accepted.
    ///@{
    std::size_t InputBlockSize() const override;
    std::size_t OutputBlockSize() const override;
    ///@}

    /// Adds the input, copies it to `output`, which is resized to the same size, and returns the size. On success the
    /// previous contents of `output` are wiped; on failure `output` is unchanged. Null throws CArgumentNullException
    /// for "inputBuffer", also for a count of 0.
    std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                               std::vector<unsigned char>& output) override;

    /// Adds the input and returns the final digest, not the input. Null throws CArgumentNullException for "inputBuffer"
    /// unless the count is 0.
    std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) override;

    /// Adds the data and returns the final digest. Data of 0 bytes counts as data, also with a null pointer. Null with
    /// a size other than 0 throws CArgumentNullException for "data".
    std::vector<unsigned char> ComputeHash(const unsigned char* data, std::size_t size);

    /// Adds the rest of the stream and returns the final digest; the buffer used for reading is wiped. Throws
    /// CInvalidOperationException if the stream is at its end and no data was added before.
    std::vector<unsigned char> ComputeHash(IO::CStream& stream);

    /// Returns a copy of the final digest: 16 to 64 bytes, depending on the algorithm. It is empty, without an
    /// exception, if the system did not report the digest's length.
    std::vector<unsigned char> GetDigest() const;

    /// Starts a new message, whether the previous one was finished or not.
    void Clear();

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Security::Cryptography
