#include "ZelCore/NotSupportedException.h"

namespace ZelCore {

CNotSupportedException::CNotSupportedException(const wchar_t* message, const wchar_t* method, const wchar_t* file,
                                               int line)
    : CException(static_cast<int>(0xF3351BB6u), message, method, file, line) {}

CNotSupportedException::CNotSupportedException(const CNotSupportedException&) = default;

CNotSupportedException::~CNotSupportedException() = default;

CNotSupportedException* CNotSupportedException::Clone() const {
    return new CNotSupportedException(*this);
}

void CNotSupportedException::Throw() const {
    throw CNotSupportedException(*this);
}

} // namespace ZelCore
