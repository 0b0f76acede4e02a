#pragma once

// Private to CConvert: Base64 and base 16 in blocks of 16 bytes, if the processor supports the instructions. The
// functions process as many whole blocks as possible and return how much of the input they consumed, possibly none. The
// caller processes the rest and reports malformed input.

#include <cstddef>

namespace ZelCore::TextCodec {

/// Encodes multiples of 12 bytes to 16 characters each. May read up to `size` bytes.
std::size_t EncodeBase64(const unsigned char* in, std::size_t size, wchar_t* out) noexcept;

/// Decodes multiples of 16 characters to 12 bytes each and stops before a block that contains any other character.
/// `out` must have room for 3 bytes per 4 characters of the input.
std::size_t DecodeBase64(const wchar_t* in, std::size_t length, unsigned char* out) noexcept;

/// Encodes multiples of 8 bytes to 16 characters each.
std::size_t EncodeHex(const unsigned char* in, std::size_t size, wchar_t* out) noexcept;

/// Decodes multiples of 16 characters to 8 bytes each and stops before a block that contains any other character.
std::size_t DecodeHex(const wchar_t* in, std::size_t length, unsigned char* out) noexcept;

} // namespace ZelCore::TextCodec
