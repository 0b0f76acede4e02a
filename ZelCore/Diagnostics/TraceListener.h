#pragma once

#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/SourceLevels.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace ZelCore::Diagnostics {

/// Where and when an event was traced.
struct TraceEventContext {
    std::wstring function;     ///< as the caller gave it; may be empty
    std::wstring file;         ///< the source file as the caller gave it, mostly with its path; may be empty
    int line = 0;              ///< in that file
    unsigned int threadId = 0; ///< the system's number of the tracing thread
    CDateTime timestamp;       ///< Utc
};

/// Receives the events that passed the switch of its sources: one call for each, from any thread, several at a time.
///
/// Sources share listeners and keep them alive. To write one of your own, implement TraceEvent, guard what it changes,
/// and hand it to CTraceSource::AddTraceListener: the configuration knows the library's own only.
class ZELCORE_API CTraceListener {
public:
    /// Null throws CArgumentNullException for "name".
    explicit CTraceListener(const wchar_t* name);
    CTraceListener(const CTraceListener&) = delete;
    CTraceListener& operator=(const CTraceListener&) = delete;
    /// Sources that use the listener hold a reference: it ends after the last of them.
    virtual ~CTraceListener();

    /// Hands on what the listener holds back; the library's own hold nothing back. Sources do not call it: who needs it
    /// does.
    virtual void Flush();

    /// Takes an event. What it needs later it copies: all arguments are borrowed for the call.
    ///
    /// \param source  the name of the tracing source
    /// \param id      0 for the events of trace sources
    /// \param message never null from trace sources
    ///
    /// What it throws leaves CTraceSource::TraceEvent after the other listeners got the event, unless the listener
    /// counts its failures.
    virtual void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type,
                            unsigned int id, const wchar_t* message) = 0;

    /// The name under which sources and configuration know the listener. Valid while it lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

    /// Whether failures of TraceEvent are counted instead of leaving CTraceSource::TraceEvent; at first they leave. The
    /// configuration sets it by the attribute "countFailures" of a shared listener. May be set at any time.
    ///@{
    bool CountsFailures() const noexcept {
        return m_countsFailures;
    }
    void SetCountsFailures(bool counts) noexcept {
        m_countsFailures = counts;
    }
    ///@}

    /// How many events were lost since the last one that succeeded, by failures that were counted. The message of the
    /// next event that succeeds begins with "(3 events before this one were lost) ", and the count with 0 again.
    std::uint64_t GetLostCount() const noexcept {
        return m_lost;
    }

    /// Hands an event on to TraceEvent as trace sources do: counts or passes on what it throws, and tells how many
    /// events were lost before.
    void Deliver(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                 const wchar_t* message);

private:
    std::wstring m_name;
    std::atomic<bool> m_countsFailures{false};
    std::atomic<std::uint64_t> m_lost{0};
};

} // namespace ZelCore::Diagnostics
