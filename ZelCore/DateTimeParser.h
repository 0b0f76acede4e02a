#pragma once

// Private to the library: reading of date-times.

#include "ZelCore/DateTime.h"

#include <optional>
#include <string_view>

namespace ZelCore {

/// Minutes that local time is ahead of universal time at a local instant. Throws CWin32Exception.
int GetLocalOffset(const CDateTime& value);

/// The date-time of a text in a format of ParseExact, which must not be empty; nothing for text of another form. Throws
/// CArgumentException for a format that is none and for an impossible date.
std::optional<CDateTime> ParseDateTime(std::wstring_view text, std::wstring_view format, unsigned long locale);

/// Throws what ParseExact throws for a format that is none.
[[noreturn]] void ThrowBadDateTimeFormat();

} // namespace ZelCore
