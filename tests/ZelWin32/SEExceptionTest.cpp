#include "Support/Test.h"

using Sentry = CSEException::CSETranslatorSentry;

namespace {

const wchar_t* const Method = L"ZelWin32::CSEException::CSETranslatorSentry::SETranslator";

/// Leaves without a frame of their own: the stack is misaligned at the fault. The instructions are spelled out,
/// since compilers assume that neither happens.
int ReadFromMemory(const int* address) {
    int value = 0;
    __asm__ volatile("movl (%1), %0" : "=r"(value) : "c"(address));
    return value;
}
int DivideNumbers(int a, int b) {
    int remainder = 0;
    __asm__ volatile("idivl %2" : "+a"(a), "+d"(remainder) : "r"(b));
    return a;
}

// Called through pointers, so that no compiler concludes that they cannot throw.
int (*volatile ReadFrom)(const int*) = &ReadFromMemory;
int (*volatile Divide)(int, int) = &DivideNumbers;
const int* const Nowhere = reinterpret_cast<const int*>(16);

/// With another stack pointer for each depth.
int ReadDeeper(const int* address, int depth) {
    const volatile int kept = depth;
    return (depth == 0 ? ReadFrom(address) : ReadDeeper(address, depth - 1)) + kept - depth;
}

int g_declined = 0;

using Translated = std::pair<unsigned, int>; ///< the code, and by which translator

EXCEPTION_RECORD g_seen;

} // namespace

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
        ExpectThrow<CSEException>([&] { unwound += Divide(1, 0); }, {.code = 0xC0000094});
        ExpectThrow<CSEException>([] { ::RaiseException(0xE0001234, 0, 0, nullptr); }, {.code = 0xE0001234});
        for (const DWORD status : {1700ul, 1722ul, 1999ul}) {
            ExpectThrow<CRpcException>([&] { ::RaiseException(status, 0, 0, nullptr); },
                                       {.code = status, .method = Method, .line = 37});
        }
        ExpectThrow<CSEException>([] { ::RaiseException(1699, 0, 0, nullptr); }, {.code = 1699});
        ExpectThrow<CSEException>([] { ::RaiseException(2000, 0, 0, nullptr); }, {.code = 2000});
    }
    EXPECT_EQ(unwound, 3);
}

TEST(SEException, NestedSentriesUseTheInnermostTranslator) {
    const auto number = [](int translator) {
        try {
            ::RaiseException(0xE0000001, 0, 0, nullptr);
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
    }
    EXPECT_TRUE(number(1));
}

TEST(SEException, TranslatorsMayFailOrMendTheFault) {
    static unsigned char* s_page = nullptr;
    s_page = static_cast<unsigned char*>(::VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_NOACCESS));
    const Sentry sentry([](unsigned code, EXCEPTION_POINTERS* pointers) {
        if (code == 0xE0000099) {
            try {
                ::RaiseException(0xE0000001, 0, 0, nullptr);
            } catch (const Translated&) {
            }
            EXPECT_EQ(pointers->ExceptionRecord->ExceptionCode, code);
            throw Translated(code, 1);
        }
        DWORD before = 0;
        if (reinterpret_cast<void*>(pointers->ExceptionRecord->ExceptionInformation[1]) == s_page) {
            ::VirtualProtect(s_page, 4096, PAGE_READWRITE, &before);
            return; // the instruction succeeds when it is run again
        }
        throw Translated(code, 0);
    });
    const auto raise = [](unsigned code) { ::RaiseException(code, 0, 0, nullptr); };
    for (int i = 0; i < 3; ++i) { // again and again
        DWORD before = 0;
        ::VirtualProtect(s_page, 4096, PAGE_NOACCESS, &before);
        EXPECT_EQ(ReadDeeper(reinterpret_cast<const int*>(s_page), i), 0);
    }
    EXPECT_THROW(ReadFrom(Nowhere), Translated) << "the next fault is another one";
    EXPECT_THROW(raise(0xE0000099), Translated);
}

TEST(SEException, LeavesAloneOtherThreadsAndWhatOthersHandle) {
    const Sentry sentry(nullptr);
    static thread_local bool t_skip = false;
    void* handler = ::AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* pointers) -> LONG {
        g_seen = *pointers->ExceptionRecord;
        return t_skip ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
    });
    std::thread([] {
        t_skip = true;
        ::RaiseException(0xE0007777, 0, 0, nullptr);
    }).join();
    ::RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(g_seen.ExceptionCode, 0xE0007777u);
    EXPECT_TRUE(::IsBadReadPtr(Nowhere, 4)) << "the system guards its own access";
    EXPECT_EQ(::lstrlenW(reinterpret_cast<const wchar_t*>(16)), 0);
    ::OutputDebugStringW(L"not a failure");
    EXPECT_THROW(throw std::string("an exception of the language"), std::string);
    ExpectThrow<CSEException>([] { ReadFrom(Nowhere); }, {.code = 0xC0000005});
}

TEST(SEException, TheSearchGoesOnWhenTheTranslatorReturns) {
    g_declined = 0;
    // Stands for the handler that the search finds: it mends the fault or lets execution go on.
    void* handler = ::AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* pointers) -> LONG {
        g_seen = *pointers->ExceptionRecord;
        if (g_seen.ExceptionCode == 0xC0000005) {
            static const int valid = 4711;
            pointers->ContextRecord->Rcx = reinterpret_cast<DWORD64>(&valid);
        }
        return g_seen.ExceptionCode == 0xC000001D ? EXCEPTION_CONTINUE_SEARCH : EXCEPTION_CONTINUE_EXECUTION;
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
