#include "Support/Test.h"

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

using Sentry = CSEException::CSETranslatorSentry;

extern "C" {
EXCEPTION_DISPOSITION ZelTestLookOn(PEXCEPTION_RECORD, void*, PCONTEXT, void*);
EXCEPTION_DISPOSITION ZelTestHandle(PEXCEPTION_RECORD, void*, PCONTEXT, void*);
EXCEPTION_DISPOSITION ZelTestMend(PEXCEPTION_RECORD, void*, PCONTEXT, void*);
void ZelTestFinally(int, void*);
LONG ZelTestPass(EXCEPTION_POINTERS*, void*);

// Each calls the given function from a frame with another handler. Returns true if the frame handled an exception.
bool ZelTestPlain(void (*fault)());
bool ZelTestLooksOn(void (*fault)());
bool ZelTestHandles(void (*fault)());
bool ZelTestMends(void (*fault)());
bool ZelTestCleansUp(void (*fault)());
bool ZelTestPasses(void (*fault)());
bool ZelTestExcepts(void (*fault)());
bool ZelTestHandlesFive(void (*fault)());
void ZelTestLooksLikeAnEnd();
extern const char ZelTestHandlesFive_handled[];
EXCEPTION_DISPOSITION ZelTestHandleFive(PEXCEPTION_RECORD, void*, PCONTEXT, void*);
extern const char ZelTestHandles_handled[];
}

// clang-format off
#define ZEL_TEST_FRAME(name, handler, data)                                                                            \
    __asm__(".text\n.globl " #name "\n.def " #name "; .scl 2; .type 32; .endef\n.seh_proc " #name "\n" #name ":\n"      \
            "    subq $40, %rsp\n    .seh_stackalloc 40\n    .seh_endprologue\n" handler                               \
            #name "_begin:\n    call *%rcx\n    nop\n" #name "_end:\n    xorl %eax, %eax\n    addq $40, %rsp\n    ret\n" \
            ".globl " #name "_handled\n" #name "_handled:\n    movl $1, %eax\n    addq $40, %rsp\n    ret\n"            \
            data ".seh_endproc\n")
// clang-format on
#define ZEL_TEST_SCOPE(name, filter, target)                                                                           \
    ".seh_handlerdata\n.long 1\n.rva " #name "_begin, " #name "_end, " filter "\n" target "\n.text\n"
ZEL_TEST_FRAME(ZelTestPlain, "", "");
ZEL_TEST_FRAME(ZelTestLooksOn, ".seh_handler ZelTestLookOn, @except\n", "");
ZEL_TEST_FRAME(ZelTestHandles, ".seh_handler ZelTestHandle, @except\n", "");
ZEL_TEST_FRAME(ZelTestHandlesFive, ".seh_handler ZelTestHandleFive, @except\n", "");
__asm__(".text\n.globl ZelTestLooksLikeAnEnd\n.def ZelTestLooksLikeAnEnd; .scl 2; .type 32; .endef\n"
        ".seh_proc ZelTestLooksLikeAnEnd\nZelTestLooksLikeAnEnd:\n    pushq %rbx\n    .seh_pushreg %rbx\n"
        "    subq $32, %rsp\n    .seh_stackalloc 32\n    .seh_endprologue\n    xorl %eax, %eax\n"
        "    xorl %ebx, %ebx\n    movl 8(%rbx,%rax,8), %ebx\n    addq $32, %rsp\n    popq %rbx\n    ret\n"
        ".seh_endproc\n");
ZEL_TEST_FRAME(ZelTestMends, ".seh_handler ZelTestMend, @except\n", "");
ZEL_TEST_FRAME(ZelTestCleansUp, ".seh_handler __C_specific_handler, @unwind, @except\n",
               ZEL_TEST_SCOPE(ZelTestCleansUp, "ZelTestFinally", ".long 0"));
ZEL_TEST_FRAME(ZelTestPasses, ".seh_handler __C_specific_handler, @unwind, @except\n",
               ZEL_TEST_SCOPE(ZelTestPasses, "ZelTestPass", ".rva ZelTestPasses_handled"));
// A filter of 1 is a constant: every exception is handled.
ZEL_TEST_FRAME(ZelTestExcepts, ".seh_handler __C_specific_handler, @unwind, @except\n",
               ".seh_handlerdata\n.long 1\n.rva ZelTestExcepts_begin, ZelTestExcepts_end\n.long 1\n"
               ".rva ZelTestExcepts_handled\n.text\n");

