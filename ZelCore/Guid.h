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

    /// Takes 16 bytes in storage order, as returned by ToByteArray. Any other number of bytes throws CArgumentException
    /// for "guidBytes".
    explicit CGuid(const std::vector<unsigned char>& guidBytes);

    /// Copies a GUID of the platform, which has the same layout.
    explicit CGuid(const _GUID& guid) noexcept;

    /// Returns a new random GUID. Throws CWin32Exception if the system can guarantee only local uniqueness.
    static CGuid NewGuid();

    /// Parses the hyphenated form "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in either case, optionally in braces. After an
    /// opening brace 36 characters are read and the rest is ignored. Throws CArgumentException for "guid" for any other
    /// text, and CArgumentNullException for null.
    static CGuid Parse(const wchar_t* guid);

    /// Returns lower-case text. The format is one letter of either case: D (also for null and empty) is hyphenated, N
    /// digits only, B hyphenated in braces, P hyphenated in parentheses. Any other format throws
    /// CArgumentOutOfRangeException for "format".
    std::wstring ToString(const wchar_t* format) const;

    /// Returns the 16 bytes in storage order: the first three fields are little-endian.
    std::vector<unsigned char> ToByteArray() const;

    /// Compares the bytes in storage order, which is not the order of the texts. Also provides == and !=.
    auto operator<=>(const CGuid&) const noexcept = default;

private:
    alignas(4) std::array<unsigned char, 16> m_bytes{};
};

} // namespace ZelCore
