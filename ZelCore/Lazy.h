#pragma once

#include "ZelCore/Threading/SpinWait.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace ZelCore {

/// A value that its first user computes, once per object, however many threads ask at the same time.
///
/// A computation that throws leaves the object as it was: the next user tries again. Objects may stand in static
/// storage as `constinit`, usable before any code of their module runs. Any thread, as long as the object lives.
template <class T> class CLazy {
public:
    /// What computes the value: a function, or a lambda that captures nothing.
    using Factory = T (*)();

    /// Computes nothing yet.
    /// \param factory not null; must not ask the object that it computes the value for, which would wait for ever
    explicit constexpr CLazy(Factory factory) noexcept : m_factory(factory) {}
    CLazy(const CLazy&) = delete;
    CLazy& operator=(const CLazy&) = delete;

    /// The value; the first call computes it. Valid as long as the object lives. What the factory throws passes
    /// through. Other threads wait meanwhile by CSpinWait, which is made for short work; later calls take no lock.
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
