#pragma once

#include "ZelCore/Threading/SpinWait.h"

#include <atomic>
#include <mutex>
#include <optional>

namespace ZelCore {

/// A value that is computed on first use, once per object, also if several threads request it at the same time.
///
/// If the computation throws, the object is unchanged and the next call tries again. Objects may be static and
/// `constinit`, and are then usable before any code of their module runs. May be used from any thread while the object
/// lives.
template <class T> class CLazy {
public:
    /// The function that computes the value; may be a lambda without captures.
    using Factory = T (*)();

    /// Does not compute the value yet.
    /// \param factory not null; must not request the value of the same object, which would wait forever
    explicit constexpr CLazy(Factory factory) noexcept : m_factory(factory) {}
    CLazy(const CLazy&) = delete;
    CLazy& operator=(const CLazy&) = delete;

    /// Returns the value, which the first call computes. Valid while the object lives. Exceptions of the factory pass
    /// through. Other threads meanwhile wait with CSpinWait, which suits short computations; later calls take no lock.
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
