#include "ZelWin32/ComException.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"
#include "ZelWin32/ComPointer.h"
#include "ZelWin32/Windows.h"

#include <comdef.h>

namespace ZelWin32 {

namespace {

/// A null _bstr_t converts to a null pointer, and an empty BSTR need not be null.
std::wstring ToText(const _bstr_t& text) {
    return text.length() != 0 ? std::wstring(static_cast<const wchar_t*>(text), text.length()) : std::wstring();
}

std::wstring Compose(const wchar_t* message, const _com_error& error) {
    std::wstring description = CComException::GetComErrorDescription(error);
    if (message == nullptr || *message == L'\0') {
        return description;
    }
    return ZelCore::CString::Format(ZelCore::GetMessageText(ZelCore::Message::MessageAndText), message,
                                    description.c_str());
}

} // namespace

CComException::CComException(long hr, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : CComException(_com_error(hr), message, method, file, line) {}

CComException::CComException(const _com_error& error, const wchar_t* message, const wchar_t* method,
                             const wchar_t* file, int line)
    : CException(error.Error(), Compose(message, error).c_str(), method, file, line) {}

CComException::CComException(const CComException&) = default;

CComException::~CComException() = default;

CComException* CComException::Clone() const {
    return new CComException(*this);
}

void CComException::Throw() const {
    throw CComException(*this);
}

long CComException::GetError() const noexcept {
    return CException::GetError();
}

std::wstring CComException::GetComErrorSource(const _com_error& error) {
    return ToText(error.Source());
}

std::wstring CComException::GetComErrorDescription(const _com_error& error) {
    std::wstring description = ToText(error.Description());
    if (description.empty()) {
        // An object of its own: the other one keeps the text once it was asked for, and a caller that is built without
        // UNICODE leaves a narrow one there.
        const _com_error standard(error.Error());
        const wchar_t* const text = standard.ErrorMessage();
        description = text != nullptr ? text : L"";
    }
    return description;
}

void ThrowComError(HRESULT hr, const wchar_t* method, const wchar_t* file, int line) {
    IErrorInfo* info = nullptr;
    if (::GetErrorInfo(0, &info) != S_OK) {
        info = nullptr;
    }
    throw CComException(_com_error(hr, info), nullptr, method, file, line); // which takes the reference over
}

} // namespace ZelWin32
