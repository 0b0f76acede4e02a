#pragma once

#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/SourceLevels.h"

#include <string>

namespace ZelCore::Diagnostics {

/// Where and when an event was traced.
struct TraceEventContext {
    std::wstring function;
    std::wstring file;
    int line = 0;
    unsigned int threadId = 0;
    CDateTime timestamp; ///< Utc
};

/// Receives the events that passed the switch of its sources: one call for each, from any thread, several at a time.
class ZELCORE_API CTraceListener {
public:
    /// Null throws CArgumentNullException for "name".
    explicit CTraceListener(const wchar_t* name);
    CTraceListener(const CTraceListener&) = delete;
    CTraceListener& operator=(const CTraceListener&) = delete;
    virtual ~CTraceListener();

    /// Hands on what the listener holds back; the library's own hold nothing back.
    virtual void Flush();

    /// \param source the name of the tracing source
    /// \param id     0 for the events of trace sources
    ///
    /// What it throws leaves CTraceSource::TraceEvent, after the other listeners got the event.
    virtual void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type,
                            unsigned int id, const wchar_t* message) = 0;

    const std::wstring& GetName() const noexcept {
        return m_name;
    }

private:
    std::wstring m_name;
};

} // namespace ZelCore::Diagnostics
