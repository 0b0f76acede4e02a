#include "ZelCore/Diagnostics/Stopwatch.h"

#include "ZelCore/DateTime.h"
#include "ZelCore/Lazy.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::Diagnostics {

namespace {

struct Counter {
    std::int64_t frequency;
    bool isHighResolution;
};

constinit CLazy<Counter> g_counter([] {
    LARGE_INTEGER frequency;
    const bool exists = ::QueryPerformanceFrequency(&frequency) != FALSE;
    return Counter{exists ? frequency.QuadPart : CTimeSpan::TicksPerSecond, exists};
});

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
    return g_counter.GetValue().frequency;
}

std::int64_t CStopwatch::GetTimestamp() {
    if (g_counter.GetValue().isHighResolution) {
        LARGE_INTEGER counter;
        ::QueryPerformanceCounter(&counter);
        return counter.QuadPart;
    }
    return CDateTime::UtcNow().GetTicks();
}

} // namespace ZelCore::Diagnostics
