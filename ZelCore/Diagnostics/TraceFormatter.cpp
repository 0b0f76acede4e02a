#include "ZelCore/Diagnostics/TraceFormatter.h"

#include "ZelCore/String.h"
#include "ZelCore/TextWriter.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <utility>

namespace ZelCore::Diagnostics {

namespace {

constexpr std::size_t ShortLine = 200; // characters, for which space is taken at once

} // namespace

const wchar_t* CTraceFormatter::GetTypeName(TraceEventType type) noexcept {
    static constexpr std::pair<TraceEventType, const wchar_t*> names[] = {
        {TraceEventType::Critical, L"Critical"}, {TraceEventType::Error, L"Error"},
        {TraceEventType::Warning, L"Warning"},   {TraceEventType::Information, L"Information"},
        {TraceEventType::Verbose, L"Verbose"},   {TraceEventType::Start, L"Start"},
        {TraceEventType::Stop, L"Stop"},         {TraceEventType::Suspend, L"Suspend"},
        {TraceEventType::Resume, L"Resume"},     {TraceEventType::Transfer, L"Transfer"},
    };
    for (const auto& [value, name] : names) {
        if (value == type) {
            return name;
        }
    }
    return L"Unknown";
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
