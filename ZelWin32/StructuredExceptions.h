#pragma once

// Private to the library: converts a structured exception into a C++ exception at the place of the fault, for compilers
// whose frames do not call the C runtime's translator.

#include "ZelWin32/Windows.h"

#include <exception>

namespace ZelWin32 {

/// The RPC runtime raises its status codes as structured exceptions.
constexpr bool IsRpcStatus(DWORD code) noexcept {
    return code >= 1700 && code <= 1999;
}

/// One entry of a fiber's stack of translators. It is allocated on the heap, because it has to survive the unwinding of
/// the stack that it describes.
struct SETranslationScope {
    void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*) = nullptr;
    SETranslationScope* previous = nullptr;
    const void* stackTop = nullptr;     ///< the sentry; frames at or above this address belong to its callers
    const void* owner = nullptr;        ///< the sentry's first word, while the sentry lives
    const void* handlerChain = nullptr; ///< the thread's list of structured handlers when the scope began
    const void* running = nullptr;      ///< its translator runs below this stack address; null while it does not run
    std::exception_ptr thrown;          ///< the translator's exception, until it is thrown at the place of the fault
    bool declined = false;              ///< the translator returned for the exception of the next two members
    EXCEPTION_RECORD record{};
    CONTEXT context{};
};

/// Makes the scope the innermost one of the running fiber, or of the thread if it has no fiber. Returns false, with the
/// last error set, if the system call fails.
/// \param sentry its first word is a pointer to the object that contains the scope
bool EnterSETranslation(SETranslationScope& scope, void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*),
                        const void* sentry) noexcept;
void LeaveSETranslation(SETranslationScope& scope) noexcept;

} // namespace ZelWin32
