#pragma once

#include "ZelCore/Export.h"

#include <array>
#include <compare>
#include <string>
#include <vector>

struct _GUID;

namespace ZelCore {

/// A globally unique identifier in the platform's layout (RFC 4122): a copyable value of 16 bytes.
class ZELCORE_API CGuid {
public:
    /// The nil GUID: all zero.
    CGuid() noexcept;

    /// Takes 16 bytes in storage order, as ToByteArray gives them.
    /// Any other number of bytes throws CArgumentException for "guidBytes".
    explicit CGuid(const std::vector<unsigned char>& guidBytes);

    /// The value of a GUID of the platform, whose layout it shares.
    explicit CGuid(const _GUID& guid) noexcept;

    /// A new random GUID. Throws CWin32Exception when the system can promise no more than local uniqueness.
    static CGuid NewGuid();

    /// Reads the hyphenated form "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in either case, also in braces.
    /// Behind an opening brace 36 characters are read and the rest is ignored.
    /// Throws CArgumentException for "guid" for anything else, CArgumentNullException for null.
    static CGuid Parse(const wchar_t* guid);

    /// Lower-case text. Formats, one letter of either case: D (also for null and empty) hyphenated, N digits
    /// only, B hyphenated in braces, P hyphenated in parentheses. Any other format throws
    /// CArgumentOutOfRangeException for "format".
    std::wstring ToString(const wchar_t* format) const;

    /// The 16 bytes in storage order: the first three fields little-endian.
    std::vector<unsigned char> ToByteArray() const;

    /// Orders by the bytes in storage order, which is not the order of the texts; also gives == and !=.
    auto operator<=>(const CGuid&) const noexcept = default;

private:
    alignas(4) std::array<unsigned char, 16> m_bytes{};
};

} // namespace ZelCore
