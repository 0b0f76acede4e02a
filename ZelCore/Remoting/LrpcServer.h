#pragma once

#include "ZelCore/Remoting/AccessToken.h"

#include <memory>
#include <string>

/// Servers and clients of local remote procedure calls.
namespace ZelCore::Remoting {

/// The server's side of local remote procedure calls (protocol sequence "ncalrpc"). Derive from it, hand over the
/// interface that the IDL compiler made, and decide who may call:
///
///     class CCounterServer final : public CLrpcServer {
///     public:
///         CCounterServer() : CLrpcServer(L"counter", Counter_v1_0_s_ifspec, nullptr) {}
///         ~CCounterServer() override {
///             try {
///                 Shutdown();                // while AuthorizeClient is still there
///             } catch (const CException&) {  // a destructor has nobody to tell
///             }
///         }
///     protected:
///         bool AuthorizeClient(const ATL::CAccessToken& caller) override {
///             return caller.GetUserSid() == CEnvironment::GetUserSid();
///         }
///     };
///
/// A process may have several servers, each with its endpoint; they may share an interface, which keeps the first
/// one's entry-point vector. The runtime takes calls of every interface at every endpoint of the process, and the
/// server of the endpoint is asked: where servers of one process have different rules, the functions have to look which
/// server it is, by GetServerInstanceFromBinding, which a derived class can make public. Callers that come by another
/// protocol, at an endpoint that the program opened by itself, are refused.
///
/// The runtime may remember that a caller was authorised, and not ask again for later calls of the same client: a rule
/// that changes with time has to be applied in the functions of the interface.
///
/// Listen and Shutdown may be called from any thread, but not from within a call or AuthorizeClient, for which Shutdown
/// waits. A server that does not listen may end anywhere. What servers do is traced by the source "ZelCore.Remoting".
class ZELCORE_API CLrpcServer {
public:
    CLrpcServer(const CLrpcServer&) = delete;
    CLrpcServer& operator=(const CLrpcServer&) = delete;

    /// Ends a server that is still listening, as well as it can: derived destructors call Shutdown.
    virtual ~CLrpcServer();

protected:
    /// Decides whether a caller is served. Called on the runtime's threads, by several at once; what it throws of the
    /// exception family, and std::bad_alloc, refuses the call; it must not throw anything else. It may be called once
    /// for several calls of a client. If it returns while the thread impersonates somebody, the thread is reverted.
    ///
    /// \param clientToken the caller's, borrowed for the call
    virtual bool AuthorizeClient(const ATL::CAccessToken& clientToken) = 0;

public:
    /// Begins to serve; does nothing while the server is listening.
    ///
    /// The endpoint is registered with 10 calls, which the runtime takes for a hint and not for a limit: many more may
    /// run at once, and the functions of the interface have to bear that. A name that another process has registered
    /// already does not make this fail (status 1740 is a success): clients then reach that process.
    ///
    /// Throws CRpcException, what a broken trace configuration throws, and CInvalidOperationException where the process
    /// has a listening server of the same endpoint: its interface then stays registered and the process listening.
    /// After any other failure the interface is registered no longer.
    void Listen();

    /// Ends serving; does nothing unless the server is listening. The last server of the process waits for the calls
    /// in progress. Whatever it throws (CRpcException), the server no longer listens and its interface is released;
    /// where the runtime did not stop, the process goes on listening, and the next Listen throws. While one thread
    /// waits, here or in ListeningStopped, others share its wait. Where the program itself calls
    /// RpcMgmtWaitServerListen at the same time, the system refuses the second wait with 1713.
    void Shutdown();

    /// Waits until the process no longer listens and all calls have ended; false where it did not listen. Several
    /// threads may wait. Throws CRpcException.
    bool ListeningStopped();

    /// The name that the server was made with. Valid while it lives.
    const std::wstring& GetEndpointName() const;

protected:
    /// Registers nothing yet. Throws CArgumentNullException or CArgumentException for "endpoint",
    /// CArgumentNullException for "serverIf".
    ///
    /// \param endpoint   the name by which clients find the server on this computer
    /// \param serverIf   the interface's RPC_IF_HANDLE
    /// \param managerEpv its entry-point vector; null for the default one
    CLrpcServer(const wchar_t* const endpoint, void* serverIf, const void* managerEpv);

    /// The server at whose endpoint a call arrived; valid while it listens. Throws CArgumentNullException for
    /// "binding", CRpcException, and CInvalidOperationException where none listens there.
    static CLrpcServer* GetServerInstanceFromBinding(void* binding);

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Remoting
