#pragma once

// Private to the library: keeps it loaded while others may still call it.

#include "ZelWin32/Windows.h"

namespace ZelWin32 {

/// The library stays loaded until the process ends, whatever its users release. For callbacks that the system may be
/// running on a thread of its own when the last user releases the library. False, with the last error set, when the
/// system refuses.
inline bool PinOwnModule() noexcept {
    HMODULE module = nullptr;
    return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                                reinterpret_cast<const wchar_t*>(&PinOwnModule), &module) != FALSE;
}

} // namespace ZelWin32
