#pragma once

// Private to the library: formatting of short lines, many times faster than with the C runtime.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace ZelCore {

/// Appends text by a printf format. Supported are "%[+][0][width][.precision][h|l]" with d, u and x, and "%c", "%s",
/// "%%". As with printf, the caller is responsible for the number and types of the arguments; all formats are literals.
class CTextWriter {
public:
    struct Argument {
        template <class Integer>
        requires std::is_integral_v<Integer> Argument(Integer value) : number(static_cast<std::int64_t>(value)) {}
        Argument(std::wstring_view value) : text(value) {}
        Argument(const std::wstring& value) : text(value) {}
        Argument(const wchar_t* value) : text(value) {}

        std::int64_t number = 0;
        std::wstring_view text;
    };

    /// Reserves `size` characters, a hint: only the caller can estimate the length of the arguments.
    explicit CTextWriter(std::size_t size = 64) {
        m_text.reserve(size);
    }

    CTextWriter& Put(const wchar_t* format, std::initializer_list<Argument> arguments);

    std::wstring Take() {
        return std::move(m_text);
    }

private:
    void PutNumber(std::uint64_t value, bool negative, bool plus, std::size_t width, std::size_t precision, bool zeros,
                   unsigned base);

    std::wstring m_text;
};

} // namespace ZelCore
