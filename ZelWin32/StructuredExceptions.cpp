#include "ZelWin32/StructuredExceptions.h"

#include "ZelWin32/PinnedModule.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

extern "C" {

void ZelRaiseTranslated();
[[noreturn]] void ZelThrowTranslated(ZelWin32::SETranslationScope* scope);
}

// After a fault the thread continues here, as if the faulting instruction had called this function with the scope in
// rcx. A fault may leave the stack with any alignment, so the frame is addressed through rbp and the stack is aligned
// explicitly.
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
        "    call ZelThrowTranslated\n"
        "    ud2\n"
        ".seh_endproc\n");

namespace ZelWin32 {

namespace {

/// Codes that language runtimes and debuggers raise for their own purposes, or that cannot be handled at the place of
/// the fault.
bool IsForeign(DWORD code) noexcept {
    constexpr DWORD foreign[] = {
        0x20474343,
        0x21474343,
        0x22474343, // this compiler's throw, unwind and forced unwind
        0xE06D7363, // the other compiler's throw
        0x406D1388, // thread naming
        EXCEPTION_BREAKPOINT,
        EXCEPTION_SINGLE_STEP,
        EXCEPTION_STACK_OVERFLOW,
    };
    const bool isForDebugger = (code & 0xFFFFFFF0) == 0x40010000; // control keys and debug output
    return isForDebugger || std::find(std::begin(foreign), std::end(foreign), code) != std::end(foreign);
}

const NT_TIB& GetThreadBlock() noexcept {
    const NT_TIB* block = nullptr; // NtCurrentTeb causes a warning of the compiler
    __asm__("movq %%gs:0x30, %0" : "=r"(block));
    return *block;
}

bool IsOnStack(DWORD64 address) noexcept {
    const NT_TIB& block = GetThreadBlock();
    return address >= reinterpret_cast<DWORD64>(block.StackLimit) &&
           address <= reinterpret_cast<DWORD64>(block.StackBase) - sizeof(DWORD64);
}

/// The result of calling the handlers between a fault and the sentry.
enum class Answer {
    None,        ///< no handler handles it
    Continue,    ///< a handler removed the cause: the thread continues with the context
    Unreachable, ///< the frames do not lead to the sentry, so a C++ exception would not get there
};

/// Repeats the system's search up to the sentry: the same handlers, in the same order, with the same arguments. A
/// handler that handles the exception unwinds the stack and does not return.
class HandlerSearch {
public:
    HandlerSearch(EXCEPTION_POINTERS& pointers, const SETranslationScope& scope) noexcept
        : m_record(*pointers.ExceptionRecord), m_fault(*pointers.ContextRecord), m_scope(scope),
          m_walk(*pointers.ContextRecord), m_entry(GetThreadBlock().ExceptionList) {
        m_walk.ContextFlags &= ~DWORD{0x40}; // the extended state is stored after the original and is not copied
    }

    Answer Run() {
        while (m_walk.Rsp < reinterpret_cast<DWORD64>(m_scope.stackTop)) {
            if (!IsOnStack(m_walk.Rsp)) {
                return Answer::Unreachable;
            }
            const DWORD64 before = m_walk.Rsp;
            Unwind();
            const Answer answer = m_dispatch.LanguageHandler != nullptr ? AskFrame() : AskEntries();
            if (answer != Answer::None) {
                return answer;
            }
            if (m_walk.Rsp <= before) { // frames are in order, unless the stack is damaged
                return Answer::Unreachable;
            }
        }
        return Answer::None;
    }

private:
    void Unwind() noexcept {
        m_dispatch = {};
        m_dispatch.ControlPc = m_walk.Rip;
        m_dispatch.ContextRecord = &m_walk;
        m_dispatch.HistoryTable = &m_history;
        m_dispatch.FunctionEntry = ::RtlLookupFunctionEntry(m_walk.Rip, &m_dispatch.ImageBase, nullptr);
        if (m_dispatch.FunctionEntry == nullptr) { // a leaf, or a call through a bad pointer: only a return address
            m_walk.Rip = *reinterpret_cast<const DWORD64*>(m_walk.Rsp);
            m_walk.Rsp += sizeof(DWORD64);
            return;
        }
        m_dispatch.LanguageHandler =
            ::RtlVirtualUnwind(UNW_FLAG_EHANDLER, m_dispatch.ImageBase, m_walk.Rip, m_dispatch.FunctionEntry, &m_walk,
                               &m_dispatch.HandlerData, &m_dispatch.EstablisherFrame, nullptr);
    }

