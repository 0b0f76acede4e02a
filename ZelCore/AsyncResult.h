#pragma once

#include "ZelCore/Exception.h"
#include "ZelCore/IAsyncResult.h"

#include <atomic>
#include <memory>

// The type of a result is known where it is destroyed, and the order of its virtual operations is published:
// a virtual destructor has no place there.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace ZelCore {

class CAsyncCallback;

/// The implementation of IAsyncResult for those who write Begin and End methods.
///
/// The Begin method creates a result and starts the work. Whoever does the work calls SetAsCompleted once. The
/// End method calls EndInvoke, takes the outcome and destroys the result.
///
/// Life: completion is published before the waiter is woken, so an End method on another thread may return
/// while SetAsCompleted still runs. Keep the object alive until both have returned, with a reference count
/// that the working side shares, say. With a callback that calls the End method, SetAsCompleted touches
/// nothing after the callback.
///
/// Threads: SetAsCompleted, GetWaitHandle and IsCompleted may be called at the same time; no lock is taken.
class ZELCORE_API CAsyncResult : public IAsyncResult {
public:
    /// \param callback borrowed, may be null
    /// \param state    returned by GetAsyncState
    CAsyncResult(CAsyncCallback* callback, void* state) noexcept;
    CAsyncResult(const CAsyncResult&) = delete;
    CAsyncResult& operator=(const CAsyncResult&) = delete;

    /// Closes the wait handle and drops the recorded failure. See above for when that may be.
    ~CAsyncResult();

    void* GetAsyncState() const override;
    /// As IAsyncResult has it; the first call makes the event. Not to be called any more once EndInvoke has returned.
    void* GetWaitHandle() const override;
    /// Becomes true before the wait handle is signalled and before the callback is invoked.
    bool IsCompleted() const override;
    /// What SetAsCompleted was told; false before.
    bool CompletedSynchronously() const override;

    /// Records success, then signals the wait handle or else invokes the callback.
    /// A second completion throws CInvalidOperationException and changes nothing. What the callback throws passes
    /// through, and CWin32Exception when the event cannot be signalled: the operation is complete all the same.
    ///
    /// \param completedSynchronously true when the Begin method itself has done the work
    void SetAsCompleted(bool completedSynchronously);

    /// Records the failure, of which it keeps a clone, and completes in the same way. When there is no memory
    /// for the clone the operation completes all the same, and EndInvoke throws std::bad_alloc.
    void SetAsCompleted(bool completedSynchronously, const CException& error);

    /// For the End method: waits for completion without limit, closes the wait handle and throws the recorded
    /// failure as the type that it had. With a callback, before completion, it throws
    /// CInvalidOperationException at once; without, CWin32Exception when the system cannot wait. It does not destroy
    /// the object.
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

    /// Moves the value in. To be called before SetAsCompleted, which publishes it to the waiting thread.
    void SetResult(T result) {
        m_result = static_cast<T&&>(result);
    }

    /// The value, to be read after EndInvoke. Valid while the object lives.
    const T& GetResult() const noexcept {
        return m_result;
    }

private:
    T m_result{};
};

} // namespace ZelCore

#pragma GCC diagnostic pop
