#include "ZelCore/FormatException.h"

namespace ZelCore {

CFormatException::CFormatException(const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : CException(static_cast<int>(0x80131537u), message, method, file, line) {}

CFormatException::CFormatException(const CFormatException&) = default;

CFormatException::~CFormatException() = default;

CFormatException* CFormatException::Clone() const {
    return new CFormatException(*this);
}

void CFormatException::Throw() const {
    throw CFormatException(*this);
}

} // namespace ZelCore
