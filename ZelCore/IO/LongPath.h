#pragma once

// Private to the library: paths of any length, which the system takes without normalizing them.

#include <string>
#include <string_view>

namespace ZelCore::IO {

inline constexpr std::wstring_view LongPrefix = L"\\\\?\\";

/// The form in which a full path may be longer than 260 characters, and names may end in a dot or a space.
std::wstring ToLongForm(const std::wstring& full);

} // namespace ZelCore::IO
