#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace ZelTest {

/// Makes a lambda with captures callable through a function pointer: one object of each type at a time.
template <class Lambda, class Signature = decltype(&Lambda::operator())> struct Trampoline;
template <class Lambda, class Result, class... Arguments>
struct Trampoline<Lambda, Result (Lambda::*)(Arguments...) const> {
    static inline std::optional<Lambda> s_lambda;
    static Result Call(Arguments... arguments) {
        return (*s_lambda)(arguments...);
    }
};

/// Replaces a function that a loaded module imports while the object lives.
class ImportHook {
public:
    /// Fails the running test if the module does not import the function.
    ImportHook(const char* function, void* replacement, const wchar_t* module = L"ZelCore.dll");
    /// Replaces an entry of any table of functions, for example of a COM object.
    ImportHook(void** slot, void* replacement);
    /// Uses a lambda as the replacement.
    template <class Lambda, class = Trampoline<Lambda>>
    ImportHook(const char* function, const Lambda& replacement)
        : ImportHook(function, reinterpret_cast<void*>(&Trampoline<Lambda>::Call)) {
        Trampoline<Lambda>::s_lambda.emplace(replacement);
    }
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
    std::uintptr_t failure;
    unsigned long lastError = 1450; ///< ERROR_NO_SYSTEM_RESOURCES

    /// Uses the function's usual failure value: in most cases 0.
    SystemCall(const char* call);
    SystemCall(const char* call, std::uintptr_t returned, unsigned long error = 1450)
        : name(call), failure(returned), lastError(error) {}
};

/// Makes the n-th of all calls by this thread of the hooked functions fail, and passes all others on.
class FailingCalls {
public:
    /// \param slots   entries of function tables, usually of COM objects
    /// \param failure the value that these return when they fail: E_FAIL
    explicit FailingCalls(const std::vector<SystemCall>& calls, const std::vector<void**>& slots = {},
                          const SystemCall& failure = {"a COM method", 0x80004005});
    /// Hooks one function, whose first call fails.
    explicit FailingCalls(const SystemCall& call) : FailingCalls(std::vector{call}) {
        FailOn(1);
    }
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;
    ~FailingCalls();

    /// Counts from 1 again. 0 passes all calls on and keeps the record of the failed one.
    void FailOn(int n);
    /// Returns the name of the failed call, or an empty string if none has failed.
    std::string GetFailed() const {
        return m_failed;
    }
    bool HasFailed() const {
        return *m_failed != '\0';
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
    const char* m_failed = "";
};

/// The same for allocations of the library and of the C++ runtime.
struct FailingAllocations : FailingCalls {
    FailingAllocations();
};

/// Returns the entries of a COM object's table that may fail: QueryInterface and those from `first` to before `last`.
std::vector<void**> GetMethods(void* object, std::size_t first, std::size_t last);

/// Runs `action(n)` for n = 1, 2, ... until it returns false because no call was left to fail.
void Sweep(const std::function<bool(int)>& action);

/// Runs `action` with its first, its second, ... call or allocation failing. Nothing else may make it throw. It may
/// throw only this class or, if allocations fail, std::bad_alloc. `after(n, e)` is called with the exception, if any,
/// when all calls pass again.
template <class Exception, class Failing, class Action, class After>
void Sweep(Failing& failing, Action action, After after) {
    Sweep([&](int n) {
        failing.FailOn(n);
        const auto end = [&](const Exception* e, bool thrown) {
            failing.FailOn(0);
            EXPECT_TRUE(failing.HasFailed() || !thrown) << "thrown without a failure";
            after(n, e);
            return failing.HasFailed();
        };
        try {
            action();
        } catch (const Exception& e) {
            return end(&e, true);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE((std::is_same_v<Failing, FailingAllocations>)) << "no allocation has failed";
            return end(nullptr, true);
        }
        return end(nullptr, false);
    });
}

} // namespace ZelTest
