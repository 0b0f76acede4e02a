#pragma once

// Private to the library: its message texts, stored as numbered string resources in ZelCore.rc.

#include <string>

namespace ZelCore {

enum class Message : unsigned {
    ExceptionText = 60001,
    NotImplemented = 60002,
    ParameterName = 60003,
    ArgumentNull = 60004,
    ArgumentOutOfRange = 60005,
    InvalidHandle = 60006,
    SynchronousOnOverlapped = 60007,
    AsynchronousOnSynchronous = 60008,
    CannotBeEmpty = 60009,
    ForeignAsyncResult = 60010,
    MessageAndText = 60011,
    SystemError = 60012,
    UnknownError = 60013,
    ProviderError = 60014,
    OperationInProgress = 60015,
    CompletedTwice = 60016,
    WaitHandleWithCallback = 60017,
    SourceSwitchNotFound = 60018,
    TraceListenerNotFound = 60019,
    InvalidBase64 = 60025,
    CannotCreateFileStream = 60028,
    InvalidInteger = 60029,
    InvalidFloatingPoint = 60030,
    UncPathForm = 60034,
    CannotCreateDirectoryPart = 60035,
    InvalidBase16 = 60036,
};

/// Returns the text of a message, loaded once and valid until the process ends; empty if the resource is damaged. It
/// never throws or allocates, so that every failure can be described.
const wchar_t* GetMessageText(Message message) noexcept;

/// Returns the text for a rejected value: "message: argument is out of range, actual value was ...". Only for
/// exceptions that do not compose it themselves. A null message counts as empty.
std::wstring FormatOutOfRange(const wchar_t* message, const wchar_t* actualValue);

} // namespace ZelCore
