#include "ZelCore/Diagnostics/TraceFormatter.h"

#include "ZelCore/String.h"
#include "ZelCore/TextWriter.h"
#include "ZelWin32/Windows.h"

#include <algorithm>

namespace ZelCore::Diagnostics {

namespace {

constexpr std::size_t ShortLine = 200; // characters, for which space is taken at once

} // namespace

const wchar_t* CTraceFormatter::GetTypeName(TraceEventType type) noexcept {
    switch (type) {
    case TraceEventType::Critical:
        return L"Critical";
    case TraceEventType::Error:
        return L"Error";
    case TraceEventType::Warning:
        return L"Warning";
    case TraceEventType::Information:
        return L"Information";
    case TraceEventType::Verbose:
        return L"Verbose";
    case TraceEventType::Start:
        return L"Start";
    case TraceEventType::Stop:
        return L"Stop";
    case TraceEventType::Suspend:
        return L"Suspend";
    case TraceEventType::Resume:
        return L"Resume";
    case TraceEventType::Transfer:
        return L"Transfer";
    default:
        return L"Unknown";
    }
}

std::wstring CTraceFormatter::Format(const TraceEventContext& context, TraceEventType type, const wchar_t* message) {
    const wchar_t* const text = message != nullptr ? message : L"";
    return CTextWriter(ShortLine)
        .Put(L"%s %04lx %c %s:%d %s", {context.timestamp.ToString(L"o", 127), context.threadId, *GetTypeName(type),
                                       ::PathFindFileNameW(context.file.c_str()), context.line, text})
        .Take();
}

std::string CTraceFormatter::FormatLine(const TraceEventContext& context, TraceEventType type, const wchar_t* message) {
    const std::wstring line = Format(context, type, message) + L"\r\n";
    std::string bytes(line.size(), '\0');
    const auto other = std::find_if(line.begin(), line.end(), [](wchar_t c) { return c > 0x7F; });
    if (other != line.end()) {
        constexpr unsigned utf8 = 65001;
        return CString::ToMultiByte(line.data(), static_cast<int>(line.size()), utf8);
    }
    std::transform(line.begin(), line.end(), bytes.begin(), [](wchar_t c) { return static_cast<char>(c); });
    return bytes;
}

} // namespace ZelCore::Diagnostics