namespace {

const wchar_t* const Method = L"ZelWin32::CSEException::CSETranslatorSentry::SETranslator";

/// Functions without a frame of their own, so that the stack is misaligned at the fault. The instructions are written
/// in assembler, because compilers assume that neither happens.
int ReadFromMemory(const int* address) {
    int value = 0;
    __asm__ volatile("movl (%1), %0" : "=r"(value) : "c"(address));
    return value;
}
int DivideNumbers(int a, int b) {
    int remainder = 0;
    __asm__ volatile("idivl %%ecx" : "+a"(a), "+d"(remainder) : "c"(b));
    return a;
}

// Called through pointers, so that compilers do not conclude that they cannot throw.
int (*volatile ReadFrom)(const int*) = &ReadFromMemory;
int (*volatile Divide)(int, int) = &DivideNumbers;
void (*volatile NoFunction)() = nullptr;
const int* const Nowhere = reinterpret_cast<const int*>(16);

void Raise(DWORD code) {
    ::RaiseException(code, 0, 0, nullptr);
}

/// Uses a different stack pointer for each depth.
int ReadDeeper(const int* address, int depth) {
    const volatile int kept = depth;
    return (depth == 0 ? ReadFrom(address) : ReadDeeper(address, depth - 1)) + kept - depth;
}

int g_declined = 0, g_looks = 0, g_cleanups = 0;
DWORD g_lastError = 0; ///< as the last handler saw it
void (*g_inFinally)() = nullptr;
EXCEPTION_RECORD g_seen;

using Translated = std::pair<unsigned, int>; ///< the code, and the number of the translator

void Return() {}

/// A handler that removes the cause of the faults below.
void Mend(const EXCEPTION_RECORD& record, CONTEXT& context) {
    static const int valid = 4711;
    if (context.Rip == 0) {
        context.Rip = reinterpret_cast<DWORD64>(&Return);
    } else if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION) {
        context.Rcx = reinterpret_cast<DWORD64>(&valid);
    } else if (record.ExceptionCode == EXCEPTION_INT_DIVIDE_BY_ZERO) {
        context.Rcx = 1;
    }
}

/// An entry in the list of handlers, in which Wine has its guards.
struct Entry {
    Entry* previous;
    PEXCEPTION_ROUTINE handler;
};

Entry*& GetEntries() {
    Entry** block = nullptr;
    __asm__("movq %%gs:0x30, %0" : "=r"(block));
    return *reinterpret_cast<Entry**>(block);
}

template <EXCEPTION_DISPOSITION (*Handler)(PEXCEPTION_RECORD, void*, PCONTEXT, void*)>
bool CallBelowEntry(void (*fault)()) {
    Entry entry = {GetEntries(), Handler};
    GetEntries() = &entry;
    fault();
    GetEntries() = entry.previous;
    return false;
}

EXCEPTION_DISPOSITION UnwindTo(const char* target, PEXCEPTION_RECORD record, void* frame, void* dispatcher) {
    constexpr DWORD unwinding = 0x2 | 0x4;
    if ((record->ExceptionFlags & unwinding) == 0) {
        const auto dispatch = static_cast<PDISPATCHER_CONTEXT>(dispatcher);
        ::RtlUnwindEx(frame, const_cast<char*>(target), record, nullptr, dispatch->ContextRecord,
                      dispatch->HistoryTable);
    }
    return ExceptionContinueSearch;
}

bool CallBelowSystemGuard(void (*fault)()) {
    static void (*s_fault)() = nullptr;
    s_fault = fault;
    // The system guards its own reading of the message but not the callback: no handler handles it.
    ::EnumSystemCodePagesW([](wchar_t*) -> BOOL { return s_fault(), FALSE; }, CP_INSTALLED);
    return false;
}

} // namespace

EXCEPTION_DISPOSITION ZelTestLookOn(PEXCEPTION_RECORD, void*, PCONTEXT, void*) {
    ++g_looks;
    g_lastError = ::GetLastError();
    return ExceptionContinueSearch;
}

EXCEPTION_DISPOSITION ZelTestHandle(PEXCEPTION_RECORD record, void* frame, PCONTEXT, void* dispatcher) {
    return UnwindTo(ZelTestHandles_handled, record, frame, dispatcher);
}

EXCEPTION_DISPOSITION ZelTestHandleFive(PEXCEPTION_RECORD record, void* frame, PCONTEXT, void* dispatcher) {
    return record->ExceptionCode == 0xE0000005 ? UnwindTo(ZelTestHandlesFive_handled, record, frame, dispatcher)
                                               : ExceptionContinueSearch;
}

