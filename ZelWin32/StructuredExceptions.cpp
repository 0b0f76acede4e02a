#include "ZelWin32/StructuredExceptions.h"

#include "ZelWin32/PEModule.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

extern "C" {

EXCEPTION_DISPOSITION __gxx_personality_seh0(PEXCEPTION_RECORD, void*, PCONTEXT, PDISPATCHER_CONTEXT);
EXCEPTION_DISPOSITION __gcc_personality_seh0(PEXCEPTION_RECORD, void*, PCONTEXT, PDISPATCHER_CONTEXT);

void ZelRaiseTranslated();
void ZelTranslateCurrent();
}

// The thread continues here after a fault, as if the faulting instruction had called it. A fault leaves the
// stack aligned in any way, so the frame is addressed through rbp and the stack aligned by hand.
__asm__(".text\n"
        ".globl ZelRaiseTranslated\n"
        ".def ZelRaiseTranslated; .scl 2; .type 32; .endef\n"
        ".seh_proc ZelRaiseTranslated\n"
        "ZelRaiseTranslated:\n"
        "    pushq %rbp\n"
        "    .seh_pushreg %rbp\n"
        "    movq %rsp, %rbp\n"
        "    .seh_setframe %rbp, 0\n"
        "    .seh_endprologue\n"
        "    subq $32, %rsp\n"
        "    andq $-16, %rsp\n"
        "    call ZelTranslateCurrent\n"
        "    ud2\n"
        ".seh_endproc\n");

