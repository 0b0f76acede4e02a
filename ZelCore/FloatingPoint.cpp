#include "ZelCore/FloatingPoint.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cwchar>
#include <string>
#include <string_view>

namespace ZelCore {

namespace {

bool IsZeroOrPoint(char c) noexcept {
    return c == '0' || c == '.';
}

/// Whether a number outside the range is too large rather than too small. It has a digit other than 0, because 0 is in
/// the range.
bool IsLarge(std::string_view number, bool isHexadecimal) {
    const std::size_t exponentAt = number.find_first_of(isHexadecimal ? "pP" : "eE");
    const std::string_view digits = number.substr(0, exponentAt);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    std::size_t first = 0; // the first significant digit
    while (first < digits.size() && IsZeroOrPoint(digits[first])) {
        ++first;
    }
    long long exponent = 0;
    if (exponentAt != std::string_view::npos) {
        const bool isSigned = number[exponentAt + 1] == '+' || number[exponentAt + 1] == '-';
        const char* const begin = number.data() + exponentAt + 1 + (isSigned ? 1 : 0);
        if (std::from_chars(begin, number.data() + number.size(), exponent).ec != std::errc()) {
            return number[exponentAt + 1] != '-'; // the exponent exceeds the number of digits of any text
        }
        exponent *= number[exponentAt + 1] == '-' ? -1 : 1;
    }
    const auto places = static_cast<long long>(point) - static_cast<long long>(first);
    return places * (isHexadecimal ? 4 : 1) > -exponent;
}

} // namespace

double ReadDouble(const wchar_t* text, wchar_t** end) {
    *end = const_cast<wchar_t*>(text);
    const wchar_t* begin = text;
    begin += std::wcsspn(begin, L" \t\n\v\f\r");
    const bool isNegative = *begin == L'-';
    begin += isNegative || *begin == L'+' ? 1 : 0;
    const bool isHexadecimal = begin[0] == L'0' && (begin[1] == L'x' || begin[1] == L'X');
    std::string number;
    for (const wchar_t* c = begin + (isHexadecimal ? 2 : 0); *c != L'\0' && *c < 0x80; ++c) {
        number += static_cast<char>(*c);
    }
    // from_chars accepts some text that C does not: a second sign, and words after "0x".
    const bool isNumber =
        !number.starts_with('-') && (!isHexadecimal || number.find_first_of("0123456789abcdefABCDEF.") == 0);
    double value = 0;
    const auto format = isHexadecimal ? std::chars_format::hex : std::chars_format::general;
    const auto [stop, error] = std::from_chars(number.data(), number.data() + number.size(), value, format);
    if (!isNumber || error == std::errc::invalid_argument) {
        *end = const_cast<wchar_t*>(isHexadecimal ? begin + 1 : text); // the 0 of "0x" is a number
        return 0;
    }
    const std::string_view used(number.data(), static_cast<std::size_t>(stop - number.data()));
    if (error == std::errc::result_out_of_range) {
        value = IsLarge(used, isHexadecimal) ? HUGE_VAL : 0;
    }
    *end = const_cast<wchar_t*>(begin + (isHexadecimal ? 2 : 0) + used.size());
    return isNegative ? -value : value;
}

} // namespace ZelCore
