#pragma once

#include "ZelCore/Export.h"

#include <atomic>
#include <cstdint>

namespace ZelCore::Threading {

/// A lock for critical sections of a few instructions: one word, without an owner, usable in static storage before any
/// code runs.
///
/// It spins on machines with several processors and then yields; it never waits on a kernel object. It is not
/// recursive. Exit may be called from any thread. std::lock_guard works through lock and unlock.
class ZELCORE_API CSpinWait {
public:
    /// An unlocked object.
    constexpr CSpinWait() noexcept = default;
    CSpinWait(const CSpinWait&) = delete;
    CSpinWait& operator=(const CSpinWait&) = delete;

    /// Acquires the lock. Waits without a time limit while it is held. A thread that already holds it deadlocks.
    void Enter() noexcept;
    /// Releases the lock, whichever thread holds it. Releasing an unlocked object does nothing.
    void Exit() noexcept;

    /// Enter and Exit under the names required by std::lock_guard and std::unique_lock.
    ///@{
    void lock() noexcept {
        Enter();
    }
    void unlock() noexcept {
        Exit();
    }
    ///@}

private:
    std::atomic<std::uint32_t> m_lock{0};
};

} // namespace ZelCore::Threading
