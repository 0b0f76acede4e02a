#pragma once

#include "ZelWin32/Win32Exception.h"

namespace ZelNet::Sockets {

/// A Winsock call failed. The code is the socket error, such as 11001 for an unknown host.
class ZELCORE_API CSocketException : public ZelWin32::CWin32Exception {
public:
    CSocketException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    CSocketException(const CSocketException&);
    ~CSocketException() override;

    CSocketException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelNet::Sockets
