// Traces to the log configured in rolling-log.exe.config: rolling-log [EVENTS]. Without that file nothing is traced.
#include "Print.h"

#include <ZelCore/Diagnostics/TraceSource.h>
#include <ZelCore/Exception.h>

#include <cstdio>
#include <cwchar>

using ZelCore::Diagnostics::CTraceSource;
using ZelCore::Diagnostics::TraceEventType;

namespace {

const CTraceSource g_trace(L"Samples.Log"); // one for each part of a program; "Samples" configures all of them

} // namespace

int wmain(int argc, wchar_t** argv) {
    try {
        const long events = argc > 1 ? std::wcstol(argv[1], nullptr, 10) : 100;
        for (long i = 1; i <= events; ++i) {
            g_trace.TraceEventFormat(L"wmain", L"" __FILE__, __LINE__, TraceEventType::Information, L"step %d of %d", i,
                                     events);
            g_trace.TraceEvent(L"wmain", L"" __FILE__, __LINE__, TraceEventType::Verbose,
                               L"dropped: the level is lower");
        }
    } catch (const ZelCore::CException& e) { // the first event reads the configuration and throws for errors in it
        return Report(e);
    }
    return 0;
}
