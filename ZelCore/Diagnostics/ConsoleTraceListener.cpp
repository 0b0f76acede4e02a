#include "ZelCore/Diagnostics/ConsoleTraceListener.h"

#include "ZelCore/Diagnostics/TraceFormatter.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

#include <algorithm>

namespace ZelCore::Diagnostics {

namespace {

/// The error of an invalid inherited handle, or of a pipe whose reader has ended.
bool IsNobodyThere(DWORD error) {
    return error == ERROR_INVALID_HANDLE || error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA;
}

/// A console rejects text that does not fit into a buffer of 64 KiB, which is shared with other data. A surrogate pair
/// is not split.
DWORD GetPieceLength(const std::wstring& text, std::size_t at) {
    constexpr std::size_t longest = 8000; // characters
    const std::size_t length = std::min(text.size() - at, longest);
    const bool splits = length == longest && IS_HIGH_SURROGATE(text[at + length - 1]);
    return static_cast<DWORD>(splits ? length - 1 : length);
}

} // namespace

CConsoleTraceListener::CConsoleTraceListener(const wchar_t* name) : CTraceListener(name) {}

CConsoleTraceListener::~CConsoleTraceListener() = default;

void CConsoleTraceListener::TraceEvent(const TraceEventContext& context, const wchar_t*, TraceEventType type,
                                       unsigned int, const wchar_t* message) {
    const wchar_t* const method = L"ZelCore::Diagnostics::CConsoleTraceListener::TraceEvent";
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    if (output == nullptr || output == INVALID_HANDLE_VALUE) {
        return;
    }
    DWORD mode = 0;
    if (::GetConsoleMode(output, &mode)) {
        const std::wstring text = CTraceFormatter::Format(context, type, message) + L"\r\n";
        for (std::size_t at = 0; at < text.size();) {
            DWORD written = 0;
            ZelWin32::CheckWin32(::WriteConsoleW(output, text.data() + at, GetPieceLength(text, at), &written, nullptr),
                                 ZEL_SITE(method));
            if (written == 0) {
                return;
            }
            at += written;
        }
        return;
    }
    const std::string line = CTraceFormatter::FormatLine(context, type, message);
    for (std::size_t at = 0; at < line.size();) {
        DWORD written = 0;
        if (!::WriteFile(output, line.data() + at, static_cast<DWORD>(line.size() - at), &written, nullptr)) {
            if (IsNobodyThere(::GetLastError())) {
                return;
            }
            ZelWin32::ThrowLastError(ZEL_SITE(method));
        }
        if (written == 0) { // a non-blocking pipe
            return;
        }
        at += written;
    }
}

} // namespace ZelCore::Diagnostics
