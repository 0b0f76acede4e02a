#pragma once

#include "ZelCore/Diagnostics/TraceSource.h"

#include <string>

namespace Zel {

// The trace sources of the program; zel.exe.config beside it tells where their events go.
ZelCore::Diagnostics::CTraceSource& GetArchiveTrace(); ///< "Zel.Archive"
ZelCore::Diagnostics::CTraceSource& GetCryptoTrace();  ///< "Zel.Crypto"

/// Lets all events also go to standard output.
void TraceToConsole();

/// Traces a failure, whatever becomes of that.
void TraceFailure(const std::wstring& text) noexcept;

} // namespace Zel

/// Traces an event of the place where it stands; the message is formatted only if it goes somewhere.
#define ZEL_TRACE(source, function, type, ...)                                                                         \
    do {                                                                                                               \
        if ((source).GetSourceSwitch().ShouldTrace(ZelCore::Diagnostics::TraceEventType::type)) {                      \
            (source).TraceEventFormat(function, L"" __FILE__, __LINE__, ZelCore::Diagnostics::TraceEventType::type,    \
                                      __VA_ARGS__);                                                                    \
        }                                                                                                              \
    } while (false)
