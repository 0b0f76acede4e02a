#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <vector>

/// Ciphers, digests, random numbers, RSA signatures and keys, and data protection, all by the system's CryptoAPI.
namespace ZelCore::Security::Cryptography {

/// Transforms bytes block by block: a cipher, or a hash that passes its input through.
///
/// Counts and sizes are in bytes. Not thread-safe: one thread at a time.
class ZELCORE_API ICryptoTransform {
public:
    /// Discards bytes that the transform holds back.
    virtual ~ICryptoTransform();

    /// Whether the transform can be used for another message after TransformFinalBlock. The library's ciphers return
    /// true, with two restrictions. A decryptor that received part of its message by TransformBlock puts the last block
    /// of that part before the next message: create a new one instead. An encryptor starts each message with the same
    /// initialization vector, which reveals messages with the same beginning: create a new one with a new vector
    /// instead.
    virtual bool CanReuseTransform() const = 0;

    /// Whether one call of TransformBlock may take several blocks.
    virtual bool CanTransformMultipleBlocks() const = 0;

    /// Input block size, and the output size per block: for a cipher its block size, for a hash 1.
    ///@{
    virtual std::size_t InputBlockSize() const = 0;
    virtual std::size_t OutputBlockSize() const = 0;
    ///@}

    /// Transforms whole blocks that are not the end of a message. Writes the result to the start of `output`, which is
    /// resized as needed. Returns the length of the result, which may be 0 if the transform holds bytes back.
    ///
    /// The library's transforms also accept an input inside `output`. On failure they leave `output` unchanged. On
    /// success they wipe its previous contents, and its elements may have moved. They throw CArgumentNullException for
    /// "inputBuffer". The ciphers also throw CArgumentException for "inputCount" if it is 0 or not a multiple of the
    /// block size, CArgumentOutOfRangeException for "inputCount" beyond 32 bits, and CWin32Exception if the system call
    /// fails.
    virtual std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                                       std::vector<unsigned char>& output) = 0;

    /// Transforms the end of a message, which may be empty, and returns the remaining result. The pointer must not be
    /// null even for a count of 0.
    ///
    /// The library's encryptors pad the message; the system rejects two or more whole blocks at once. Its decryptors
    /// accept whole blocks only: cipher text that was truncated within a block throws CArgumentException for
    /// "inputCount". They throw CWin32Exception, usually with NTE_BAD_DATA, if the padding shows that the key or the
    /// data is wrong. Do not reveal to the sender of the data which of these errors occurred.
    virtual std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) = 0;

protected:
    ICryptoTransform() = default;
    ICryptoTransform(const ICryptoTransform&) = delete;
    ICryptoTransform& operator=(const ICryptoTransform&) = delete;
};

} // namespace ZelCore::Security::Cryptography
