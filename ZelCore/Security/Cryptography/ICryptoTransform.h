#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <vector>

/// Ciphers, digests, random numbers, RSA signatures and keys, and protected data, all by the system's CryptoAPI.
namespace ZelCore::Security::Cryptography {

/// Turns bytes into other bytes block by block: a cipher, or a hash that passes its input through.
///
/// Counts and sizes are in bytes. One thread at a time.
class ZELCORE_API ICryptoTransform {
public:
    /// Drops what the transform holds back.
    virtual ~ICryptoTransform();

    /// Whether the transform can be used for another message after TransformFinalBlock. The library's ciphers say so,
    /// but a decryptor whose message came in part by TransformBlock puts the last block of that in front of the next
    /// message: make a new one. An encryptor starts each message with the same initialisation vector, which shows
    /// messages that begin alike: make a new one too, with a new vector.
    virtual bool CanReuseTransform() const = 0;

    /// Whether one call of TransformBlock may take several blocks.
    virtual bool CanTransformMultipleBlocks() const = 0;

    /// The size of a block that goes in, and of what comes out for it: of a cipher its block size, of a hash 1.
    ///@{
    virtual std::size_t InputBlockSize() const = 0;
    virtual std::size_t OutputBlockSize() const = 0;
    ///@}

    /// Transforms whole blocks in the midst of a message. The result stands at the start of `output`, which is resized
    /// as needed; returns the length of the result, which may be 0 where the transform holds bytes back.
    ///
    /// The library's own also take an input that lies in `output`. On failure they leave the output as it was; on
    /// success they wipe what it held before, and its elements may have moved. They throw CArgumentNullException for
    /// "inputBuffer"; the ciphers CArgumentException for "inputCount" when it is 0 or no multiple of the block size,
    /// CArgumentOutOfRangeException for "inputCount" when 32 bits do not hold it, and CWin32Exception when the system
    /// refuses.
    virtual std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                                       std::vector<unsigned char>& output) = 0;

    /// Transforms the end of a message, which may be empty, and returns all that is still to come. The pointer must
    /// not be null even for a count of 0.
    ///
    /// The library's encryptors pad the message; two and more whole blocks at once are refused by the system. Its
    /// decryptors take whole blocks only: cipher text that was truncated within a block throws CArgumentException for
    /// "inputCount". They throw CWin32Exception, mostly with NTE_BAD_DATA, when the padding shows that key or data are
    /// wrong. Do not let the sender of the data see which of the two it was.
    virtual std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) = 0;

protected:
    ICryptoTransform() = default;
    ICryptoTransform(const ICryptoTransform&) = delete;
    ICryptoTransform& operator=(const ICryptoTransform&) = delete;
};

} // namespace ZelCore::Security::Cryptography
