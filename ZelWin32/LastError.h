#pragma once

// Private to the library: the translation of the calling thread's last error.

namespace ZelWin32 {

/// Throws CWin32Exception for the last error. Call it directly after the failing call, with ZEL_SITE. If the last error
/// is 0, `whenNone` is reported.
[[noreturn]] void ThrowLastError(const wchar_t* method, const wchar_t* file, int line, unsigned long whenNone = 0);

/// Throws like ThrowLastError unless the system call succeeded.
inline void CheckWin32(int succeeded, const wchar_t* method, const wchar_t* file, int line) {
    if (succeeded == 0) {
        ThrowLastError(method, file, line);
    }
}

} // namespace ZelWin32
