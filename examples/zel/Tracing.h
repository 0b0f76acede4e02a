#pragma once

#include "ZelCore/Diagnostics/TraceSource.h"

#include <string>

namespace Zel {

// The trace sources of the program, which are configured by zel.exe.config in its folder.
ZelCore::Diagnostics::CTraceSource& GetArchiveTrace(); ///< "Zel.Archive"
ZelCore::Diagnostics::CTraceSource& GetCryptoTrace();  ///< "Zel.Crypto"

/// Also writes all events to standard output.
void TraceToConsole();

/// Traces a failure and ignores failures of tracing.
void TraceFailure(const std::wstring& text) noexcept;

} // namespace Zel

/// Traces an event with its throw site; the message is formatted only if the event is enabled.
#define ZEL_TRACE(source, function, type, ...)                                                                         \
    do {                                                                                                               \
        if ((source).GetSourceSwitch().ShouldTrace(ZelCore::Diagnostics::TraceEventType::type)) {                      \
            (source).TraceEventFormat(function, L"" __FILE__, __LINE__, ZelCore::Diagnostics::TraceEventType::type,    \
                                      __VA_ARGS__);                                                                    \
        }                                                                                                              \
    } while (false)
