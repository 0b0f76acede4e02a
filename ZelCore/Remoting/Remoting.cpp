#include "ZelCore/Remoting/Remoting.h"

#include "ZelWin32/Windows.h"

#include <rpc.h>

namespace ZelCore::Remoting {

CRpcString::~CRpcString() {
    if (m_string != nullptr) {
        ::RpcStringFreeW(&m_string);
    }
}

CRpcBindingHandle::~CRpcBindingHandle() {
    if (m_binding != nullptr) {
        ::RpcBindingFree(&m_binding);
    }
}

} // namespace ZelCore::Remoting