    Answer AskFrame() {
        for (;;) {
            switch (Judge(m_dispatch.LanguageHandler(&m_record, reinterpret_cast<void*>(m_dispatch.EstablisherFrame),
                                                     &m_fault, &m_dispatch))) {
            case ExceptionContinueSearch:
                return Answer::None;
            case ExceptionContinueExecution:
                return Answer::Continue;
            case ExceptionCollidedUnwind: // the fault occurred while another exception unwound this frame: go on there
                ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, m_dispatch.ImageBase, m_dispatch.ControlPc,
                                   m_dispatch.FunctionEntry, &m_walk, &m_dispatch.HandlerData,
                                   &m_dispatch.EstablisherFrame, nullptr);
                m_dispatch.ContextRecord = &m_walk;
                continue;
            default:
                return Answer::Unreachable;
            }
        }
    }

    /// Wine keeps its guards in the list of handlers of 32-bit programs; on other systems the list is empty.
    Answer AskEntries() {
        while (m_entry != m_scope.handlerChain && IsOnStack(reinterpret_cast<DWORD64>(m_entry)) &&
               reinterpret_cast<DWORD64>(m_entry) < m_walk.Rsp) {
            m_dispatch.EstablisherFrame = reinterpret_cast<DWORD64>(m_entry);
            const auto handler = reinterpret_cast<PEXCEPTION_ROUTINE>(m_entry->Handler);
            switch (Judge(handler(&m_record, m_entry, &m_fault, &m_dispatch))) {
            case ExceptionContinueSearch:
                m_entry = m_entry->Next;
                break;
            case ExceptionContinueExecution:
                return Answer::Continue;
            default:
                return Answer::Unreachable;
            }
        }
        return Answer::None;
    }

    EXCEPTION_DISPOSITION Judge(EXCEPTION_DISPOSITION disposition) noexcept {
        if (disposition == ExceptionNestedException) {
            m_record.ExceptionFlags |= 0x10; // EXCEPTION_NESTED_CALL
            return ExceptionContinueSearch;
        }
        return disposition;
    }

