#pragma once

// Private to the library: turns a structured exception into a call of a throwing function, at the place of
// the fault, for compilers whose frames do not ask the C runtime's translator.

#include "ZelWin32/Windows.h"

namespace ZelWin32 {

/// The RPC runtime raises its status codes as structured exceptions.
constexpr bool IsRpcStatus(DWORD code) noexcept {
    return code >= 1700 && code <= 1999;
}

/// One entry of a thread's stack of translators. It lives on the heap, since it has to survive the unwinding
/// of the stack that it describes.
struct SETranslationScope {
    void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*) = nullptr;
    SETranslationScope* previous = nullptr;
    const void* stackTop = nullptr;     ///< frames at or above this address belong to the sentry's callers
    const void* handlerChain = nullptr; ///< the thread's list of structured handlers when the scope began
    bool searching = false;             ///< the translator declined the exception that comes next
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

/// Makes the scope the innermost one of this thread. False, with the last error set, when the system refuses.
bool EnterSETranslation(SETranslationScope& scope, void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*),
                        const void* stackTop) noexcept;
void LeaveSETranslation(SETranslationScope& scope) noexcept;

} // namespace ZelWin32
