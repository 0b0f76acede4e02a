#pragma once

// Private to the library: argument checks shared by many methods. They take the throw site of their caller.

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

/// Null throws CArgumentNullException, an empty string CArgumentException "Cannot be empty".
inline void CheckNotEmpty(const wchar_t* argument, const wchar_t* name, const wchar_t* method, const wchar_t* file,
                          int line) {
    CheckNotNull(argument, name, method, file, line);
    if (*argument == L'\0') {
        throw CArgumentException(name, GetMessageText(Message::CannotBeEmpty), method, file, line);
    }
}

constexpr std::uint64_t Largest32 = 0xFFFFFFFF; ///< the largest count that most platform calls accept

/// A value above the limit throws CArgumentOutOfRangeException.
inline void CheckAtMost(std::uint64_t value, std::uint64_t limit, const wchar_t* name, const wchar_t* method,
                        const wchar_t* file, int line) {
    if (value > limit) {
        throw CArgumentOutOfRangeException(name, std::to_wstring(value).c_str(), nullptr, method, file, line);
    }
}

} // namespace ZelCore
