#include "ZelCore/NotImplementedException.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"

namespace ZelCore {

CNotImplementedException::CNotImplementedException(const wchar_t* message, const wchar_t* method, const wchar_t* file,
                                                   int line)
    : CException(static_cast<int>(0x80004001u),
                 CString::Format(GetMessageText(Message::NotImplemented), message != nullptr ? message : L"",
                                 method != nullptr ? method : L"")
                     .c_str(),
                 method, file, line) {}

CNotImplementedException::CNotImplementedException(const CNotImplementedException&) = default;

CNotImplementedException::~CNotImplementedException() = default;

CNotImplementedException* CNotImplementedException::Clone() const {
    return new CNotImplementedException(*this);
}

void CNotImplementedException::Throw() const {
    throw CNotImplementedException(*this);
}

} // namespace ZelCore
