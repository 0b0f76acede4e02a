#pragma once

#include "ZelCore/Threading/SpinWait.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace ZelCore {

/// A value that its first user computes, once per object, however many threads ask at the same time.
///
/// A computation that throws leaves the object as it was: the next user tries again.
template <class T> class CLazy {
public:
    using Factory = T (*)();

    explicit constexpr CLazy(Factory factory) noexcept : m_factory(factory) {}
    CLazy(const CLazy&) = delete;
    CLazy& operator=(const CLazy&) = delete;

    const T& GetValue() {
        if (!m_created.load(std::memory_order_acquire)) {
            const std::lock_guard<Threading::CSpinWait> lock(m_lock);
            if (!m_created.load(std::memory_order_relaxed)) {
                m_value.emplace(m_factory());
                m_created.store(true, std::memory_order_release);
            }
        }
        return *m_value;
    }

private:
    Factory m_factory;
    std::atomic<bool> m_created{false};
    Threading::CSpinWait m_lock;
    std::optional<T> m_value;
};

} // namespace ZelCore
