#include "ZelCore/TimeoutException.h"

namespace ZelCore {

CTimeoutException::CTimeoutException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : CException(static_cast<int>(0x80131906u), message, method, file, line) {}

CTimeoutException::CTimeoutException(const CTimeoutException&) = default;

CTimeoutException::~CTimeoutException() = default;

CTimeoutException* CTimeoutException::Clone() const {
    return new CTimeoutException(*this);
}

void CTimeoutException::Throw() const {
    throw CTimeoutException(*this);
}

} // namespace ZelCore
