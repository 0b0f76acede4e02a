#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <vector>

namespace ZelCore::Security::Cryptography {

/// Turns bytes into other bytes block by block: a cipher, or a hash that passes its input through.
///
/// Counts and sizes are in bytes. One thread at a time.
class ZELCORE_API ICryptoTransform {
public:
    virtual ~ICryptoTransform();

    /// Whether the transform can be used for another message after TransformFinalBlock.
    virtual bool CanReuseTransform() const = 0;

    /// Whether one call of TransformBlock may take several blocks.
    virtual bool CanTransformMultipleBlocks() const = 0;

    virtual std::size_t InputBlockSize() const = 0;
    virtual std::size_t OutputBlockSize() const = 0;

    /// Transforms whole blocks in the midst of a message. The result stands at the start of `output`, which is resized
    /// as needed; returns the length of the result, which may be 0 where the transform holds bytes back.
    virtual std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                                       std::vector<unsigned char>& output) = 0;

    /// Transforms the end of a message, which may be empty, and returns all that is still to come. The pointer must
    /// not be null even for a count of 0.
    virtual std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) = 0;

protected:
    ICryptoTransform() = default;
    ICryptoTransform(const ICryptoTransform&) = delete;
    ICryptoTransform& operator=(const ICryptoTransform&) = delete;
};

} // namespace ZelCore::Security::Cryptography
