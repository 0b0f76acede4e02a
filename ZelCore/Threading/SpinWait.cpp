#include "ZelCore/Threading/SpinWait.h"

#include "ZelWin32/Windows.h"

namespace ZelCore::Threading {

namespace {

constexpr unsigned SpinningRounds = 10;
constexpr unsigned YieldingRounds = 15;
constexpr unsigned SpinStep = 20;

bool TryEnter(std::atomic<std::uint32_t>& lock) noexcept {
    std::uint32_t free = 0;
    return lock.compare_exchange_strong(free, 1);
}

} // namespace

void CSpinWait::Enter() noexcept {
    if (TryEnter(m_lock)) {
        return;
    }
    SYSTEM_INFO system;
    ::GetNativeSystemInfo(&system);
    unsigned limit = SpinStep;
    for (unsigned round = 0;; ++round, limit += SpinStep) {
        if (round < SpinningRounds && system.dwNumberOfProcessors >= 2) {
            for (unsigned i = 0; i < limit && m_lock.load() != 0; ++i) {
                std::atomic_thread_fence(std::memory_order_seq_cst);
            }
        } else {
            ::Sleep(round < YieldingRounds ? 0 : 1);
        }
        if (m_lock.load() == 0 && TryEnter(m_lock)) {
            return;
        }
    }
}

void CSpinWait::Exit() noexcept {
    m_lock.exchange(0);
}

} // namespace ZelCore::Threading
