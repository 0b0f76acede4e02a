#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

namespace ZelCore::Diagnostics {

/// Measures time between Start and Stop with the system's high-resolution counter. It is stopped at first, with nothing
/// measured. A copyable value; one thread at a time.
class ZELCORE_API CStopwatch {
public:
    /// Goes on from what was measured before; does nothing while it is running.
    void Start();
    /// Does nothing while it is stopped.
    void Stop();

    /// In ticks of GetTimestamp, with the interval that is running.
    std::int64_t GetElapsedTicks() const;

    /// Ticks per second of GetTimestamp: the counter's, or 10,000,000 where there is no such counter and timestamps
    /// are ticks of CDateTime. May be called from any thread, as GetTimestamp.
    static std::int64_t GetFrequency();

    /// The counter as it is now. Only differences mean something, and only on one computer until it restarts.
    static std::int64_t GetTimestamp();

private:
    bool m_running = false;
    std::int64_t m_startTimestamp = 0;
    std::int64_t m_elapsed = 0;
};

} // namespace ZelCore::Diagnostics