namespace ZelWin32 {

namespace {

/// Raised by language runtimes and debuggers for their own purposes, or impossible to handle on the spot.
bool IsForeign(DWORD code) noexcept {
    constexpr DWORD foreign[] = {
        0x20474343,
        0x21474343,
        0x22474343, // this compiler's throw, unwind and forced unwind
        0xE06D7363, // the other compiler's throw
        0x406D1388, // naming of a thread
        EXCEPTION_BREAKPOINT,
        EXCEPTION_SINGLE_STEP,
        EXCEPTION_STACK_OVERFLOW,
    };
    const bool isForDebugger = (code & 0xFFFFFFF0) == 0x40010000; // control keys and debug output
    return isForDebugger || std::find(std::begin(foreign), std::end(foreign), code) != std::end(foreign);
}

const void* GetHandlerChain() noexcept {
    const void* chain = nullptr; // the first field of the thread's environment block
    __asm__ volatile("movq %%gs:0, %0" : "=r"(chain));
    return chain;
}

/// Every module reaches the personality routines of the shared runtime through a jump of its own.
std::uintptr_t FollowImportJump(std::uintptr_t address) noexcept {
    const auto code = reinterpret_cast<const unsigned char*>(address);
    if (code[0] == 0xFF && code[1] == 0x25) {
        std::int32_t displacement = 0;
        std::memcpy(&displacement, code + 2, sizeof(displacement));
        std::memcpy(&address, code + 6 + displacement, sizeof(address));
    }
    return address;
}

/// Frames of this compiler only release what they own and pass the exception on.
bool IsOwnPersonality(const void* handler) noexcept {
    const std::uintptr_t target = FollowImportJump(reinterpret_cast<std::uintptr_t>(handler));
    return target == FollowImportJump(reinterpret_cast<std::uintptr_t>(&__gxx_personality_seh0)) ||
           target == FollowImportJump(reinterpret_cast<std::uintptr_t>(&__gcc_personality_seh0));
}

/// Whether a frame between the fault and the sentry has a structured handler that must see the fault first.
bool HasGuardedFrame(const CONTEXT& fault, const SETranslationScope& scope) noexcept {
    CONTEXT context = fault;
    while (context.Rip != 0 && context.Rsp < reinterpret_cast<DWORD64>(scope.stackTop)) {
        DWORD64 base = 0;
        const auto function = ::RtlLookupFunctionEntry(context.Rip, &base, nullptr);
        if (function == nullptr) { // a leaf: nothing but its return address on the stack
            context.Rip = *reinterpret_cast<const DWORD64*>(context.Rsp);
            context.Rsp += sizeof(DWORD64);
            continue;
        }
        void* data = nullptr;
        DWORD64 frame = 0;
        const auto handler =
            ::RtlVirtualUnwind(UNW_FLAG_EHANDLER, base, context.Rip, function, &context, &data, &frame, nullptr);
        if (handler != nullptr && !IsOwnPersonality(reinterpret_cast<const void*>(handler))) {
            return true;
        }
    }
    return false;
}

/// Under Wine the system's own guards are entries of the thread's handler list, elsewhere frames with a handler.
bool IsGuarded(const CONTEXT& fault, const SETranslationScope& scope) noexcept {
    return GetHandlerChain() != scope.handlerChain || HasGuardedFrame(fault, scope);
}

DWORD g_slot = TLS_OUT_OF_INDEXES;
PVOID g_handler = nullptr;

void Redirect(CONTEXT& context) noexcept {
    // The unwinder looks up one byte before a return address: the faulting instruction itself.
    context.Rsp -= sizeof(DWORD64);
    *reinterpret_cast<DWORD64*>(context.Rsp) = context.Rip + 1;
    context.Rip = reinterpret_cast<DWORD64>(&ZelRaiseTranslated);
    constexpr DWORD directionAlignmentAndTrap = 0x400 | 0x40000 | 0x100;
    context.EFlags &= ~directionAlignmentAndTrap;
}

/// A code raised by a call of RaiseException cannot be raised again by running the instruction once more.
bool WasRaisedByCall(const EXCEPTION_RECORD& record) noexcept {
    const void* module = CPEModule::GetModuleHandleOf(record.ExceptionAddress);
    return module != nullptr && (module == ::GetModuleHandleW(L"kernelbase") ||
                                 module == ::GetModuleHandleW(L"kernel32") || module == ::GetModuleHandleW(L"ntdll"));
}

/// Whether the exception is the one that was let go: raised again by the same kind of call, or by the same instruction
/// with the same registers, which is what running it once more gives.
bool IsResumed(const EXCEPTION_POINTERS& pointers, const SETranslationScope& scope) noexcept {
    const EXCEPTION_RECORD &now = *pointers.ExceptionRecord, &then = scope.record;
    const DWORD64 *const first = &pointers.ContextRecord->Rax, *const last = &pointers.ContextRecord->Rip;
    return now.ExceptionCode == then.ExceptionCode && now.NumberParameters == then.NumberParameters &&
           std::equal(now.ExceptionInformation, now.ExceptionInformation + now.NumberParameters,
                      then.ExceptionInformation) &&
           (WasRaisedByCall(then) || std::equal(first, last + 1, &scope.context.Rax));
}

LONG Dispatch(EXCEPTION_POINTERS& pointers) noexcept {
    const auto scope = static_cast<SETranslationScope*>(::TlsGetValue(g_slot));
    const DWORD code = pointers.ExceptionRecord->ExceptionCode;
    if (scope == nullptr || IsForeign(code)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (std::exchange(scope->searching, false) && IsResumed(pointers, *scope)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    // The RPC runtime raises its codes inside a frame that it guards itself.
    if (!IsRpcStatus(code) && IsGuarded(*pointers.ContextRecord, *scope)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    scope->record = *pointers.ExceptionRecord;
    scope->context = *pointers.ContextRecord;
    // What is copied ends with the fixed part of the context; the extended state lies behind the original.
    constexpr DWORD extendedState = 0x40;
    scope->context.ContextFlags &= ~extendedState;
    Redirect(*pointers.ContextRecord);
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) noexcept {
    const DWORD lastError = ::GetLastError();
    const LONG result = Dispatch(*pointers);
    ::SetLastError(lastError);
    return result;
}

/// The handler and its slot exist from the first sentry until the library is unloaded.
struct Registration {
    bool done = false;

    Registration() noexcept {
        g_slot = ::TlsAlloc();
        if (g_slot != TLS_OUT_OF_INDEXES) {
            g_handler = ::AddVectoredExceptionHandler(1, &OnException);
            done = g_handler != nullptr;
        }
    }
    ~Registration() {
        if (g_handler != nullptr) {
            ::RemoveVectoredExceptionHandler(g_handler);
        }
        if (g_slot != TLS_OUT_OF_INDEXES) {
            ::TlsFree(g_slot);
        }
    }
};

/// Lets the search for a handler go on as if nobody had looked.
void Resume(SETranslationScope& scope, const EXCEPTION_RECORD& record, CONTEXT& context) {
    scope.record = record; // what comes next, unless the translator has mended the fault
    scope.context = context;
    scope.searching = true;
    if (WasRaisedByCall(record)) {
        ::RaiseException(record.ExceptionCode, record.ExceptionFlags & EXCEPTION_NONCONTINUABLE,
                         record.NumberParameters, record.ExceptionInformation);
    }
    ::RtlRestoreContext(&context, nullptr);
}

} // namespace

bool EnterSETranslation(SETranslationScope& scope, void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*),
                        const void* stackTop) noexcept {
    static const Registration registration;
    if (!registration.done) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    scope.translator = translator;
    scope.previous = static_cast<SETranslationScope*>(::TlsGetValue(g_slot));
    scope.stackTop = stackTop;
    scope.handlerChain = GetHandlerChain();
    return ::TlsSetValue(g_slot, &scope) != FALSE;
}

void LeaveSETranslation(SETranslationScope& scope) noexcept {
    ::TlsSetValue(g_slot, scope.previous);
}

} // namespace ZelWin32

void ZelTranslateCurrent() {
    using namespace ZelWin32;
    auto& scope = *static_cast<SETranslationScope*>(::TlsGetValue(g_slot));
    // Copies: another exception inside the translator takes the place of this one in the scope.
    EXCEPTION_RECORD record = scope.record;
    CONTEXT context = scope.context;
    EXCEPTION_POINTERS pointers = {&record, &context};
    scope.translator(record.ExceptionCode, &pointers);
    Resume(scope, record, context);
}
