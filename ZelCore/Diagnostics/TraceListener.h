#pragma once

#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/SourceLevels.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace ZelCore::Diagnostics {

/// Where and when an event was traced.
struct TraceEventContext {
    std::wstring function;     ///< as passed by the caller; may be empty
    std::wstring file;         ///< the source file as passed by the caller, usually with its path; may be empty
    int line = 0;              ///< in that file
    unsigned int threadId = 0; ///< the system's identifier of the tracing thread
    CDateTime timestamp;       ///< Utc
};

/// Receives the events that passed the switch of its sources: one call per event, from any thread, possibly
/// concurrently.
///
/// Sources share listeners and keep them alive. A listener class of your own implements TraceEvent, synchronizes access
/// to its state, and is added with CTraceSource::AddTraceListener. The configuration supports only the library's own
/// listeners.
class ZELCORE_API CTraceListener {
public:
    /// Null throws CArgumentNullException for "name".
    explicit CTraceListener(const wchar_t* name);
    CTraceListener(const CTraceListener&) = delete;
    CTraceListener& operator=(const CTraceListener&) = delete;
    /// Sources that use the listener hold a reference: it is destroyed after the last of them.
    virtual ~CTraceListener();

    /// Writes buffered data; the library's own listeners do not buffer. Sources do not call it; the program may call it
    /// when needed.
    virtual void Flush();

    /// Receives an event. All arguments are borrowed for the call: copy data that is needed later.
    ///
    /// \param source  the name of the tracing source
    /// \param id      0 for the events of trace sources
    /// \param message never null from trace sources
    ///
    /// An exception thrown here is thrown by CTraceSource::TraceEvent after the other listeners have received the
    /// event, unless the listener counts its failures.
    virtual void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type,
                            unsigned int id, const wchar_t* message) = 0;

    /// Returns the name used by sources and the configuration. Valid while the listener lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

    /// Whether failures of TraceEvent are counted instead of thrown by CTraceSource::TraceEvent; false by default. The
    /// configuration sets it by the attribute "countFailures" of a shared listener. May be set at any time.
    ///@{
    bool CountsFailures() const noexcept {
        return m_countsFailures;
    }
    void SetCountsFailures(bool counts) noexcept {
        m_countsFailures = counts;
    }
    ///@}

    /// Returns the number of events lost by counted failures since the last event that succeeded. The message of the
    /// next successful event begins with "(3 events before this one were lost) ", and the count is reset to 0.
    std::uint64_t GetLostCount() const noexcept {
        return m_lost;
    }

    /// Passes an event to TraceEvent as trace sources do: counts or passes on its exceptions, and reports how many
    /// events were lost before.
    void Deliver(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                 const wchar_t* message);

private:
    std::wstring m_name;
    std::atomic<bool> m_countsFailures{false};
    std::atomic<std::uint64_t> m_lost{0};
};

} // namespace ZelCore::Diagnostics
