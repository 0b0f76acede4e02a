#pragma once

#include "ZelCore/Export.h"

#include <atomic>
#include <cstdint>

namespace ZelCore::Threading {

/// A lock for a few instructions: one word, without an owner, usable in static storage before any code runs.
///
/// It spins on machines with several processors, then yields; it never waits on a kernel object. It is not
/// re-entrant, Exit may be called from any thread, and std::lock_guard works through lock and unlock.
class ZELCORE_API CSpinWait {
public:
    /// A free lock.
    constexpr CSpinWait() noexcept = default;
    CSpinWait(const CSpinWait&) = delete;
    CSpinWait& operator=(const CSpinWait&) = delete;

    /// Takes the lock, waiting as long as somebody else has it, without limit. A thread that has it already waits for
    /// itself.
    void Enter() noexcept;
    /// Frees the lock, whoever has it; a free one stays free.
    void Exit() noexcept;

    /// Enter and Exit under the names that std::lock_guard and std::unique_lock use.
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
