#pragma once

// Private to the library: detects the end of the process.

#include "ZelWin32/Windows.h"

/// Exported by ntdll, missing in the compiler's headers.
extern "C" __declspec(dllimport) BOOLEAN __stdcall RtlDllShutdownInProgress();

namespace ZelWin32 {

/// True during the last destructors of a process, for example those of static objects of DLLs. The system has then
/// terminated all other threads, wherever they were.
inline bool IsProcessEnding() noexcept {
    return ::RtlDllShutdownInProgress() != FALSE;
}

} // namespace ZelWin32
