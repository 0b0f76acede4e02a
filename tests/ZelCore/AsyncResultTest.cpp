#include "Support/Test.h"

TEST(AsyncResult, CompletesOnceAndTheFirstOutcomeStays) {
    int state = 0;
    CAsyncResultT<int> result(nullptr, &state);
    EXPECT_EQ(result.GetAsyncState(), &state);
    EXPECT_FALSE(result.IsCompleted());
    result.SetResult(42);
    result.SetAsCompleted(true);
    EXPECT_TRUE(result.CompletedSynchronously());
    const Failure twice{.message = L"Async result can only be set once",
                        .method = L"ZelCore::CAsyncResult::SetAsCompleted"};
    ExpectInvalid(twice, [&] { result.SetAsCompleted(false); });
    ExpectInvalid(twice, [&] { result.SetAsCompleted(false, CArgumentException(L"p", nullptr, nullptr, nullptr, 0)); });
    EXPECT_TRUE(result.CompletedSynchronously());
    EXPECT_EQ(::WaitForSingleObject(result.GetWaitHandle(), 0), WAIT_OBJECT_0) << "created after completion";
    result.EndInvoke();
    EXPECT_EQ(result.GetResult(), 42);
}

TEST(AsyncResult, TellsByCallbackOrByHandleButNotByBoth) {
    Callback callback;
    CAsyncResult result(&callback, nullptr);
    const Failure exclusive{.contains = L"Wait handle cannot be used for async operation completion notification",
                            .method = L"CAsyncResult::GetWaitHandle"};
    ExpectInvalid(exclusive, [&] { result.GetWaitHandle(); });
    ExpectInvalid(exclusive, [&] { result.EndInvoke(); });
    result.SetAsCompleted(false, CArgumentOutOfRangeException(L"p", L"8", nullptr, L"N::M", nullptr, 3));
    EXPECT_EQ(callback.calls, 1);
    EXPECT_TRUE(result.IsCompleted());
    EXPECT_FALSE(result.CompletedSynchronously());
    ExpectRange(L"p", [&] { result.EndInvoke(); }, {.method = L"N::M", .line = 3});
}

TEST(AsyncResult, ManyThreadsAskForOneEventWhileItCompletes) {
    const HandleBalance handles;
    for (int round = 0; round < 300; ++round) {
        CAsyncResult result(nullptr, nullptr);
        std::array<void*, 4> events{};
        RunInThreads(5, [&](int i) {
            if (i == 4) {
                result.SetAsCompleted(false);
            } else {
                events.at(static_cast<std::size_t>(i)) = result.GetWaitHandle();
            }
        });
        for (void* event : events) {
            ASSERT_EQ(event, events[0]);
        }
        ASSERT_EQ(::WaitForSingleObject(events[0], 0), WAIT_OBJECT_0);
        result.EndInvoke();
    }
    EXPECT_EQ(handles.Get(), 0);
    EXPECT_GE(handles.GetMade(), 300);
}

TEST(AsyncResult, ReportsWhatTheSystemRefuses) {
    FailingCalls calls({{"CreateEventW"}, {"SetEvent"}, {"WaitForSingleObject", WAIT_FAILED}});
    CAsyncResult result(nullptr, nullptr);
    calls.FailOn(1);
    ExpectError(0x800705AA, [&] { result.GetWaitHandle(); },
                {.contains = L"ATL originated: ", .method = L"", .line = 0});
    calls.FailOn(2);
    ExpectError(1450, [&] { result.EndInvoke(); });
    calls.FailOn(1);
    ExpectError(1450, [&] { result.SetAsCompleted(false); });
    EXPECT_TRUE(result.IsCompleted());
    CAsyncResult poor(nullptr, nullptr); // an exception without memory
    FailingAllocations allocations;
    const CArgumentException error(L"p", nullptr, L"a method name that does not fit into a small string", nullptr, 0);
    allocations.FailOn(1);
    poor.SetAsCompleted(false, error);
    allocations.FailOn(0);
    EXPECT_TRUE(poor.IsCompleted());
    EXPECT_THROW(poor.EndInvoke(), std::bad_alloc);
}
