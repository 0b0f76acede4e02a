#include "ZelCore/TextWriter.h"

namespace ZelCore {

CTextWriter& CTextWriter::Put(const wchar_t* format, std::initializer_list<Argument> arguments) {
    const Argument* argument = arguments.begin();
    for (;;) {
        const wchar_t* const literal = format;
        while (*format != L'\0' && *format != L'%') {
            ++format;
        }
        m_text.append(literal, format);
        if (*format == L'\0') {
            return *this;
        }
        bool plus = false, zeros = false;
        std::size_t width = 0, precision = 0;
        for (++format; *format == L'+' || *format == L'0'; ++format) {
            (*format == L'+' ? plus : zeros) = true;
        }
        for (; *format >= L'0' && *format <= L'9'; ++format) {
            width = width * 10 + static_cast<std::size_t>(*format - L'0');
        }
        if (*format == L'.') {
            for (++format; *format >= L'0' && *format <= L'9'; ++format) {
                precision = precision * 10 + static_cast<std::size_t>(*format - L'0');
            }
        }
        for (; *format == L'h' || *format == L'l'; ++format) {
        }
        const wchar_t conversion = *format++;
        if (conversion == L'%') {
            m_text += L'%';
            continue;
        }
        const Argument& value = *argument++;
        switch (conversion) {
        case L's':
            m_text += value.text;
            break;
        case L'c':
            m_text += static_cast<wchar_t>(value.number);
            break;
        case L'x':
            PutNumber(static_cast<std::uint64_t>(value.number), false, false, width, precision, zeros, 16);
            break;
        default: // d and u
            PutNumber(value.number < 0 ? 0 - static_cast<std::uint64_t>(value.number)
                                       : static_cast<std::uint64_t>(value.number),
                      value.number < 0, plus, width, precision, zeros, 10);
        }
    }
}

void CTextWriter::PutNumber(std::uint64_t value, bool negative, bool plus, std::size_t width, std::size_t precision,
                            bool zeros, unsigned base) {
    constexpr std::size_t mostDigits = 20;
    wchar_t digits[mostDigits];
    wchar_t* first = digits + mostDigits;
    const auto divide = [&](auto divisor) {
        do {
            *--first = L"0123456789abcdef"[value % divisor];
            value /= divisor;
        } while (value != 0);
    };
    if (base == 10) {
        divide(10u);
    } else {
        divide(16u);
    }
    const auto count = static_cast<std::size_t>(digits + mostDigits - first);
    const std::size_t sign = negative || plus ? 1 : 0;
    std::size_t padding = precision > count ? precision - count : 0;
    if (zeros && width > count + sign) {
        padding = std::max(padding, width - count - sign);
    }
    if (!zeros && width > count + sign + padding) {
        m_text.append(width - count - sign - padding, L' ');
    }
    if (sign != 0) {
        m_text += negative ? L'-' : L'+';
    }
    m_text.append(padding, L'0').append(first, count);
}

} // namespace ZelCore
