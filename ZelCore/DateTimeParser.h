#pragma once

// Private to the library: parsing of date-times.

#include "ZelCore/DateTime.h"

#include <optional>
#include <string_view>

namespace ZelCore {

/// Returns by how many minutes local time is ahead of UTC at a local time. Throws CWin32Exception.
int GetLocalOffset(const CDateTime& value);

/// Parses a text in a format of ParseExact; the format must not be empty. Returns no value for text of another form.
/// Throws CArgumentException for an invalid format and for an impossible date.
std::optional<CDateTime> ParseDateTime(std::wstring_view text, std::wstring_view format, unsigned long locale);

/// Throws the exception of ParseExact for an invalid format.
[[noreturn]] void ThrowBadDateTimeFormat();

} // namespace ZelCore
