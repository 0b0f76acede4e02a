#include "ZelCore/Remoting/LrpcClient.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Remoting/RpcStatus.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Remoting {

CLrpcClient::CLrpcClient(const wchar_t* endpoint) {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcClient::CLrpcClient";
    CheckNotEmpty(endpoint, L"endpoint", ZEL_SITE(method));
    CRpcString text;
    CheckRpc(::RpcStringBindingComposeW(nullptr, ToRpc(ProtocolSequence), nullptr, ToRpc(endpoint), nullptr, &text),
             ZEL_SITE(method));
    CheckRpc(::RpcBindingFromStringBindingW(ToRpc(text.Get()), &m_binding), ZEL_SITE(method));
}

CLrpcClient::~CLrpcClient() = default;

bool CLrpcClient::IsServerListening() {
    const RPC_STATUS status = ::RpcMgmtIsServerListening(m_binding.Get());
    if (status != RPC_S_NOT_LISTENING) {
        CheckRpc(status, ZEL_SITE(L"ZelCore::Remoting::CLrpcClient::IsServerListening"));
    }
    return status == RPC_S_OK;
}

} // namespace ZelCore::Remoting
