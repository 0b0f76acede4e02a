#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ZelCore {

/// Conversions between bytes, numbers and text. All static, without state, callable from any thread.
/// A null pointer argument throws CArgumentNullException, also when the size is 0.
class ZELCORE_API CConvert {
public:
    CConvert() = delete;

    /// Base64 as in RFC 4648, padded with "=". Data of size 0 gives the empty text.
    /// \param size             of the data, in bytes
    /// \param insertLineBreaks break lines with CR LF after 76 characters, never at the end
    static std::wstring ToBase64String(const unsigned char* data, std::size_t size, bool insertLineBreaks);

    /// Reads padded Base64; blanks, tabs and line breaks may stand anywhere, and empty text gives no bytes.
    /// Throws CFormatException "Invalid base 64 string" for any other character, for an incomplete last
    /// group and for data after the padding.
    static std::vector<unsigned char> FromBase64String(const wchar_t* value);

    /// Two upper-case hexadecimal digits a byte (RFC 4648 base 16).
    static std::wstring ToHexString(const unsigned char* value, std::size_t size);

    /// Reads hexadecimal digits of either case. Throws CFormatException "Invalid base 16 string" for an odd
    /// number of characters and for every other character.
    static std::vector<unsigned char> FromHexString(const wchar_t* value);

    /// Decimal numbers as the C runtime reads them: blanks and a sign may stand in front, and a number out of range
    /// becomes the nearest limit. A negative number wraps around where the type has no sign: -1 is the largest one.
    /// Throw CArgumentException for "value" when the text is empty or more than a number.
    ///@{
    static std::int32_t ToInt32(const wchar_t* value);
    static std::int64_t ToInt64(const wchar_t* value);
    static std::uint32_t ToUInt32(const wchar_t* value);
    static std::uint64_t ToUInt64(const wchar_t* value);
    ///@}

    /// A floating-point number with a decimal point, with or without an exponent. Beyond the range it is an infinity,
    /// too near to 0 it is 0; otherwise the same rules as for the integers.
    static double ToDouble(const wchar_t* value);
};

} // namespace ZelCore
