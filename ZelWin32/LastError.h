#pragma once

// Private to the library: the one translation of the calling thread's last error.

namespace ZelWin32 {

/// Throws CWin32Exception for the last error. Call it right after the failing call, with ZEL_SITE;
/// an absent last error is reported as `whenNone`.
[[noreturn]] void ThrowLastError(const wchar_t* method, const wchar_t* file, int line, unsigned long whenNone = 0);

/// Throws like ThrowLastError unless the platform call succeeded.
inline void CheckWin32(int succeeded, const wchar_t* method, const wchar_t* file, int line) {
    if (succeeded == 0) {
        ThrowLastError(method, file, line);
    }
}

} // namespace ZelWin32
