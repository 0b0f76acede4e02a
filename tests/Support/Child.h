#pragma once

#include "PublicHeaders.h" // the build makes it

#include <gtest/gtest.h>

#include <process.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ZelTest {

inline std::wstring GetOwnPath() {
    std::wstring path(1000, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), 1000));
    return path;
}

/// The exit status of a child whose one test ran and passed: 0 also comes from a name that matches no test.
inline constexpr int ChildPassed = 42;

/// Runs one disabled test of this program in a process of its own, with what is set up once per process still to be
/// set up. True when it ran and passed.
inline bool RunInChild(const std::wstring& test) {
    const std::wstring filter = L"--gtest_filter=" + test;
    return ::_wspawnl(_P_WAIT, GetOwnPath().c_str(), L"tests", L"--gtest_also_run_disabled_tests", L"--gtest_brief=1",
                      filter.c_str(), L"--child", nullptr) == ChildPassed;
}

/// Counts its calls, and does what it is told to.
struct Callback final : ZelCore::CAsyncCallback {
    std::function<void(const ZelCore::IAsyncResult*)> action;
    std::atomic<int> calls{0};
    void Invoke(const ZelCore::IAsyncResult* result) override {
        const std::shared_ptr<void> counting(nullptr, [this](void*) { ++calls; });
        if (action) {
            action(result);
        }
    }
    /// Until so many calls have ended: before that the callback must not be destroyed.
    void Wait(int ended = 1) const {
        while (calls < ended) {
            ::SwitchToThread();
        }
    }
};

/// Runs an action in so many threads at once, each with its number, until all have ended.
template <class Action> void RunInThreads(int count, const Action& action) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&action, i] { action(i); });
    }
}

/// Whether the system is an emulation of Windows.
inline bool IsWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

} // namespace ZelTest
