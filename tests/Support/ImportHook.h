#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace ZelTest {

/// Replaces a function that a loaded module imports, for as long as the object lives.
class ImportHook {
public:
    /// Fails the running test when the module does not import the function.
    ImportHook(const char* function, void* replacement, const wchar_t* module = L"ZelCore.dll");
    /// Replaces an entry of any table of functions, a COM object's say.
    ImportHook(void** slot, void* replacement);
    /// The replacement is a lambda without captures.
    template <class Lambda>
    requires requires(Lambda lambda) {
        +lambda;
    }
    ImportHook(const char* function, Lambda replacement)
        : ImportHook(function, reinterpret_cast<void*>(+replacement)) {}
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;
    ~ImportHook();

    template <class Function> Function* GetOriginal() const {
        return reinterpret_cast<Function*>(m_original);
    }

private:
    void** m_slot = nullptr;
    void* m_original = nullptr;
};

/// How one system call fails.
struct SystemCall {
    const char* name;
    std::uintptr_t failure = 0;     ///< what it returns
    unsigned long lastError = 1450; ///< ERROR_NO_SYSTEM_RESOURCES
};

/// Lets the n-th of all calls that this thread makes through the hooked functions fail, and the others pass.
class FailingCalls {
public:
    /// \param methods entries in the tables of COM objects, which fail with E_FAIL
    explicit FailingCalls(const std::vector<SystemCall>& calls, const std::vector<void**>& methods = {});
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;
    ~FailingCalls();

    /// Counts from 1 again; 0 lets all calls pass.
    void FailOn(int n);
    /// The name of the call that has failed, null when none has.
    const char* GetFailed() const {
        return m_failed;
    }

private:
    struct Thunk {
        FailingCalls* owner;
        SystemCall call;
    };
    static bool ShouldFail(Thunk* thunk);
    template <class Place> void Hook(const SystemCall& call, Place place);

    std::deque<Thunk> m_thunks;
    std::deque<ImportHook> m_hooks;
    unsigned char* m_code = nullptr;
    unsigned long m_thread;
    int m_count = 0;
    int m_failOn = 0;
    const char* m_failed = nullptr;
};

/// Lets the n-th allocation of this thread fail, in the library and in the C++ runtime.
class FailingAllocations {
public:
    FailingAllocations();
    ~FailingAllocations();
    void FailOn(int n);
    bool HasFailed() const;

private:
    ImportHook m_runtime;
    ImportHook m_library;
};

/// The entries of a COM object's table that may fail: QueryInterface and those from `first` up to, not with, `last`.
std::vector<void**> GetMethods(void* object, std::size_t first, std::size_t last);

/// Runs `action(n)` for n = 1, 2, ... until it returns false: until no call was left to fail.
void Sweep(const std::function<bool(int)>& action);

} // namespace ZelTest
