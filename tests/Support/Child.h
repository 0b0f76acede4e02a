#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

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
