#include "ZelCore/ArgumentNullException.h"

#include "ZelCore/Messages.h"

namespace ZelCore {

CArgumentNullException::CArgumentNullException(const wchar_t* paramName, const wchar_t* message, const wchar_t* method,
                                               const wchar_t* file, int line)
    : CArgumentException(paramName,
                         message != nullptr && *message != L'\0' ? message : GetMessageText(Message::ArgumentNull),
                         method, file, line) {}

CArgumentNullException::CArgumentNullException(const CArgumentNullException&) = default;

CArgumentNullException::~CArgumentNullException() = default;

CArgumentNullException* CArgumentNullException::Clone() const {
    return new CArgumentNullException(*this);
}

void CArgumentNullException::Throw() const {
    throw CArgumentNullException(*this);
}

} // namespace ZelCore
