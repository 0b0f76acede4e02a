#pragma once

#include "Support/ImportHook.h"

#include <windows.h>

#include <atomic>
#include <deque>
#include <tuple>
#include <type_traits>

namespace ZelTest {

/// Counts successful calls of the library that create a resource, minus those that release one.
class Balance {
public:
    /// \param step 1 for a call that creates a resource, -1 for one that releases it
    template <auto Function> Balance& Count(const char* name, int step) {
        Hook<Function>(Function, name, step);
        return *this;
    }
    int Get() const {
        return m_open;
    }
    /// The same, after waiting for releases by other threads.
    int GetSettled() const {
        for (int i = 0; i < 200 && m_open != 0; ++i) {
            ::Sleep(5);
        }
        return m_open;
    }
    /// The number of resources created: a balance of 0 without any proves nothing.
    int GetMade() const {
        return m_made;
    }

private:
    template <auto Function, class Result, class... Arguments>
    void Hook(Result (*)(Arguments...), const char* name, int step) {
        m_hooks.emplace_back(name, [this, step](Arguments... arguments) -> Result {
            if constexpr (std::is_void_v<Result>) {
                const bool counts = std::get<0>(std::tuple(arguments...)) != nullptr;
                Function(arguments...);
                Add(counts ? step : 0);
            } else {
                const Result result = Function(arguments...);
                Add(HasSucceeded(result) ? step : 0);
                return result;
            }
        });
    }
    static bool HasSucceeded(int result) { // BOOL
        return result != 0;
    }
    static bool HasSucceeded(long result) { // HRESULT and RPC_STATUS
        return result == 0;
    }
    static bool HasSucceeded(const void* result) { // handles and blocks
        return result != nullptr && result != reinterpret_cast<const void*>(-1);
    }
    void Add(int step) {
        m_open += step;
        m_made += step > 0 ? step : 0;
    }

    std::atomic<int> m_open{0};
    std::atomic<int> m_made{0};
    std::deque<ImportHook> m_hooks;
};

/// Files, events and other handles that the library closes with CloseHandle.
class HandleBalance : public Balance {
public:
    HandleBalance() {
        Count<&::CreateFileW>("CreateFileW", 1).Count<&::CreateEventW>("CreateEventW", 1);
        Count<&::CreateFileMappingW>("CreateFileMappingW", 1).Count<&::OpenFileMappingW>("OpenFileMappingW", 1);
        Count<&::CloseHandle>("CloseHandle", -1);
    }
};

} // namespace ZelTest
