#include "Tracing.h"

#include "ZelCore/Diagnostics/ConsoleTraceListener.h"

namespace Zel {

using namespace ZelCore::Diagnostics;

CTraceSource& GetArchiveTrace() {
    static CTraceSource source(L"Zel.Archive");
    return source;
}

CTraceSource& GetCryptoTrace() {
    static CTraceSource source(L"Zel.Crypto");
    return source;
}

void TraceToConsole() {
    // Both sources use the settings and listeners of "Zel", also without a configuration.
    CTraceSource& source = GetArchiveTrace();
    source.GetSourceSwitch().SetLevel(SourceLevels::All);
    source.AddTraceListener(std::make_shared<CConsoleTraceListener>(L"--trace"));
    GetCryptoTrace().GetSourceSwitch().SetLevel(SourceLevels::All);
}

void TraceFailure(const std::wstring& text) noexcept {
    try {
        ZEL_TRACE(GetArchiveTrace(), L"wmain", Error, L"%s", text.c_str());
    } catch (...) { // the failure is printed nevertheless
    }
}

} // namespace Zel
