#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

namespace ZelCore::Diagnostics {

/// Measures the time between Start and Stop with the system's high-resolution counter. It is initially stopped, with an
/// elapsed time of 0. A copyable value. Not thread-safe: one thread at a time.
class ZELCORE_API CStopwatch {
public:
    /// Starts or resumes measuring. Does nothing while it is running.
    void Start();
    /// Stops measuring. Does nothing while it is stopped.
    void Stop();

    /// Returns the elapsed time in ticks of GetTimestamp, including the running interval.
    std::int64_t GetElapsedTicks() const;

    /// Returns the ticks of GetTimestamp per second: those of the counter, or 10,000,000 if there is no such counter
    /// and timestamps are ticks of CDateTime. Like GetTimestamp, it may be called from any thread.
    static std::int64_t GetFrequency();

    /// Returns the current counter value. Only differences are meaningful, and only on one computer until it restarts.
    static std::int64_t GetTimestamp();

private:
    bool m_running = false;
    std::int64_t m_startTimestamp = 0;
    std::int64_t m_elapsed = 0;
};

} // namespace ZelCore::Diagnostics
