#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

namespace ZelCore::Diagnostics {

/// Writes one line per event to standard output: as UTF-16 to a console, otherwise as UTF-8. Each line is written in
/// one call, so that lines of several threads are not mixed; only on a console lines above 8,000 characters are written
/// in pieces of that length. Lines are lost if the process has no standard output or the reader has ended.
class ZELCORE_API CConsoleTraceListener : public CTraceListener {
public:
    /// Standard output is looked up for each event. Null throws CArgumentNullException for "name".
    explicit CConsoleTraceListener(const wchar_t* name);
    ~CConsoleTraceListener() override;

    /// Throws CWin32Exception if writing the line fails.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;
};

} // namespace ZelCore::Diagnostics
