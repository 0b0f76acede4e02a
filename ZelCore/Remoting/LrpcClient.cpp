#include "ZelCore/Remoting/LrpcClient.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Remoting/RpcException.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/Windows.h"

#include <rpc.h>

namespace ZelCore::Remoting {

namespace {

RPC_WSTR ToRpc(const wchar_t* text) {
    return reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(text));
}

void Check(RPC_STATUS status, const wchar_t* method, const wchar_t* file, int line) {
    if (status != RPC_S_OK) {
        throw CRpcException(status, method, file, line);
    }
}

} // namespace

CLrpcClient::CLrpcClient(const wchar_t* endpoint) {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcClient::CLrpcClient";
    CheckNotEmpty(endpoint, L"endpoint", ZEL_SITE(method));
    CRpcString text;
    Check(::RpcStringBindingComposeW(nullptr, ToRpc(L"ncalrpc"), nullptr, ToRpc(endpoint), nullptr,
                                     reinterpret_cast<RPC_WSTR*>(&text)),
          ZEL_SITE(method));
    Check(::RpcBindingFromStringBindingW(ToRpc(text.Get()), &m_binding), ZEL_SITE(method));
}

CLrpcClient::~CLrpcClient() = default;

bool CLrpcClient::IsServerListening() {
    const RPC_STATUS status = ::RpcMgmtIsServerListening(m_binding.Get());
    if (status != RPC_S_NOT_LISTENING) {
        Check(status, ZEL_SITE(L"ZelCore::Remoting::CLrpcClient::IsServerListening"));
    }
    return status == RPC_S_OK;
}

} // namespace ZelCore::Remoting
