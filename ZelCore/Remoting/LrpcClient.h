#pragma once

#include "ZelCore/Remoting/Remoting.h"

namespace ZelCore::Remoting {

/// The client's side of local remote procedure calls (protocol sequence "ncalrpc"). Derive from it and hand the binding
/// to the stubs that the IDL compiler made:
///
///     class CCounterClient final : public CLrpcClient {
///     public:
///         CCounterClient() : CLrpcClient(L"counter") {}
///         hyper Add(long value) {
///             CSEException::CSETranslatorSentry sentry(nullptr);   // failures of calls become CRpcException
///             return ::ClientCounterAdd(GetBinding(), value);
///         }
///     };
///
/// Any program of the computer can register an endpoint before the server does, under any user: what a client sends
/// then reaches that program, which may also impersonate the client. A client that sends secrets, believes what it is
/// told, or has more rights than others calls RpcBindingSetAuthInfoExW on the binding first: with the impersonation
/// level "identify", mutual authentication and the security identifier of the server's user (RPC_SECURITY_QOS_V3).
///
/// Stubs may be called from several threads at once.
class ZELCORE_API CLrpcClient {
public:
    CLrpcClient(const CLrpcClient&) = delete;
    CLrpcClient& operator=(const CLrpcClient&) = delete;
    /// Frees the binding. Calls that use it must be over.
    virtual ~CLrpcClient();

    /// Asks the server's side, and waits for its answer: false when it no longer listens, on some
    /// systems also where there is none. Throws CRpcException for other failures: 1722 where there is no server.
    bool IsServerListening();

protected:
    /// Does not contact the server. Throws CArgumentNullException or CArgumentException for "endpoint", CRpcException
    /// for a name that the runtime refuses.
    explicit CLrpcClient(const wchar_t* endpoint);

    /// The RPC_BINDING_HANDLE, borrowed; valid while the object lives.
    void* GetBinding() const noexcept {
        return m_binding.Get();
    }

private:
    CRpcBindingHandle m_binding;
};

} // namespace ZelCore::Remoting