EXCEPTION_DISPOSITION ZelTestMend(PEXCEPTION_RECORD record, void*, PCONTEXT context, void*) {
    Mend(*record, *context);
    return ExceptionContinueExecution;
}

void ZelTestFinally(int, void*) {
    ++g_cleanups;
    if (g_inFinally != nullptr) {
        g_inFinally();
    }
}

LONG ZelTestPass(EXCEPTION_POINTERS*, void*) {
    ++g_looks;
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(SEException, WhatAFrameDoesDecidesWhateverTheFault) {
    enum Outcome { Translates, Handled, Mended };
    const struct {
        const char* what;
        bool (*call)(void (*)());
        Outcome outcome;
        bool sees = false, cleansUp = false, onlyWine = false;
    } frames[] = {
        {"no handler", &ZelTestPlain, Translates},
        {"a handler that looks on", &ZelTestLooksOn, Translates, true},
        {"a handler that unwinds to its frame", &ZelTestHandles, Handled},
        {"a handler that mends", &ZelTestMends, Mended},
        {"__finally", &ZelTestCleansUp, Translates, false, true},
        {"__except with a filter that passes on", &ZelTestPasses, Translates, true},
        {"__except", &ZelTestExcepts, Handled},
        {"a callback of the system", &CallBelowSystemGuard, Translates},
        {"an entry that looks on", &CallBelowEntry<&ZelTestLookOn>, Translates, true, false, true},
        {"an entry that mends", &CallBelowEntry<&ZelTestMend>, Mended, false, false, true},
    };
    const struct {
        const char* what;
        DWORD code;
        void (*raise)();
    } faults[] = {
        {"an access violation", 0xC0000005, [] { ReadFrom(Nowhere); }},
        {"a division by zero", 0xC0000094, [] { Divide(1, 0); }},
        {"a call through null", 0xC0000005, [] { NoFunction(); }},
        {"a raised code", 0xE0001234, [] { Raise(0xE0001234); }},
        {"a raised code of the system", 0xC0000005, [] { Raise(0xC0000005); }},
        {"a raised RPC status", 1722, [] { Raise(1722); }},
    };
    Entry* const entries = GetEntries();
    for (const auto& frame : frames) {
        for (const auto& fault : faults) {
            if (frame.onlyWine && !IsWine()) {
                continue; // there is no such list
            }
            SCOPED_TRACE(std::string(frame.what) + ", " + fault.what);
            g_looks = g_cleanups = 0;
            unsigned long translated = 0;
            bool handled = false;
            {
                const Sentry sentry(nullptr);
                try {
                    handled = frame.call(fault.raise);
                } catch (const CSEException& e) {
                    translated = e.GetError();
                } catch (const CRpcException& e) {
                    translated = static_cast<unsigned long>(e.GetError());
                }
            }
            EXPECT_EQ(translated, frame.outcome == Translates ? fault.code : 0);
            EXPECT_EQ(handled, frame.outcome == Handled);
            EXPECT_EQ(g_looks > 0, frame.sees);
            EXPECT_EQ(g_cleanups, frame.cleansUp ? 1 : 0);
            EXPECT_EQ(std::uncaught_exceptions(), 0);
            EXPECT_EQ(GetEntries(), entries) << "the thread's list of handlers";
        }
    }
}

TEST(SEException, FaultsAndRaisedCodesArriveAsExceptions) {
    int unwound = 0;
    for (int round = 0; round < 3; ++round) { // also after the first time
        const Sentry sentry(nullptr);
        ExpectThrow<CSEException>(
            [&] {
                const std::shared_ptr<int> counter(&unwound, [](int* count) { ++*count; });
                ReadFrom(Nowhere);
            },
            {.code = 0xC0000005, .method = Method, .line = 41, .file = L"SEException.cpp"});
        for (const DWORD status : {1700ul, 1999ul}) {
            ExpectThrow<CRpcException>([&] { Raise(status); }, {.code = status, .method = Method, .line = 37});
        }
        ExpectThrow<CSEException>([] { Raise(1699); }, {.code = 1699});
        ExpectThrow<CSEException>([] { Raise(2000); }, {.code = 2000});
        ExpectThrow<CSEException>([] { ::RaiseException(0xE0000002, EXCEPTION_NONCONTINUABLE, 0, nullptr); },
                                  {.code = 0xE0000002});
    }
    EXPECT_EQ(unwound, 3);
}

TEST(SEException, TellsWhereTheFaultHappened) {
    const Sentry sentry(nullptr);
    const auto catchFault = [](auto&& fault) {
        std::unique_ptr<CException> kept;
        try {
            fault();
        } catch (const CSEException& e) {
            kept.reset(e.Clone());
        }
        return kept;
    };
    const auto read = catchFault([] { ReadFrom(Nowhere); });
    const auto& inProgram = dynamic_cast<const CSEException&>(*read);
    EXPECT_EQ(inProgram.GetModule(), GetOwnPath().substr(GetOwnPath().rfind(L'\\') + 1));
    const auto begin = reinterpret_cast<std::uintptr_t>(&ReadFromMemory);
    const auto address = reinterpret_cast<std::uintptr_t>(inProgram.GetAddress());
    EXPECT_TRUE(address >= begin && address < begin + 32);
    EXPECT_EQ(address - inProgram.GetOffset(), reinterpret_cast<std::uintptr_t>(::GetModuleHandleW(nullptr)));
    const auto call = catchFault([] { NoFunction(); });
    const auto& nowhere = dynamic_cast<const CSEException&>(*call);
    EXPECT_EQ(nowhere.GetAddress(), nullptr);
    EXPECT_EQ(std::wstring(nowhere.GetModule()), L"");
    EXPECT_EQ(nowhere.GetOffset(), 0u);
}

TEST(SEException, WhatTheSystemGuardsIsLeftToIt) {
    const SC_HANDLE manager = ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    ASSERT_NE(manager, nullptr);
    const auto open = [&] {
        ::SetLastError(0);
        EXPECT_EQ(::OpenServiceW(manager, nullptr, SERVICE_QUERY_STATUS), nullptr);
        return ::GetLastError();
    };
    const DWORD expected = open(); // the system's RPC client raises a status and catches it itself
    {
        const Sentry sentry(nullptr);
        EXPECT_EQ(open(), expected);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        EXPECT_TRUE(::IsBadReadPtr(Nowhere, 4));
        EXPECT_EQ(::lstrlenW(reinterpret_cast<const wchar_t*>(16)), 0);
        ::OutputDebugStringW(L"not a failure");
        EXPECT_THROW(throw std::string("an exception of the language"), std::string);
        ExpectThrow<CSEException>([] { ReadFrom(Nowhere); }, {.code = 0xC0000005});
    }
    ::CloseServiceHandle(manager);
}

TEST(SEException, HandlersAndTranslatorsSeeTheLastErrorOfTheFault) {
    static DWORD s_translators = 0;
    const Sentry sentry([](unsigned code, EXCEPTION_POINTERS*) {
        s_translators = ::GetLastError();
        throw Translated(code, 0);
    });
    EXPECT_THROW(ZelTestLooksOn([] {
                     ::SetLastError(1234);
                     ReadFrom(Nowhere);
                 }),
                 Translated);
    EXPECT_EQ(g_lastError, 1234u);
    EXPECT_EQ(s_translators, 1234u);
}

TEST(SEException, AFaultDuringAnUnwindingIsTranslated) {
    static int s_caught = 0;
    s_caught = g_cleanups = 0;
    g_inFinally = [] {
        try {
            ReadFrom(Nowhere);
        } catch (const CSEException&) {
            ++s_caught;
        }
    };
    {
        const Sentry sentry(nullptr);
        EXPECT_TRUE(ZelTestHandlesFive([] { ZelTestCleansUp([] { Raise(0xE0000005); }); }));
    }
    g_inFinally = nullptr;
    EXPECT_EQ(s_caught, 1);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
}

TEST(SEException, AHandlerMayUnwindPastSentriesAndTranslators) {
    const auto translate = [] { // in frames of its own, over what is left on the stack
        const auto read = [] {
            volatile char frame[512] = {};
            return ReadFrom(Nowhere) + frame[17];
        };
        try {
            static_cast<void>(read());
        } catch (const Translated& e) {
            return e.second;
        }
        return 0;
    };
    const Sentry outer([](unsigned code, EXCEPTION_POINTERS*) { throw Translated(code, 1); });
    EXPECT_TRUE(ZelTestExcepts([] { // whose destructor nobody runs
        const Sentry skipped([](unsigned, EXCEPTION_POINTERS*) { ++g_declined; });
        Raise(0xE0001234);
    }));
    EXPECT_EQ(translate(), 1);
    { // the translator's own exception is handled between fault and sentry
        const Sentry inner([](unsigned code, EXCEPTION_POINTERS*) {
            if (code == 0xE0000004) {
                Raise(0xE0000005);
            }
            throw Translated(code, 2);
        });
        EXPECT_TRUE(ZelTestHandlesFive([] { Raise(0xE0000004); }));
        EXPECT_EQ(translate(), 2);
    }
}

TEST(SEException, AnInstructionMayLookLikeTheEndOfAFunction) {
    const Sentry sentry(nullptr);
    // mov 8(%rbx,%rax,8),%ebx is 8B 5C C3 08: from its second byte on, a pop of the stack pointer and a return.
    ExpectThrow<CSEException>([] { ZelTestPlain(&ZelTestLooksLikeAnEnd); }, {.code = 0xC0000005});
}

TEST(SEException, NestedSentriesUseTheInnermostTranslator) {
    const auto number = [](int translator) {
        try {
            Raise(0xE0000001);
        } catch (const Translated& e) {
            return e == Translated(0xE0000001, translator);
        }
        return false;
    };
    const Sentry outer([](unsigned code, EXCEPTION_POINTERS*) { throw Translated(code, 1); });
    EXPECT_TRUE(number(1));
    {
        const Sentry inner([](unsigned code, EXCEPTION_POINTERS*) { throw Translated(code, 2); });
        EXPECT_TRUE(number(2));
        {
            const Sentry library(nullptr);
            ExpectThrow<CSEException>([] { ReadFrom(Nowhere); }, {.code = 0xC0000005});
        }
        EXPECT_TRUE(number(2));
        {
            // Its own fault is translated by the next outer sentry, whose exception leaves from the first fault.
            const Sentry faulty([](unsigned, EXCEPTION_POINTERS*) { ReadFrom(Nowhere); });
            for (int again = 0; again < 2; ++again) {
                try {
                    Raise(0xE0000003);
                    ADD_FAILURE();
                } catch (const Translated& e) {
                    EXPECT_EQ(e, Translated(0xC0000005, 2));
                }
            }
        }
    }
    EXPECT_TRUE(number(1));
}

void RunTwoFibers() {
    struct Fibers {
        void* main = ::ConvertThreadToFiber(nullptr);
        void* other = nullptr;
        bool translated = false;
    } fibers;
    const auto read = [](bool& translated) {
        try {
            ReadFrom(Nowhere);
        } catch (const CSEException&) {
            translated = true;
        }
    };
    fibers.other = ::CreateFiber(
        0,
        [](void* context) {
            auto& own = *static_cast<Fibers*>(context);
            {
                const Sentry sentry([](unsigned code, EXCEPTION_POINTERS*) { throw Translated(code, 2); });
                ::SwitchToFiber(own.main);
                try {
                    ReadFrom(Nowhere);
                } catch (const Translated& e) {
                    own.translated = e.second == 2;
                }
                ::SwitchToFiber(own.main);
            }
            ::SwitchToFiber(own.main);
        },
        &fibers);
    bool translated = false;
    {
        const Sentry sentry(nullptr);
        ::SwitchToFiber(fibers.other); // there is a sentry now, but in another fiber
        read(translated);
        EXPECT_TRUE(translated);
        ::SwitchToFiber(fibers.other);
        EXPECT_TRUE(fibers.translated);
    }
    ::SwitchToFiber(fibers.other); // ends the last one
    {
        const Sentry sentry(nullptr);
        read(translated = false);
        EXPECT_TRUE(translated);
    }
    ::DeleteFiber(fibers.other);
    ::ConvertFiberToThread();
}

TEST(SEException, AFiberHasSentriesOfItsOwn) {
    std::thread(&RunTwoFibers).join(); // the C runtime's own translator belongs to the thread
}

TEST(SEException, TranslatorsMayMendTheFaultWithAllRegistersAsTheyWere) {
    static unsigned char* s_page = nullptr;
    s_page = static_cast<unsigned char*>(::VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_NOACCESS));
    const Sentry sentry([](unsigned code, EXCEPTION_POINTERS* pointers) {
        DWORD before = 0;
        if (reinterpret_cast<void*>(pointers->ExceptionRecord->ExceptionInformation[1]) == s_page) {
            ::VirtualProtect(s_page, 4096, PAGE_READWRITE, &before);
            return; // the instruction succeeds when it is executed again
        }
        throw Translated(code, 0);
    });
    const auto protect = [] {
        DWORD before = 0;
        ::VirtualProtect(s_page, 4096, PAGE_NOACCESS, &before);
    };
    for (int i = 0; i < 3; ++i) { // again and again, also with the same registers
        protect();
        EXPECT_EQ(ReadFrom(reinterpret_cast<const int*>(s_page)), 0);
        protect();
        EXPECT_EQ(ReadDeeper(reinterpret_cast<const int*>(s_page), i), 0);
    }
    if (__builtin_cpu_supports("avx")) {
        protect();
        alignas(32) std::uint64_t lanes[4] = {1, 2, 3, 4}, after[4] = {};
        __asm__ volatile("vmovdqa (%0), %%ymm7\n\t"
                         "movl (%1), %%eax\n\t" // faults, and its cause is removed
                         "vmovdqa %%ymm7, (%2)\n\t"
                         "vzeroupper"
                         :
                         : "r"(lanes), "r"(s_page), "r"(after)
                         : "rax", "memory", "xmm7");
        EXPECT_TRUE(std::equal(std::begin(lanes), std::end(lanes), after)) << "the upper halves";
    }
    EXPECT_THROW(ReadFrom(Nowhere), Translated) << "the next fault is another one";
    ::VirtualFree(s_page, 0, MEM_RELEASE);
}

