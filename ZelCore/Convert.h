#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ZelCore {

/// Conversions between bytes, numbers and text. All functions are static and stateless and may be called from any
/// thread. A null pointer argument throws CArgumentNullException, also if the size is 0.
class ZELCORE_API CConvert {
public:
    CConvert() = delete;

    /// Encodes Base64 (RFC 4648), padded with "=". Data of size 0 yields an empty string.
    /// \param size             size of the data in bytes
    /// \param insertLineBreaks insert CR LF after every 76 characters, but not at the end
    static std::wstring ToBase64String(const unsigned char* data, std::size_t size, bool insertLineBreaks);

    /// Decodes padded Base64. Spaces, tabs and line breaks are allowed anywhere, and an empty string yields no bytes.
    /// Throws CFormatException "Invalid base 64 string" for any other character, for an incomplete last group and for
    /// data after the padding.
    static std::vector<unsigned char> FromBase64String(const wchar_t* value);

    /// Encodes each byte as two upper-case hexadecimal digits (RFC 4648 base 16).
    static std::wstring ToHexString(const unsigned char* value, std::size_t size);

    /// Decodes hexadecimal digits of either case. Throws CFormatException "Invalid base 16 string" for an odd number of
    /// characters and for any other character.
    static std::vector<unsigned char> FromHexString(const wchar_t* value);

    /// Parses decimal numbers like the C runtime: leading white space and a sign are allowed, and a number out of range
    /// becomes the nearest limit. For the unsigned types a negative number wraps around: -1 is the largest number.
    /// Throws CArgumentException for "value" if the text is empty or contains more than a number.
    ///@{
    static std::int32_t ToInt32(const wchar_t* value);
    static std::int64_t ToInt64(const wchar_t* value);
    static std::uint32_t ToUInt32(const wchar_t* value);
    static std::uint64_t ToUInt64(const wchar_t* value);
    ///@}

    /// Parses a floating-point number with a decimal point and an optional exponent. Overflow yields infinity and
    /// underflow yields 0. Otherwise the rules are the same as for the integers.
    static double ToDouble(const wchar_t* value);
};

} // namespace ZelCore
