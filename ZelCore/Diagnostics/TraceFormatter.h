#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

namespace ZelCore::Diagnostics {

/// The text of an event as written by the library's listeners. All functions are static and may be called from any
/// thread.
class ZELCORE_API CTraceFormatter {
public:
    CTraceFormatter() = delete;

    /// Formats "2024-02-29T13:14:15.1234567Z 0abc W File.cpp:12 message": UTC time, thread identifier, first letter of
    /// the type, file name and line, without a line break at the end. The thread identifier is hexadecimal with at
    /// least four digits. The message may have several lines; null counts as empty.
    static std::wstring Format(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// The same text as UTF-8, followed by CR LF.
    static std::string FormatLine(const TraceEventContext& context, TraceEventType type, const wchar_t* message);

    /// Returns "Critical" to "Transfer", or "Unknown" for any other value. Valid while the library is loaded.
    static const wchar_t* GetTypeName(TraceEventType type) noexcept;
};

} // namespace ZelCore::Diagnostics
