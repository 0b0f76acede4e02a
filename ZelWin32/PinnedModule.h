#pragma once

// Private to the library: keeps the library loaded while it may still be called.

#include "ZelWin32/Windows.h"

namespace ZelWin32 {

/// Keeps the library loaded until the process ends, even if all its users release it. Required for callbacks that the
/// system may be running on its own thread when the last user releases the library. Returns false, with the last error
/// set, if the system call fails.
inline bool PinOwnModule() noexcept {
    HMODULE module = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                                reinterpret_cast<const wchar_t*>(&PinOwnModule), &module) != FALSE;
}

} // namespace ZelWin32