TEST(SEException, HandlersThatWereThereFirstAreAskedFirst) {
    EXPECT_TRUE(RunInChild(L"SEException.DISABLED_MendedByAnOlderHandler"));
}

TEST(SEException, DISABLED_MendedByAnOlderHandler) {
    static unsigned char* s_page = nullptr;
    ::AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* pointers) -> LONG {
        DWORD before = 0;
        return reinterpret_cast<void*>(pointers->ExceptionRecord->ExceptionInformation[1]) == s_page &&
                       ::VirtualProtect(s_page, 4096, PAGE_READWRITE, &before)
                   ? EXCEPTION_CONTINUE_EXECUTION
                   : EXCEPTION_CONTINUE_SEARCH;
    });
    s_page = static_cast<unsigned char*>(::VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_NOACCESS));
    const Sentry sentry(nullptr); // the first of this process
    EXPECT_EQ(ReadFrom(reinterpret_cast<const int*>(s_page)), 0);
}

TEST(SEException, LeavesOtherThreadsAlone) {
    const Sentry sentry(nullptr);
    static thread_local bool t_skip = false;
    void* handler = ::AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* pointers) -> LONG {
        g_seen = *pointers->ExceptionRecord;
        return t_skip ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
    });
    std::thread([] {
        t_skip = true;
        Raise(0xE0007777);
    }).join();
    ::RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(g_seen.ExceptionCode, 0xE0007777u);
}

