#include "Support/Test.h"

#include "Support/Child.h"

#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/EventLog.h"
#include "ZelCore/Diagnostics/Stopwatch.h"
#include "ZelCore/Environment.h"
#include "ZelCore/Lazy.h"

#include <sddl.h>
#include <thread>

using namespace ZelCore::Diagnostics;

TEST(SpinWait, EightThreadsLoseNoUpdate) {
    Threading::CSpinWait lock;
    static std::atomic<int> s_sleeps;
    s_sleeps = 0;
    const ImportHook sleep("Sleep", [](DWORD milliseconds) -> void {
        ++s_sleeps;
        ::Sleep(milliseconds);
    });
    long counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 20'000; ++k) {
                const std::lock_guard<Threading::CSpinWait> guard(lock);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 160'000);
    lock.Enter();
    s_sleeps = 0;
    std::thread waiting([&] { lock.Enter(); });
    while (s_sleeps < 10) { // it yields, first without time, then a millisecond each
        ::Sleep(1);
    }
    lock.Exit(); // by another thread than the one that waits
    waiting.join();
    lock.Exit();
}

TEST(Lazy, ComputesOnceAndTriesAgainAfterAFailure) {
    static std::atomic<int> s_calls;
    s_calls = 0;
    CLazy<int> lazy([] {
        if (++s_calls == 1) {
            throw CFormatException(L"the first time", L"", nullptr, 0);
        }
        ::Sleep(20);
        return 42;
    });
    ExpectThrow<CFormatException>([&] { lazy.GetValue(); });
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { EXPECT_EQ(lazy.GetValue(), 42); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(s_calls, 2);
}

TEST(Stopwatch, AddsItsIntervals) {
    CStopwatch watch;
    watch.Stop();
    EXPECT_EQ(watch.GetElapsedTicks(), 0);
    watch.Start();
    ::Sleep(30);
    watch.Start(); // keeps the first start
    const std::int64_t running = watch.GetElapsedTicks();
    watch.Stop();
    const std::int64_t stopped = watch.GetElapsedTicks();
    EXPECT_GE(running * 1000 / CStopwatch::GetFrequency(), 29);
    EXPECT_GE(stopped, running);
    ::Sleep(5);
    EXPECT_EQ(watch.GetElapsedTicks(), stopped);
    watch.Start();
    ::Sleep(5);
    EXPECT_GT(watch.GetElapsedTicks(), stopped);
}

TEST(Stopwatch, DISABLED_WithoutACounterItTakesTheTime) {
    const ImportHook hook("QueryPerformanceFrequency", [](LARGE_INTEGER*) -> BOOL { return FALSE; });
    EXPECT_EQ(CStopwatch::GetFrequency(), 10'000'000);
    EXPECT_LT((CDateTime::UtcNow() - CDateTime(CStopwatch::GetTimestamp(), DateTimeKind::Utc)).Duration(),
              CTimeSpan(0, 0, 10));
}

TEST(Stopwatch, WithoutACounterItTakesTheTime) {
    EXPECT_EQ(RunInChild(GetOwnPath(), L"Stopwatch.DISABLED_WithoutACounterItTakesTheTime"), 0u);
}

TEST(EventLog, HandsEntriesToTheSystem) {
    static std::wstring s_entry;
    s_entry.clear();
    const ImportHook report("ReportEventW",
                            [](HANDLE, WORD type, WORD category, DWORD id, PSID sid, WORD count, DWORD size,
                               const wchar_t** texts, void* data) -> BOOL {
                                EXPECT_TRUE(::IsValidSid(sid) && size == 0 && data == nullptr);
                                s_entry = std::to_wstring(type) + L" " + std::to_wstring(category) + L" " +
                                          std::to_wstring(id);
                                for (WORD i = 0; i < count; ++i) {
                                    s_entry += std::wstring(L" ") + texts[i];
                                }
                                return TRUE;
                            });
    Balance sources;
    sources.Count<&::RegisterEventSourceW>("RegisterEventSourceW", 1)
        .Count<&::DeregisterEventSource>("DeregisterEventSource", -1);
    {
        const CEventLog log(L"ZelCore tests");
        log.WriteEntry({L"one", L"two"}, EventLogEntryType::Warning, 1000, 7);
        EXPECT_EQ(s_entry, L"2 7 1000 one two");
        log.WriteEntry({}, EventLogEntryType::FailureAudit, 0xFFFFFFFF, 0);
        EXPECT_EQ(s_entry, L"16 0 4294967295");
        ExpectThrow<CArgumentOutOfRangeException>(
            [&] { log.WriteEntry(std::vector<std::wstring>(65'536), EventLogEntryType::Error, 1, 1); },
            {.param = L"strings"});
        const wchar_t* const write = L"ZelCore::Diagnostics::CEventLog::impl::WriteEntry";
        FailingCalls calls({{"ReportEventW"}, {"OpenProcessToken"}, {"GetTokenInformation"}});
        for (int n = 1; n <= 4; ++n) {
            calls.FailOn(n);
            ExpectThrow<CWin32Exception>([&] { log.WriteEntry({}, EventLogEntryType::Error, 1, 1); },
                                         {.code = 1450, .method = n == 4 ? write : nullptr});
        }
    }
    EXPECT_EQ(sources.Get(), 0);
    const wchar_t* const constructor = L"ZelCore::Diagnostics::CEventLog::impl::impl";
    ExpectThrow<CArgumentNullException>([] { CEventLog(nullptr); },
                                        {.param = L"source", .method = constructor, .file = L"EventLog.cpp"});
    ExpectThrow<CArgumentException>([] { CEventLog(L""); },
                                    {.message = L"'Cannot be empty': parameter name: 'source'"});
    for (const std::uintptr_t failure : {std::uintptr_t{0}, ~std::uintptr_t{0}}) {
        FailingCalls calls({{"RegisterEventSourceW", failure, 1722}});
        calls.FailOn(1);
        ExpectThrow<CWin32Exception>([] { CEventLog(L"s", L"server"); }, {.code = 1722, .method = constructor});
    }
}

TEST(Environment, KnowsUserAndVariables) {
    EXPECT_FALSE(CEnvironment::GetUserNameW().empty());
    const std::vector<unsigned char> sid = CEnvironment::GetUserSid();
    EXPECT_EQ(::GetLengthSid(const_cast<unsigned char*>(sid.data())), sid.size());
    const std::wstring large(3000, L'v');
    ::SetEnvironmentVariableW(L"ZEL_LARGE", large.c_str());
    EXPECT_EQ(CEnvironment::ExpandEnvironmentVariables(L"<%ZEL_LARGE%%ZEL_NONE%>"), L"<" + large + L"%ZEL_NONE%>");
    EXPECT_EQ(CEnvironment::ExpandEnvironmentVariables(L""), L"");
    FailingCalls calls({{"ExpandEnvironmentStringsW"}, {"GetUserNameW"}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([] { CEnvironment::ExpandEnvironmentVariables(L"x"); }, {.code = 1450});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([] { CEnvironment::GetUserNameW(); }, {.code = 1450});
}
