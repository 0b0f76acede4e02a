#include "ZelCore/InvalidOperationException.h"

namespace ZelCore {

CInvalidOperationException::CInvalidOperationException(const wchar_t* message, const wchar_t* method,
                                                       const wchar_t* file, int line)
    : CException(static_cast<int>(0x80131509u), message, method, file, line) {}

CInvalidOperationException::CInvalidOperationException(const CInvalidOperationException&) = default;

CInvalidOperationException::~CInvalidOperationException() = default;

CInvalidOperationException* CInvalidOperationException::Clone() const {
    return new CInvalidOperationException(*this);
}

void CInvalidOperationException::Throw() const {
    throw CInvalidOperationException(*this);
}

} // namespace ZelCore
