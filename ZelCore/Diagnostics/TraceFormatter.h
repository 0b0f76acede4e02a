#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

namespace ZelCore::Diagnostics {

/// The text of an event as the library's listeners write it. All static, callable from any thread.
class ZELCORE_API CTraceFormatter {
public:
    CTraceFormatter() = delete;

    /// "2024-02-29T13:14:15.1234567Z 0abc W File.cpp:12 message": the universal time, the thread, the first letter of
    /// the type, file name and line. The thread's number is hexadecimal, of four digits at least. Without an end of
    /// line; a message may have several lines, null counts as empty.
    static std::wstring Format(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// The same with CR LF as UTF-8.
    static std::string FormatLine(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// "Critical" to "Transfer", "Unknown" for any other value. Valid as long as the library is loaded.
    static const wchar_t* GetTypeName(TraceEventType type) noexcept;
};

} // namespace ZelCore::Diagnostics
