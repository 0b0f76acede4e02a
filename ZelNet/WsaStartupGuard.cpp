#include "ZelNet/WsaStartupGuard.h"

#include "ZelCore/ThrowSite.h"
#include "ZelNet/Sockets/SocketException.h"
#include "ZelWin32/Windows.h"

namespace ZelNet {

CWsaStartupGuard::CWsaStartupGuard(int first, int second) : m_data(std::make_unique<WSADATA>()) {
    const int error = ::WSAStartup(static_cast<WORD>((first & 0xFF) << 8 | (second & 0xFF)), m_data.get());
    if (error != 0) {
        ::WSASetLastError(error); // the call does not set it
        throw Sockets::CSocketException(::WSAGetLastError(), nullptr,
                                        ZEL_SITE(L"ZelNet::CWsaStartupGuard::CWsaStartupGuard"));
    }
}

CWsaStartupGuard::~CWsaStartupGuard() {
    ::WSACleanup();
}

} // namespace ZelNet
