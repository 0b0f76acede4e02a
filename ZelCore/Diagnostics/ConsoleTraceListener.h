#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

namespace ZelCore::Diagnostics {

/// Writes one line for each event to standard output: as it is on a console, as UTF-8 elsewhere. A line goes out in one
/// call, so that lines of several threads stay whole; only on a console lines above 8,000 characters go in pieces of
/// that length. A process without standard output, or whose reader has gone, loses them.
class ZELCORE_API CConsoleTraceListener : public CTraceListener {
public:
    /// Standard output is looked up for each event. Null throws CArgumentNullException for "name".
    explicit CConsoleTraceListener(const wchar_t* name);
    ~CConsoleTraceListener() override;

    /// Throws CWin32Exception when the output refuses the line.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;
};

} // namespace ZelCore::Diagnostics
