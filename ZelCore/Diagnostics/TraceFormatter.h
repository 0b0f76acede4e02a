#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

namespace ZelCore::Diagnostics {

/// The text of an event as the library's listeners write it.
class ZELCORE_API CTraceFormatter {
public:
    CTraceFormatter() = delete;

    /// "2024-02-29T13:14:15.1234567Z 0abc W File.cpp:12 message": the universal time, the thread, the first letter of
    /// the type, file name and line. Without an end of line; a message may have several lines.
    static std::wstring Format(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// The same with CR LF as UTF-8.
    static std::string FormatLine(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// "Critical" to "Transfer", "Unknown" for any other value.
    static const wchar_t* GetTypeName(TraceEventType type) noexcept;
};

} // namespace ZelCore::Diagnostics
