#include "ZelNet/Sockets/SocketException.h"

namespace ZelNet::Sockets {

CSocketException::CSocketException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file,
                                   int line)
    : CWin32Exception(static_cast<unsigned long>(error), message, method, file, line) {}

CSocketException::CSocketException(const CSocketException&) = default;

CSocketException::~CSocketException() = default;

CSocketException* CSocketException::Clone() const {
    return new CSocketException(*this);
}

void CSocketException::Throw() const {
    throw CSocketException(*this);
}

} // namespace ZelNet::Sockets
