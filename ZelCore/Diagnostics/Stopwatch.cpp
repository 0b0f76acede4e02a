#include "ZelCore/Diagnostics/Stopwatch.h"

#include "ZelCore/DateTime.h"
#include "ZelCore/Threading/SpinWait.h"
#include "ZelWin32/Windows.h"

#include <mutex>

namespace ZelCore::Diagnostics {

namespace {

constexpr std::int64_t TicksPerSecond = 10000000;

std::int64_t g_frequency = 0;
bool g_isHighResolution = false;
std::atomic<bool> g_frequencyKnown{false};
constinit Threading::CSpinWait g_lock;

void EnsureFrequencyKnown() {
    if (g_frequencyKnown.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard<Threading::CSpinWait> lock(g_lock);
    if (!g_frequencyKnown.load(std::memory_order_relaxed)) {
        LARGE_INTEGER frequency;
        g_isHighResolution = ::QueryPerformanceFrequency(&frequency) != FALSE;
        g_frequency = g_isHighResolution ? frequency.QuadPart : TicksPerSecond;
        g_frequencyKnown.store(true, std::memory_order_release);
    }
}

} // namespace

void CStopwatch::Start() {
    if (!m_running) {
        m_startTimestamp = GetTimestamp();
        m_running = true;
    }
}

void CStopwatch::Stop() {
    if (m_running) {
        m_elapsed += GetTimestamp() - m_startTimestamp;
        m_running = false;
    }
}

std::int64_t CStopwatch::GetElapsedTicks() const {
    return m_elapsed + (m_running ? GetTimestamp() - m_startTimestamp : 0);
}

std::int64_t CStopwatch::GetFrequency() {
    EnsureFrequencyKnown();
    return g_frequency;
}

std::int64_t CStopwatch::GetTimestamp() {
    EnsureFrequencyKnown();
    if (g_isHighResolution) {
        LARGE_INTEGER counter;
        ::QueryPerformanceCounter(&counter);
        return counter.QuadPart;
    }
    return CDateTime::UtcNow().GetTicks();
}

} // namespace ZelCore::Diagnostics
