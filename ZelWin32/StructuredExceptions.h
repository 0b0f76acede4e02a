#pragma once

// Private to the library: turns a structured exception into a C++ exception at the place of the fault, for compilers
// whose frames do not ask the C runtime's translator.

#include "ZelWin32/Windows.h"

#include <exception>

namespace ZelWin32 {

/// The RPC runtime raises its status codes as structured exceptions.
constexpr bool IsRpcStatus(DWORD code) noexcept {
    return code >= 1700 && code <= 1999;
}

/// One entry of a fiber's stack of translators. It lives on the heap, since it has to survive the unwinding of the
/// stack that it describes.
struct SETranslationScope {
    void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*) = nullptr;
    SETranslationScope* previous = nullptr;
    const void* stackTop = nullptr;     ///< frames at or above this address belong to the sentry's callers
    const void* handlerChain = nullptr; ///< the thread's list of structured handlers when the scope began
    const void* running = nullptr;      ///< below this address of the stack its translator runs; null while it does not
    std::exception_ptr thrown;          ///< what the translator threw, until the place of the fault throws it
    bool declined = false;              ///< the translator let the exception of the next two members go
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

/// Makes the scope the innermost one of the running fiber, or of a thread that has none. False, with the last error
/// set, when the system refuses.
bool EnterSETranslation(SETranslationScope& scope, void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*),
                        const void* stackTop) noexcept;
void LeaveSETranslation(SETranslationScope& scope) noexcept;

} // namespace ZelWin32
