#include "Support/Test.h"

#include <sddl.h>

TEST(SpinWait, EightThreadsLoseNoUpdate) {
    Threading::CSpinWait lock;
    std::atomic<int> sleeps{0};
    const ImportHook sleep("Sleep", [&](DWORD milliseconds) -> void {
        ++sleeps;
        ::Sleep(milliseconds);
    });
    long counter = 0;
    RunInThreads(8, [&](int) {
        for (int k = 0; k < 20'000; ++k) {
            const std::lock_guard<Threading::CSpinWait> guard(lock);
            ++counter;
        }
    });
    EXPECT_EQ(counter, 160'000);
    lock.Enter();
    sleeps = 0;
    {
        const std::jthread waiting([&] { lock.Enter(); });
        while (sleeps < 10) { // it yields first, then it sleeps a millisecond each time
            ::Sleep(1);
        }
        lock.Exit(); // not by the waiting thread
    }
    lock.Exit();
}

TEST(Lazy, ComputesOnceAndTriesAgainAfterAFailure) {
    static std::atomic<int> s_calls = 0;
    CLazy<int> lazy([] {
        if (++s_calls == 1) {
            throw CFormatException(L"the first time", L"", nullptr, 0);
        }
        ::Sleep(20);
        return 42;
    });
    ExpectThrow<CFormatException>([&] { lazy.GetValue(); });
    RunInThreads(8, [&](int) { EXPECT_EQ(lazy.GetValue(), 42); });
    EXPECT_EQ(s_calls, 2);
}

TEST(Stopwatch, DISABLED_WithoutACounterItTakesTheTime) {
    const ImportHook hook("QueryPerformanceFrequency", [](LARGE_INTEGER*) -> BOOL { return FALSE; });
    EXPECT_EQ(CStopwatch::GetFrequency(), 10'000'000);
    EXPECT_LT((CDateTime::UtcNow() - CDateTime(CStopwatch::GetTimestamp(), DateTimeKind::Utc)).Duration(),
              CTimeSpan(0, 0, 10));
}

TEST(Stopwatch, AddsItsIntervals) {
    CStopwatch watch;
    watch.Stop();
    EXPECT_EQ(watch.GetElapsedTicks(), 0);
    watch.Start();
    ::Sleep(30);
    watch.Start(); // the first start counts
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
    EXPECT_TRUE(RunInChild(L"Stopwatch.DISABLED_WithoutACounterItTakesTheTime"));
}

TEST(EventLog, HandsEntriesToTheSystem) {
    std::wstring entry;
    const ImportHook report("ReportEventW",
                            [&](HANDLE, WORD type, WORD category, DWORD id, PSID sid, WORD count, DWORD size,
                                const wchar_t** texts, void* data) -> BOOL {
                                EXPECT_TRUE(::IsValidSid(sid) && size == 0 && data == nullptr);
                                entry = std::to_wstring(type) + L" " + std::to_wstring(category) + L" " +
                                        std::to_wstring(id);
                                for (WORD i = 0; i < count; ++i) {
                                    entry += std::wstring(L" ") + texts[i];
                                }
                                return TRUE;
                            });
    Balance sources;
    sources.Count<&::RegisterEventSourceW>("RegisterEventSourceW", 1)
        .Count<&::DeregisterEventSource>("DeregisterEventSource", -1);
    {
        const CEventLog log(L"ZelCore tests");
        log.WriteEntry({L"one", L"two"}, EventLogEntryType::Warning, 1000, 7);
        EXPECT_EQ(entry, L"2 7 1000 one two");
        log.WriteEntry({}, EventLogEntryType::FailureAudit, 0xFFFFFFFF, 0);
        EXPECT_EQ(entry, L"16 0 4294967295");
        ExpectRange(L"strings",
                    [&] { log.WriteEntry(std::vector<std::wstring>(65'536), EventLogEntryType::Error, 1, 1); });
        FailingCalls calls({"ReportEventW", "OpenProcessToken", "GetTokenInformation"});
        for (int n = 1; n <= 4; ++n) {
            calls.FailOn(n);
            ExpectError(1450, [&] { log.WriteEntry({}, EventLogEntryType::Error, 1, 1); },
                        {.method = n == 4 ? L"CEventLog::impl::WriteEntry" : nullptr});
        }
    }
    EXPECT_EQ(sources.Get(), 0);
    const wchar_t* const constructor = L"CEventLog::impl::impl";
    ExpectNull(L"source", [] { CEventLog(nullptr); }, {.method = constructor, .file = L"EventLog.cpp"});
    ExpectMessage<CArgumentException>(L"'Cannot be empty': parameter name: 'source'", [] { CEventLog(L""); });
    for (const std::uintptr_t failure : {std::uintptr_t{0}, ~std::uintptr_t{0}}) {
        ExpectFailing({"RegisterEventSourceW", failure, 1722}, [] { CEventLog(L"s", L"server"); },
                      {.method = constructor});
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
    const auto expand = [](const std::wstring& text) { return CEnvironment::ExpandEnvironmentVariables(text.c_str()); };
    const std::wstring longest(32'765, L'x'), twice = longest + longest; // which some systems truncate
    EXPECT_EQ(expand(longest), longest);
    ExpectError(ERROR_BUFFER_OVERFLOW, [&] { expand(longest + L"x"); });
    ExpectError(ERROR_BUFFER_OVERFLOW, [&] { expand(twice); });
    ExpectFailing("ExpandEnvironmentStringsW", [] { CEnvironment::ExpandEnvironmentVariables(L"x"); });
    ExpectFailing("GetUserNameW", [] { CEnvironment::GetUserNameW(); });
}