TEST(SEException, TheSearchGoesOnWhenTheTranslatorReturns) {
    g_declined = 0;
    { const Sentry first(nullptr); } // the first of the process: later handlers act for those that the search finds
    void* handler = ::AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* pointers) -> LONG {
        g_seen = *pointers->ExceptionRecord;
        Mend(g_seen, *pointers->ContextRecord);
        return EXCEPTION_CONTINUE_EXECUTION;
    });
    {
        const Sentry sentry([](unsigned, EXCEPTION_POINTERS*) { ++g_declined; });
        EXPECT_EQ(ReadFrom(Nowhere), 4711);
        const ULONG_PTR argument = 99;
        ::RaiseException(0xE0005555, 0, 1, &argument);
        EXPECT_EQ(g_seen.ExceptionInformation[0], 99u);
        EXPECT_EQ(g_seen.ExceptionCode, 0xE0005555u);
    }
    ::RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(g_declined, 2);
}

TEST(SEException, PutsBackTheTranslatorOfTheRuntime) {
    using Set = Sentry::Translator(__cdecl*)(Sentry::Translator);
    const auto set = reinterpret_cast<Set>(reinterpret_cast<void*>(::GetProcAddress(
        ::GetModuleHandleW(L"msvcrt"), "?_set_se_translator@@YAP6AXIPEAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z")));
    ASSERT_NE(set, nullptr);
    const auto mine = [](unsigned, EXCEPTION_POINTERS*) {};
    {
        const Sentry sentry(mine);
        EXPECT_EQ(set(mine), mine);
    }
    EXPECT_EQ(set(mine), nullptr) << "there was none before";
    { const Sentry sentry(nullptr); }
    EXPECT_EQ(set(nullptr), mine);
}
