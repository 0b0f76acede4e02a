#include "ZelWin32/Win32Exception.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"
#include "ZelWin32/UniqueHandle.h"

namespace ZelWin32 {

using ZelCore::CString;
using ZelCore::GetMessageText;
using ZelCore::Message;

CWin32Exception::CWin32Exception(unsigned long error, const wchar_t* message, const wchar_t* method,
                                 const wchar_t* file, int line)
    : CException(static_cast<int>(error), message, method, file, line) {}

CWin32Exception::CWin32Exception(const CWin32Exception&) = default;

CWin32Exception::~CWin32Exception() = default;

CWin32Exception* CWin32Exception::Clone() const {
    return new CWin32Exception(*this);
}

void CWin32Exception::Throw() const {
    throw CWin32Exception(*this);
}

const wchar_t* CWin32Exception::GetErrorMessage() const {
    if (m_errorMessage.empty()) {
        const wchar_t* message = CException::GetErrorMessage();
        const std::wstring text = GetErrorText();
        m_errorMessage =
            *message != L'\0' ? CString::Format(GetMessageText(Message::MessageAndText), message, text.c_str()) : text;
    }
    return m_errorMessage.c_str();
}

std::wstring CWin32Exception::GetErrorText() const {
    return FormatMessageW(GetError());
}

unsigned long CWin32Exception::GetError() const noexcept {
    return static_cast<unsigned long>(CException::GetError());
}

std::wstring CWin32Exception::FormatMessageW(unsigned long error) {
    wchar_t* text = nullptr;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
                         nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const LocalMemory owner(text);
    if (length == 0) {
        return CString::Format(GetMessageText(Message::UnknownError), static_cast<int>(error));
    }
    const std::wstring trimmed = CString::TrimEnd(text, L"\r\n");
    return CString::Format(GetMessageText(Message::SystemError), error, trimmed.c_str());
}

} // namespace ZelWin32
