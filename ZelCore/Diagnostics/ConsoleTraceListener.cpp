#include "ZelCore/Diagnostics/ConsoleTraceListener.h"

#include "ZelCore/Diagnostics/TraceFormatter.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::Diagnostics {

CConsoleTraceListener::CConsoleTraceListener(const wchar_t* name) : CTraceListener(name) {}

CConsoleTraceListener::~CConsoleTraceListener() = default;

void CConsoleTraceListener::TraceEvent(const TraceEventContext& context, const wchar_t*, TraceEventType type,
                                       unsigned int, const wchar_t* message) {
    const wchar_t* const method = L"ZelCore::Diagnostics::CConsoleTraceListener::TraceEvent";
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    if (output == nullptr || output == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD mode = 0, written = 0;
    if (::GetConsoleMode(output, &mode)) {
        const std::wstring line = CTraceFormatter::Format(context, type, message) + L"\r\n";
        ZelWin32::CheckWin32(::WriteConsoleW(output, line.data(), static_cast<DWORD>(line.size()), &written, nullptr),
                             ZEL_SITE(method));
        return;
    }
    const std::string line = CTraceFormatter::FormatLine(context, type, message);
    ZelWin32::CheckWin32(::WriteFile(output, line.data(), static_cast<DWORD>(line.size()), &written, nullptr),
                         ZEL_SITE(method));
}

} // namespace ZelCore::Diagnostics
