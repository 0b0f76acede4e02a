#pragma once

#include "ZelCore/Exception.h"
#include "ZelCore/IAsyncResult.h"

#include <atomic>
#include <memory>

// A result is always destroyed through its own type, and the order of its virtual functions is published. It must
// therefore not have a virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore {

class CAsyncCallback;

/// The implementation of IAsyncResult, for authors of Begin and End methods.
///
/// The Begin method creates a result and starts the work. The code that does the work calls SetAsCompleted once. The
/// End method calls EndInvoke, takes the outcome and destroys the result.
///
/// Lifetime: completion is published before the waiting thread is woken, so an End method on another thread may return
/// while SetAsCompleted is still running. Keep the object alive until both have returned, for example with a reference
/// count shared with the code that does the work. If a callback calls the End method, SetAsCompleted does not access
/// the object after the callback.
///
/// Threads: SetAsCompleted, GetWaitHandle and IsCompleted may be called concurrently. They take no lock.
class ZELCORE_API CAsyncResult : public IAsyncResult {
public:
    /// \param callback borrowed, may be null
    /// \param state    returned by GetAsyncState
    CAsyncResult(CAsyncCallback* callback, void* state) noexcept;
    CAsyncResult(const CAsyncResult&) = delete;
    CAsyncResult& operator=(const CAsyncResult&) = delete;

    /// Closes the wait handle and releases the recorded failure. See above for when it may be called.
    ~CAsyncResult();

    void* GetAsyncState() const override;
    /// See IAsyncResult. The first call creates the event. Must not be called after EndInvoke has returned.
    void* GetWaitHandle() const override;
    /// Becomes true before the wait handle is signalled and before the callback is invoked.
    bool IsCompleted() const override;
    /// Returns the argument of SetAsCompleted, or false before that.
    bool CompletedSynchronously() const override;

    /// Records success, then signals the wait handle or, if there is a callback, invokes it. A second completion throws
    /// CInvalidOperationException and changes nothing. Exceptions of the callback pass through; CWin32Exception is
    /// thrown if the event cannot be signalled. In both cases the operation is complete nevertheless.
    ///
    /// \param completedSynchronously true if the Begin method itself did the work
    void SetAsCompleted(bool completedSynchronously);

    /// Records a clone of the failure and completes in the same way. If there is no memory for the clone, the operation
    /// completes nevertheless, and EndInvoke throws std::bad_alloc.
    void SetAsCompleted(bool completedSynchronously, const CException& error);

    /// For the End method. Waits for completion without a time limit, closes the wait handle, and throws the recorded
    /// failure as its original type. With a callback and before completion it throws CInvalidOperationException at
    /// once. Without a callback it throws CWin32Exception if the system call to wait fails. It does not destroy the
    /// object.
    void EndInvoke();

private:
    void Complete(bool completedSynchronously, std::unique_ptr<CException> failure, bool failureLost);

    CAsyncCallback* m_callback;
    void* m_state;
    std::atomic<int> m_completion{0};
    mutable std::atomic<void*> m_waitHandle{nullptr};
    mutable std::atomic<int> m_signalled{0};
    CException* m_failure = nullptr;
    bool m_failureLost = false;
    std::atomic<int> m_claimed{0};
};

/// A result that carries a value of the operation. The value is T() until it is set.
template <class T> class CAsyncResultT : public CAsyncResult {
public:
    using CAsyncResult::CAsyncResult;

    /// Moves the value in. Must be called before SetAsCompleted, which publishes it to the waiting thread.
    void SetResult(T result) {
        m_result = static_cast<T&&>(result);
    }

    /// Returns the value; call it after EndInvoke. Valid while the object lives.
    const T& GetResult() const noexcept {
        return m_result;
    }

private:
    T m_result{};
};

} // namespace ZelCore

#pragma GCC diagnostic pop
