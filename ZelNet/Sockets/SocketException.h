#pragma once

#include "ZelWin32/Win32Exception.h"

/// Socket errors.
namespace ZelNet::Sockets {

/// A Winsock call failed. The code is the socket error, for example 11001 for an unknown host.
class ZELCORE_API CSocketException : public ZelWin32::CWin32Exception {
public:
    /// \param error   as WSAGetLastError returns it
    /// \param message what was attempted; may be null
    /// \param method,file,line  the throw site, see ZEL_SITE
    CSocketException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CSocketException(const CSocketException&);
    ~CSocketException() override;
    ///@}

    CSocketException* Clone() const override;
    [[noreturn]] void Throw() const override;
};

} // namespace ZelNet::Sockets
