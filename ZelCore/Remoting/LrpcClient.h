#pragma once

#include "ZelCore/Remoting/Remoting.h"

namespace ZelCore::Remoting {

/// The client's side of local remote procedure calls (protocol sequence "ncalrpc"). Derive from it and hand the binding
/// to the stubs that the IDL compiler made:
///
///     class CCounterClient final : public CLrpcClient {
///     public:
///         CCounterClient() : CLrpcClient(L"counter") {}
///         long Add(long value) {
///             CSEException::CSETranslatorSentry sentry(nullptr);   // failures of calls become CRpcException
///             return ::Counter_Add(GetBinding(), value);
///         }
///     };
///
/// Stubs may be called from several threads at once.
class ZELCORE_API CLrpcClient {
public:
    CLrpcClient(const CLrpcClient&) = delete;
    CLrpcClient& operator=(const CLrpcClient&) = delete;
    virtual ~CLrpcClient();

    /// Asks the server's side. Throws CRpcException.
    bool IsServerListening();

protected:
    /// Does not contact the server. Throws CArgumentNullException or CArgumentException for "endpoint", CRpcException
    /// for a name that the runtime refuses.
    explicit CLrpcClient(const wchar_t* endpoint);

    /// The RPC_BINDING_HANDLE, borrowed.
    void* GetBinding() const noexcept {
        return m_binding.Get();
    }

private:
    CRpcBindingHandle m_binding;
};

} // namespace ZelCore::Remoting
