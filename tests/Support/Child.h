#pragma once

#include "ZelCore/AsyncCallback.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ZelTest {

/// Runs one disabled test of this program in a process of its own, with what is set up once per process still to be
/// set up. Returns its exit status, 0 when it passed.
inline DWORD RunInChild(const std::wstring& program, const std::wstring& test) {
    std::wstring command =
        L"\"" + program + L"\" --gtest_also_run_disabled_tests --gtest_brief=1 --gtest_filter=" + test;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child{};
    DWORD status = ~DWORD{0};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child)) {
        ADD_FAILURE() << "cannot start the child: " << ::GetLastError();
        return status;
    }
    ::WaitForSingleObject(child.hProcess, INFINITE);
    ::GetExitCodeProcess(child.hProcess, &status);
    ::CloseHandle(child.hThread);
    ::CloseHandle(child.hProcess);
    return status;
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

inline std::wstring GetOwnPath() {
    std::wstring path(1000, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), 1000));
    return path;
}

/// Whether the system is an emulation of Windows.
inline bool IsWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

} // namespace ZelTest
