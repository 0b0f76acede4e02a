#pragma once

// Private to CFile and CDirectory: existence tests by file attributes.

#include "ZelCore/Arguments.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::IO {

constexpr bool IsMissing(DWORD error) noexcept {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

/// Whether the path exists and is of the wanted kind. Throws for an error from which this cannot be determined.
inline bool ExistsAs(bool directory, const wchar_t* path, const wchar_t* method, const wchar_t* file, int line) {
    if (*path == L'\0') {
        return false;
    }
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(path, GetFileExInfoStandard, &data)) {
        const DWORD error = ::GetLastError();
        if (IsMissing(error) || error == ERROR_NOT_READY) {
            return false;
        }
        throw ZelWin32::CWin32Exception(error, nullptr, method, file, line);
    }
    return data.dwFileAttributes != INVALID_FILE_ATTRIBUTES &&
           ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) == directory;
}

/// Throws for the last error, unless it is "not found" and `throwIfMissing` is false.
inline void ThrowDeleteError(bool throwIfMissing, const wchar_t* method, const wchar_t* file, int line) {
    const DWORD error = ::GetLastError();
    if (throwIfMissing || !IsMissing(error)) {
        throw ZelWin32::CWin32Exception(error, nullptr, method, file, line);
    }
}

} // namespace ZelCore::IO
