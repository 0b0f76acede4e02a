#pragma once

// Private to CFileStream: state that has to outlive a stream while the system is still processing one of its
// operations.

#include "ZelWin32/Windows.h"

#include <atomic>
#include <utility>

namespace ZelCore::IO {

/// An intrusive reference-counting pointer. It neither allocates nor throws.
template <class T> class RefPtr {
public:
    RefPtr() noexcept = default;
    /// Takes over the initial reference of a new object.
    explicit RefPtr(T* adopted) noexcept : m_object(adopted) {}
    RefPtr(const RefPtr& other) noexcept : m_object(other.m_object) {
        if (m_object != nullptr) {
            m_object->AddRef();
        }
    }
    RefPtr(RefPtr&& other) noexcept : m_object(other.Detach()) {}
    RefPtr& operator=(RefPtr other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~RefPtr() {
        if (m_object != nullptr) {
            m_object->Release();
        }
    }

    T* Get() const noexcept {
        return m_object;
    }
    T* operator->() const noexcept {
        return m_object;
    }
    explicit operator bool() const noexcept {
        return m_object != nullptr;
    }
    T* Detach() noexcept {
        return std::exchange(m_object, nullptr);
    }

private:
    T* m_object = nullptr;
};

/// Counts the operations of one stream whose completion the system has not reported yet, and lets the stream wait for
/// them.
class COutstandingOperations {
public:
    /// A callback in progress; lives on the stack of the pool thread.
    struct Delivery {
        DWORD thread;
        Delivery* next;
    };

    void AddRef() noexcept {
        ++m_references;
    }
    void Release() noexcept {
        if (--m_references == 0) {
            delete this;
        }
    }

    void Started() noexcept;
    /// For an operation that the system refused to start.
    void NotStarted() noexcept;

    void BeginDelivery(Delivery& delivery) noexcept;
    void EndDelivery(const Delivery& delivery) noexcept;

    /// Whether the calling code runs inside the callback of one of the operations.
    bool IsDeliveringHere() noexcept;

    /// Waits until every operation has been delivered and its callback has returned. Must not be called inside a
    /// callback, because the system may deliver all completions on that one thread.
    void WaitUntilDelivered() noexcept;

    /// Waits for callbacks that run on other threads, but not for operations that are still in progress.
    void WaitForOtherDeliveries() noexcept;

private:
    int CountDeliveries(bool here) const noexcept;

    std::atomic<int> m_references{1};
    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_changed = CONDITION_VARIABLE_INIT;
    int m_count = 0;
    Delivery* m_deliveries = nullptr;
};

} // namespace ZelCore::IO
