#include "ZelWin32/StructuredExceptions.h"

#include "ZelWin32/PinnedModule.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

extern "C" {

void ZelRaiseTranslated();
void ZelCallTranslator(ZelWin32::SETranslationScope* scope, unsigned int code, EXCEPTION_POINTERS* pointers);
EXCEPTION_DISPOSITION ZelLeaveTranslator(PEXCEPTION_RECORD, void* frame, PCONTEXT, void*) noexcept;
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

// Calls the translator, which is the first member of the scope, from a frame that learns of every way out of it: frames
// of this compiler run no destructors when a structured handler unwinds them.
__asm__(".text\n"
        ".globl ZelCallTranslator\n"
        ".def ZelCallTranslator; .scl 2; .type 32; .endef\n"
        ".seh_proc ZelCallTranslator\n"
        "ZelCallTranslator:\n"
        "    subq $56, %rsp\n"
        "    .seh_stackalloc 56\n"
        "    .seh_endprologue\n"
        "    .seh_handler ZelLeaveTranslator, @unwind\n"
        "    movq %rcx, 48(%rsp)\n"
        "    movq %rcx, %rax\n"
        "    movl %edx, %ecx\n"
        "    movq %r8, %rdx\n"
        "    call *(%rax)\n"
        "    nop\n"
        "    addq $56, %rsp\n"
        "    ret\n"
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

/// Of a context's flags: this state is stored after the original, and is not part of a copy.
constexpr DWORD ExtendedState = 0x40;

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
    HandlerSearch(EXCEPTION_POINTERS& pointers, const SETranslationScope& scope, DWORD lastError) noexcept
        : m_record(*pointers.ExceptionRecord), m_fault(*pointers.ContextRecord), m_scope(scope), m_lastError(lastError),
          m_walk(*pointers.ContextRecord), m_entry(GetThreadBlock().ExceptionList) {
        m_walk.ContextFlags &= ~ExtendedState;
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
            switch (Call(m_dispatch.LanguageHandler, reinterpret_cast<void*>(m_dispatch.EstablisherFrame))) {
            case ExceptionContinueSearch:
                return Answer::None;
            case ExceptionContinueExecution:
                return Answer::Continue;
            case ExceptionCollidedUnwind:
                ContinueUnwoundFrame();
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
            switch (Call(reinterpret_cast<PEXCEPTION_ROUTINE>(m_entry->Handler), m_entry)) {
            case ExceptionContinueSearch:
                m_entry = m_entry->Next;
                break;
            case ExceptionContinueExecution:
                return Answer::Continue;
            case ExceptionCollidedUnwind:
                m_entry = m_entry->Next;
                ContinueUnwoundFrame();
                return AskFrame();
            default:
                return Answer::Unreachable;
            }
        }
        return Answer::None;
    }

    /// The fault occurred while another exception was unwinding. The handler of that unwind has stored the frame that
    /// it was in, from which the search goes on.
    void ContinueUnwoundFrame() noexcept {
        m_walk = *m_dispatch.ContextRecord;
        DWORD64 frame = 0;
        ::RtlVirtualUnwind(UNW_FLAG_NHANDLER, m_dispatch.ImageBase, m_dispatch.ControlPc, m_dispatch.FunctionEntry,
                           &m_walk, &m_dispatch.HandlerData, &frame, nullptr);
        m_dispatch.ContextRecord = &m_walk;
    }

    EXCEPTION_DISPOSITION Call(PEXCEPTION_ROUTINE handler, void* frame) {
        ::SetLastError(m_lastError); // as without a sentry
        const EXCEPTION_DISPOSITION disposition = handler(&m_record, frame, &m_fault, &m_dispatch);
        if (disposition == ExceptionNestedException) {
            m_record.ExceptionFlags |= 0x10; // EXCEPTION_NESTED_CALL
            return ExceptionContinueSearch;
        }
        return disposition;
    }

    EXCEPTION_RECORD& m_record;
    CONTEXT& m_fault;
    const SETranslationScope& m_scope;
    DWORD m_lastError;
    CONTEXT m_walk;
    EXCEPTION_REGISTRATION_RECORD* m_entry;
    UNWIND_HISTORY_TABLE m_history{};
    DISPATCHER_CONTEXT m_dispatch{};
};

DWORD g_slot = FLS_OUT_OF_INDEXES;

/// Whether the sentry still exists. longjmp, and structured handlers that unwind frames of this compiler, skip its
/// destructor. Then its place on the stack is soon overwritten.
bool IsAlive(const SETranslationScope& scope) noexcept {
    return !IsOnStack(reinterpret_cast<DWORD64>(scope.stackTop)) ||
           *static_cast<const void* const*>(scope.stackTop) == scope.owner;
}

/// Returns the innermost scope that contains the fault. It skips scopes whose translator is running, and scopes whose
/// sentry was left without its destructor.
SETranslationScope* FindScope(DWORD64 stackPointer) noexcept {
    const auto isBelow = [&](const void* address) { return stackPointer < reinterpret_cast<DWORD64>(address); };
    auto scope = static_cast<SETranslationScope*>(::FlsGetValue(g_slot));
    while (scope != nullptr && (isBelow(scope->running) || !isBelow(scope->stackTop) || !IsAlive(*scope))) {
        scope = scope->previous;
    }
    return scope;
}

/// Faults that executing the instruction again raises again, unless their cause was removed. A guard page is not one of
/// them: it is an ordinary page after the first access.
bool IsFaultOfInstruction(DWORD code) noexcept {
    constexpr DWORD faults[] = {EXCEPTION_ACCESS_VIOLATION,
                                EXCEPTION_IN_PAGE_ERROR,
                                EXCEPTION_DATATYPE_MISALIGNMENT,
                                EXCEPTION_ILLEGAL_INSTRUCTION,
                                EXCEPTION_ARRAY_BOUNDS_EXCEEDED,
                                EXCEPTION_FLT_DENORMAL_OPERAND,
                                EXCEPTION_FLT_DIVIDE_BY_ZERO,
                                EXCEPTION_FLT_INEXACT_RESULT,
                                EXCEPTION_FLT_INVALID_OPERATION,
                                EXCEPTION_FLT_OVERFLOW,
                                EXCEPTION_FLT_STACK_CHECK,
                                EXCEPTION_FLT_UNDERFLOW,
                                EXCEPTION_INT_DIVIDE_BY_ZERO,
                                EXCEPTION_INT_OVERFLOW,
                                EXCEPTION_PRIV_INSTRUCTION,
                                0xC00002B4, // several floating-point faults, several floating-point traps
                                0xC00002B5};
    return std::find(std::begin(faults), std::end(faults), code) != std::end(faults);
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
    return !IsFaultOfInstruction(record.ExceptionCode) || (record.ExceptionFlags & EXCEPTION_NONCONTINUABLE) != 0 ||
           isOf(L"kernelbase", "RaiseException") || isOf(L"ntdll", "RtlRaiseException");
}

/// Whether an access violation would not be raised again, because the translator has changed the page.
bool IsAccessible(const EXCEPTION_RECORD& record) noexcept {
    constexpr ULONG_PTR write = 1, execute = 8;
    constexpr DWORD writable = PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    constexpr DWORD executable = PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    constexpr DWORD readable = PAGE_READONLY | PAGE_EXECUTE_READ | writable;
    MEMORY_BASIC_INFORMATION page{};
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2 ||
        ::VirtualQuery(reinterpret_cast<const void*>(record.ExceptionInformation[1]), &page, sizeof(page)) == 0) {
        return false;
    }
    const ULONG_PTR access = record.ExceptionInformation[0];
    const DWORD allowed = access == write ? writable : access == execute ? executable : readable;
    return page.State == MEM_COMMIT && (page.Protect & allowed) != 0 && (page.Protect & PAGE_GUARD) == 0;
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

/// The result of unwinding one frame from an address.
struct Caller {
    DWORD64 rip = 0;
    DWORD64 rsp = 0;
    const void* handler = nullptr;

    bool operator==(const Caller&) const = default;
};

Caller UnwindFrom(const CONTEXT& context, DWORD64 address) noexcept {
    CONTEXT walk = context;
    walk.ContextFlags &= ~ExtendedState;
    DWORD64 base = 0, frame = 0;
    void* data = nullptr;
    const auto function = ::RtlLookupFunctionEntry(address, &base, nullptr);
    if (function == nullptr) {
        return {};
    }
    const auto handler = ::RtlVirtualUnwind(UNW_FLAG_EHANDLER, base, address, function, &walk, &data, &frame, nullptr);
    return {walk.Rip, walk.Rsp, reinterpret_cast<const void*>(handler)};
}

/// Returns a return address that unwinds like the faulting instruction. The language's unwinder looks up the byte
/// before a return address, so it has to lie inside or at the end of the instruction. The system's unwinder decodes the
/// bytes at the address, and inside of an instruction they may look like the end of a function.
DWORD64 FindReturnAddress(const CONTEXT& context) noexcept {
    const Caller caller = UnwindFrom(context, context.Rip);
    constexpr DWORD64 longestInstruction = 15;
    for (DWORD64 i = 1; i <= longestInstruction; ++i) {
        if (UnwindFrom(context, context.Rip + i) == caller) {
            return context.Rip + i;
        }
    }
    return context.Rip + 1;
}

void Redirect(CONTEXT& context, SETranslationScope& scope) noexcept {
    const DWORD64 returnAddress = FindReturnAddress(context);
    context.Rsp -= sizeof(DWORD64);
    *reinterpret_cast<DWORD64*>(context.Rsp) = returnAddress;
    context.Rip = reinterpret_cast<DWORD64>(&ZelRaiseTranslated);
    context.Rcx = reinterpret_cast<DWORD64>(&scope);
    constexpr DWORD directionAlignmentAndTrap = 0x400 | 0x40000 | 0x100;
    context.EFlags &= ~directionAlignmentAndTrap;
}

/// Runs the translator on the stack of the fault, with the system's own records. Its exception is stored and thrown at
/// the place of the fault. If it returns, it has removed the cause or declined the exception.
LONG Translate(EXCEPTION_POINTERS& pointers, SETranslationScope& scope, DWORD lastError) {
    const int mark = 0;
    scope.running = &mark;
    try {
        ::SetLastError(lastError);
        ZelCallTranslator(&scope, pointers.ExceptionRecord->ExceptionCode, &pointers);
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
    // The instruction is executed again with all registers unchanged. If it faults again in the same way, the
    // translator has declined. A page that was made accessible may be protected again later: its next fault is another
    // one.
    scope.record = *pointers.ExceptionRecord;
    scope.context = *pointers.ContextRecord;
    scope.declined = !IsAccessible(*pointers.ExceptionRecord);
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG Dispatch(EXCEPTION_POINTERS& pointers, DWORD lastError) {
    if (IsForeign(pointers.ExceptionRecord->ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    SETranslationScope* const scope = FindScope(pointers.ContextRecord->Rsp);
    if (scope == nullptr || (std::exchange(scope->declined, false) && IsDeclined(pointers, *scope))) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    switch (HandlerSearch(pointers, *scope, lastError).Run()) {
    case Answer::None:
        return Translate(pointers, *scope, lastError);
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
    const LONG result = Dispatch(*pointers, lastError);
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
                        const void* sentry) noexcept {
    static const bool registered = Register();
    if (!registered) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    scope.translator = translator;
    scope.previous = static_cast<SETranslationScope*>(::FlsGetValue(g_slot));
    while (scope.previous != nullptr && !IsAlive(*scope.previous)) {
        scope.previous = scope.previous->previous;
    }
    scope.stackTop = sentry;
    scope.owner = *static_cast<const void* const*>(sentry);
    scope.handlerChain = GetThreadBlock().ExceptionList;
    return ::FlsSetValue(g_slot, &scope) != FALSE;
}

void LeaveSETranslation(SETranslationScope& scope) noexcept {
    ::FlsSetValue(g_slot, scope.previous);
}

} // namespace ZelWin32

/// Called when the frame of ZelCallTranslator is unwound, whatever the exception.
EXCEPTION_DISPOSITION ZelLeaveTranslator(PEXCEPTION_RECORD, void* frame, PCONTEXT, void*) noexcept {
    constexpr std::size_t place = 48; // of the scope in the frame
    (*reinterpret_cast<ZelWin32::SETranslationScope**>(static_cast<char*>(frame) + place))->running = nullptr;
    return ExceptionContinueSearch;
}

void ZelThrowTranslated(ZelWin32::SETranslationScope* scope) {
    std::rethrow_exception(std::exchange(scope->thrown, nullptr));
}
