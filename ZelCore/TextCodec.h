#pragma once

// Private to CConvert: Base64 and base 16 a block of 16 bytes at a time, where the processor has the instructions.
// The functions do as many blocks as they can and return how much of the input that was, possibly nothing;
// the caller goes on from there, and reports what is malformed.

#include <cstddef>

namespace ZelCore::TextCodec {

/// Encodes multiples of 12 bytes to 16 characters each; `size` bytes may be read.
std::size_t EncodeBase64(const unsigned char* in, std::size_t size, wchar_t* out) noexcept;

/// Decodes multiples of 16 characters to 12 bytes each and stops in front of a block that holds anything but
/// digits. For every 4 characters of the input there is room for 3 bytes.
std::size_t DecodeBase64(const wchar_t* in, std::size_t length, unsigned char* out) noexcept;

/// Encodes multiples of 8 bytes to 16 characters each.
std::size_t EncodeHex(const unsigned char* in, std::size_t size, wchar_t* out) noexcept;

/// Decodes multiples of 16 characters to 8 bytes each and stops in front of a block that holds anything but digits.
std::size_t DecodeHex(const wchar_t* in, std::size_t length, unsigned char* out) noexcept;

} // namespace ZelCore::TextCodec
