#pragma once

// Private to the library: checks of arguments that many methods share. They take the site of their caller.

#include "ZelCore/ArgumentException.h"
#include "ZelCore/ArgumentNullException.h"
#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Messages.h"

#include <cstdint>
#include <string>

namespace ZelCore {

inline void CheckNotNull(const void* argument, const wchar_t* name, const wchar_t* method, const wchar_t* file,
                         int line) {
    if (argument == nullptr) {
        throw CArgumentNullException(name, nullptr, method, file, line);
    }
}

/// Null throws CArgumentNullException, the empty text CArgumentException "Cannot be empty".
inline void CheckNotEmpty(const wchar_t* argument, const wchar_t* name, const wchar_t* method, const wchar_t* file,
                          int line) {
    CheckNotNull(argument, name, method, file, line);
    if (*argument == L'\0') {
        throw CArgumentException(name, GetMessageText(Message::CannotBeEmpty), method, file, line);
    }
}

constexpr std::uint64_t Largest32 = 0xFFFFFFFF; ///< what the counts of most platform calls can hold

/// A count or size beyond the limit throws CArgumentOutOfRangeException.
inline void CheckAtMost(std::uint64_t value, std::uint64_t limit, const wchar_t* name, const wchar_t* method,
                        const wchar_t* file, int line) {
    if (value > limit) {
        throw CArgumentOutOfRangeException(name, std::to_wstring(value).c_str(), nullptr, method, file, line);
    }
}

} // namespace ZelCore