    EXCEPTION_RECORD& m_record;
    CONTEXT& m_fault;
    const SETranslationScope& m_scope;
    CONTEXT m_walk;
    EXCEPTION_REGISTRATION_RECORD* m_entry;
    UNWIND_HISTORY_TABLE m_history{};
    DISPATCHER_CONTEXT m_dispatch{};
};

DWORD g_slot = FLS_OUT_OF_INDEXES;

/// Returns the innermost scope that contains the fault. It skips scopes whose translator is running, and scopes left
/// without their destructor, for example by longjmp.
SETranslationScope* FindScope(DWORD64 stackPointer) noexcept {
    const auto isBelow = [&](const void* address) { return stackPointer < reinterpret_cast<DWORD64>(address); };
    auto scope = static_cast<SETranslationScope*>(::FlsGetValue(g_slot));
    while (scope != nullptr && (isBelow(scope->running) || !isBelow(scope->stackTop))) {
        scope = scope->previous;
    }
    return scope;
}

/// A code raised by a call would not be raised again by executing one instruction again.
bool WasRaisedByCall(const EXCEPTION_RECORD& record) noexcept {
    const auto function = [](DWORD64 address) -> const void* {
        DWORD64 base = 0;
        return ::RtlLookupFunctionEntry(address, &base, nullptr);
    };
    const void* const own = function(reinterpret_cast<DWORD64>(record.ExceptionAddress));
    const auto isOf = [&](const wchar_t* module, const char* name) {
        const HMODULE handle = ::GetModuleHandleW(module);
        const FARPROC raise = handle != nullptr ? ::GetProcAddress(handle, name) : nullptr;
        return raise != nullptr && own != nullptr && own == function(reinterpret_cast<DWORD64>(raise));
    };
    constexpr DWORD severity = 0xF0000000; // the processor's faults have the system's severities error and warning
    const bool isOfProcessor =
        (record.ExceptionCode & severity) == 0xC0000000 || (record.ExceptionCode & severity) == 0x80000000;
    return !isOfProcessor || isOf(L"kernelbase", "RaiseException") || isOf(L"ntdll", "RtlRaiseException");
}

/// Whether the exception is the declined one: the same instruction with the same registers.
bool IsDeclined(const EXCEPTION_POINTERS& pointers, const SETranslationScope& scope) noexcept {
    const EXCEPTION_RECORD &now = *pointers.ExceptionRecord, &then = scope.record;
    const DWORD64 *const first = &pointers.ContextRecord->Rax, *const last = &pointers.ContextRecord->Rip;
    return now.ExceptionCode == then.ExceptionCode && now.NumberParameters == then.NumberParameters &&
           std::equal(now.ExceptionInformation, now.ExceptionInformation + now.NumberParameters,
                      then.ExceptionInformation) &&
           std::equal(first, last + 1, &scope.context.Rax);
}

void Redirect(CONTEXT& context, SETranslationScope& scope) noexcept {
    // The unwinder looks up the byte before a return address: here the faulting instruction itself.
    context.Rsp -= sizeof(DWORD64);
    *reinterpret_cast<DWORD64*>(context.Rsp) = context.Rip + 1;
    context.Rip = reinterpret_cast<DWORD64>(&ZelRaiseTranslated);
    context.Rcx = reinterpret_cast<DWORD64>(&scope);
    constexpr DWORD directionAlignmentAndTrap = 0x400 | 0x40000 | 0x100;
    context.EFlags &= ~directionAlignmentAndTrap;
}

/// Runs the translator on the stack of the fault, with the system's own records. Its exception is stored and thrown at
/// the place of the fault. If it returns, it has removed the cause or declined the exception.
LONG Translate(EXCEPTION_POINTERS& pointers, SETranslationScope& scope) {
    const int mark = 0;
    scope.running = &mark;
    try {
        scope.translator(pointers.ExceptionRecord->ExceptionCode, &pointers);
    } catch (...) {
        scope.thrown = std::current_exception();
    }
    scope.running = nullptr;
    if (scope.thrown != nullptr) {
        Redirect(*pointers.ContextRecord, scope);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (WasRaisedByCall(*pointers.ExceptionRecord)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    // The instruction is executed again with all registers unchanged; this shows whether the cause was removed.
    scope.record = *pointers.ExceptionRecord;
    scope.context = *pointers.ContextRecord;
    scope.declined = true;
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG Dispatch(EXCEPTION_POINTERS& pointers) {
    if (IsForeign(pointers.ExceptionRecord->ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    SETranslationScope* const scope = FindScope(pointers.ContextRecord->Rsp);
    if (scope == nullptr || (std::exchange(scope->declined, false) && IsDeclined(pointers, *scope))) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    switch (HandlerSearch(pointers, *scope).Run()) {
    case Answer::None:
        return Translate(pointers, *scope);
    case Answer::Continue: // if that is not allowed, the system reports it when it calls the same handler
        return (pointers.ExceptionRecord->ExceptionFlags & EXCEPTION_NONCONTINUABLE) != 0
                   ? EXCEPTION_CONTINUE_SEARCH
                   : EXCEPTION_CONTINUE_EXECUTION;
    default:
        return EXCEPTION_CONTINUE_SEARCH;
    }
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
    const DWORD lastError = ::GetLastError();
    const LONG result = Dispatch(*pointers);
    ::SetLastError(lastError);
    return result;
}

/// Registered until the process ends, because another thread may be inside the handler at any time.
bool Register() noexcept {
    if (!PinOwnModule()) {
        return false;
    }
    g_slot = ::FlsAlloc(nullptr);
    // Registered last: handlers registered before, which for example commit memory on demand, are called first.
    return g_slot != FLS_OUT_OF_INDEXES && ::AddVectoredExceptionHandler(0, &OnException) != nullptr;
}

} // namespace

bool EnterSETranslation(SETranslationScope& scope, void(__cdecl* translator)(unsigned int, EXCEPTION_POINTERS*),
                        const void* stackTop) noexcept {
    static const bool registered = Register();
    if (!registered) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    scope.translator = translator;
    scope.previous = static_cast<SETranslationScope*>(::FlsGetValue(g_slot));
    scope.stackTop = stackTop;
    scope.handlerChain = GetThreadBlock().ExceptionList;
    return ::FlsSetValue(g_slot, &scope) != FALSE;
}

void LeaveSETranslation(SETranslationScope& scope) noexcept {
    ::FlsSetValue(g_slot, scope.previous);
}

} // namespace ZelWin32

void ZelThrowTranslated(ZelWin32::SETranslationScope* scope) {
    std::rethrow_exception(std::exchange(scope->thrown, nullptr));
}
