#pragma once

// Private to the library: whether anybody is left to wait for.

#include "ZelWin32/Windows.h"

/// Of ntdll; the compiler's headers lack it.
extern "C" __declspec(dllimport) BOOLEAN __stdcall RtlDllShutdownInProgress();

namespace ZelWin32 {

/// True for the last destructors of a process, those of DLLs' static objects say: the system has ended all other
/// threads, wherever they were.
inline bool IsProcessEnding() noexcept {
    return ::RtlDllShutdownInProgress() != FALSE;
}

} // namespace ZelWin32
