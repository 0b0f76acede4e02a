#include "ZelCore/IO/IOException.h"

#include "ZelCore/String.h"

namespace ZelCore::IO {

CIOException::CIOException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : CException(error, CString::Format(L"%s: '%d'", message != nullptr ? message : L"", error).c_str(), method, file,
                 line) {}

CIOException::CIOException(const CIOException&) = default;

CIOException::~CIOException() = default;

CIOException* CIOException::Clone() const {
    return new CIOException(*this);
}

void CIOException::Throw() const {
    throw CIOException(*this);
}

int CIOException::GetError() const noexcept {
    return CException::GetError();
}

} // namespace ZelCore::IO
