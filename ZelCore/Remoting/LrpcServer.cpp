#include "ZelCore/Remoting/LrpcServer.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/Remoting/Remoting.h"
#include "ZelCore/Remoting/RpcStatus.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/CriticalSection.h"
#include "ZelWin32/ProcessEnd.h"
#include "ZelWin32/SEException.h"

#include <atomic>
#include <cwchar>
#include <exception>
#include <map>
#include <mutex>
#include <new>

namespace ZelCore::Remoting {

using Diagnostics::CTraceSource;
using Diagnostics::TraceEventType;
using Guard = std::lock_guard<ZelWin32::CCriticalSection>;

namespace {

constexpr unsigned MostCallsPerEndpoint = 10;
constexpr unsigned MinimumCallThreads = 1;

struct Endpoint {
    CLrpcServer* server; ///< null when it is about to be destroyed
    int authenticating;  ///< number of callbacks that are using the server
};

using Endpoints = std::map<std::wstring, Endpoint>;

/// State shared by all servers of the process. It is never destroyed, because the runtime's threads outlive static
/// objects.
struct Process {
    /// Serializes Listen and Shutdown, including the waiting.
    ZelWin32::CCriticalSection lifecycle;
    /// Guards only the endpoints and is held briefly: callbacks need it while another thread waits for their calls.
    ZelWin32::CCriticalSection lock;
    Endpoints endpoints;
    std::map<void*, unsigned> interfaces;
    unsigned listening = 0;
};

Process& GetProcess() {
    static Process& process = *new Process;
    return process;
}

CTraceSource& GetTrace() {
    static CTraceSource& trace = *new CTraceSource(L"ZelCore.Remoting");
    return trace;
}

/// A failure of tracing must not stop the server.
void Trace(const wchar_t* method, int line, TraceEventType type, const wchar_t* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    try {
        GetTrace().TraceEventV(method, L"" __FILE__, line, type, format, arguments);
    } catch (...) { // listeners may throw anything
    }
    va_end(arguments);
}

#define ZEL_TRACE_REMOTING(method, type, ...) Trace(method, __LINE__, TraceEventType::type, __VA_ARGS__)

[[noreturn]] void ThrowNoListener() {
    // Site: a step of the method.
    throw CInvalidOperationException(L"No listener matches the binding information",
                                     ZEL_SITE(L"ZelCore::Remoting::CLrpcServer::GetServerInstanceFromBinding"));
}

/// Returns the name of the endpoint at which a call arrived.
std::wstring GetEndpoint(void* binding) {
    // Site: a step of the method.
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::GetServerInstanceFromBinding";
    CheckNotNull(binding, L"binding", ZEL_SITE(method));
    CRpcString text, sequence, endpoint;
    CheckRpc(::RpcBindingToStringBindingW(binding, &text), ZEL_SITE(method));
    CheckRpc(::RpcStringBindingParseW(ToRpc(text.Get()), nullptr, &sequence, nullptr, &endpoint, nullptr),
             ZEL_SITE(method));
    // The runtime also serves endpoints that the host program opened itself, for example to the network.
    if (sequence.Get() == nullptr || ::_wcsicmp(sequence.Get(), ProtocolSequence) != 0) {
        ThrowNoListener();
    }
    return endpoint.Get() != nullptr ? endpoint.Get() : L"";
}

Endpoints::iterator FindEndpoint(const std::wstring& name) {
    const auto found = GetProcess().endpoints.find(name);
    if (found == GetProcess().endpoints.end() || found->second.server == nullptr) {
        ThrowNoListener();
    }
    return found;
}

/// Waits for the runtime on behalf of several threads, because the runtime rejects a second wait.
class RuntimeWait {
public:
    /// Like RpcMgmtWaitServerListen. Also succeeds if another thread's wait was shared and the process no longer
    /// listens after it.
    RPC_STATUS Wait() noexcept {
        bool shared = false;
        ::AcquireSRWLockExclusive(&m_lock);
        for (; m_waiting; shared = true) {
            ::SleepConditionVariableSRW(&m_over, &m_lock, INFINITE, 0);
        }
        m_waiting = true;
        ::ReleaseSRWLockExclusive(&m_lock);
        const RPC_STATUS status = ::RpcMgmtWaitServerListen();
        ::AcquireSRWLockExclusive(&m_lock);
        m_waiting = false;
        ::ReleaseSRWLockExclusive(&m_lock);
        ::WakeAllConditionVariable(&m_over);
        return shared && status == RPC_S_NOT_LISTENING ? RPC_S_OK : status;
    }

private:
    SRWLOCK m_lock = SRWLOCK_INIT;
    CONDITION_VARIABLE m_over = CONDITION_VARIABLE_INIT;
    bool m_waiting = false;
};

constinit RuntimeWait g_runtimeWait;

/// Keeps a server alive while a callback uses it.
class PinnedServer {
public:
    explicit PinnedServer(void* binding) : m_name(GetEndpoint(binding)) {
        const Guard guard(GetProcess().lock);
        Endpoint& endpoint = FindEndpoint(m_name)->second;
        ++endpoint.authenticating;
        m_server = endpoint.server;
    }
    PinnedServer(const PinnedServer&) = delete;
    PinnedServer& operator=(const PinnedServer&) = delete;
    ~PinnedServer() {
        const Guard guard(GetProcess().lock);
        --GetProcess().endpoints.at(m_name).authenticating;
    }
    CLrpcServer* operator->() const noexcept {
        return m_server;
    }

private:
    std::wstring m_name;
    CLrpcServer* m_server;
};

/// Opens the token of the caller. On failure it is empty, with the last error of the step that failed.
void OpenClientToken(void* binding, ATL::CAccessToken& token) {
    RPC_STATUS status = ::RpcImpersonateClient(binding);
    if (status != RPC_S_OK) {
        ::SetLastError(static_cast<DWORD>(status));
        return;
    }
    HANDLE handle = nullptr;
    const BOOL opened = ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, &handle);
    const DWORD error = ::GetLastError();
    status = ::RpcRevertToSelfEx(binding);
    if (opened) {
        token.Attach(handle);
    }
    if (status != RPC_S_OK) { // a thread that cannot revert must not serve calls
        ::RevertToSelf();
        token.Attach(nullptr);
    }
    ::SetLastError(!opened ? error : static_cast<DWORD>(status));
}

} // namespace

class CLrpcServer::impl {
public:
    impl(const wchar_t* endpoint, void* serverIf, const void* managerEpv)
        : m_endpoint(endpoint != nullptr ? endpoint : L""), m_interface(serverIf), m_managerEpv(managerEpv) {
        const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::impl";
        CheckNotEmpty(endpoint, L"endpoint", ZEL_SITE(method));
        CheckNotNull(serverIf, L"serverIf", ZEL_SITE(method));
    }

    const std::wstring& GetEndpoint() const noexcept {
        return m_endpoint;
    }
    void Listen(CLrpcServer* server);
    void Shutdown();
    static bool ListeningStopped();
    static RPC_STATUS RPC_ENTRY Authenticate(RPC_IF_HANDLE interfaceHandle, void* binding);

private:
    void RegisterRpcInterface();
    void UnregisterRpcInterface();
    static void StartRpcListening();
    static void StopRpcListening();
    void RemoveEndpoint();
    void BeginToListen(CLrpcServer* server);

    std::wstring m_endpoint;
    void* m_interface;
    const void* m_managerEpv;
    /// Guarded by the lock of the lifecycle.
    bool m_listening = false;
    /// Whether nothing of the server is registered or about to be registered. An idle server takes no lock when it is
    /// destroyed: it may be destroyed in a call for whose end another thread waits in Shutdown.
    std::atomic<bool> m_idle{true};
};

void CLrpcServer::impl::Listen(CLrpcServer* server) {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::Listen";
    GetTrace().GetSourceSwitch(); // an invalid configuration is reported before anything changes
    const Guard lifecycle(GetProcess().lifecycle);
    if (m_listening) {
        return;
    }
    m_idle = false;
    try {
        BeginToListen(server);
    } catch (...) {
        m_idle = true;
        throw;
    }
    m_listening = true;
    ZEL_TRACE_REMOTING(method, Verbose, L"Listening.");
}

void CLrpcServer::impl::BeginToListen(CLrpcServer* server) {
    // Site: does the work of the method.
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::Listen";
    const RPC_STATUS status =
        ::RpcServerUseProtseqEpW(ToRpc(ProtocolSequence), MostCallsPerEndpoint, ToRpc(m_endpoint.c_str()), nullptr);
    if (status != RPC_S_OK && status != RPC_S_DUPLICATE_ENDPOINT) {
        ZEL_TRACE_REMOTING(method, Error, L"Cannot register endpoint '%s'. Error %d.", m_endpoint.c_str(), status);
        throw CRpcException(status, ZEL_SITE(method));
    }
    ZEL_TRACE_REMOTING(method, Verbose, L"Protocol sequence registered.");
    Endpoints own; // nothing may fail for lack of memory once the runtime listens
    own.try_emplace(m_endpoint, Endpoint{server, 0});
    RegisterRpcInterface();
    try {
        StartRpcListening();
    } catch (...) {
        try {
            UnregisterRpcInterface(); // the next attempt starts from the beginning
        } catch (...) {               // only the first failure is reported
        }
        throw;
    }
    const Guard guard(GetProcess().lock);
    if (!GetProcess().endpoints.insert(own.extract(own.begin())).inserted) {
        throw CInvalidOperationException(L"Attempt to create a duplicate server", ZEL_SITE(method));
    }
}

void CLrpcServer::impl::Shutdown() {
    if (m_idle) {
        return;
    }
    if (ZelWin32::IsProcessEnding()) { // the threads of the calls in progress have ended
        m_listening = false;
        m_idle = true;
        return;
    }
    const Guard lifecycle(GetProcess().lifecycle);
    if (!m_listening) {
        return;
    }
    m_listening = false;
    RemoveEndpoint();
    std::exception_ptr failure;
    try {
        StopRpcListening();
    } catch (...) { // the interface must be released nevertheless
        failure = std::current_exception();
    }
    try {
        UnregisterRpcInterface();
    } catch (...) {
        failure = failure ? failure : std::current_exception();
    }
    m_idle = true; // last, because another thread that destroys this server waits until nothing uses it
    if (failure) {
        std::rethrow_exception(failure);
    }
}

/// Afterwards no callback finds the server, and none is using it.
void CLrpcServer::impl::RemoveEndpoint() {
    Process& process = GetProcess();
    for (;; ::Sleep(1)) {
        const Guard guard(process.lock);
        const auto found = process.endpoints.find(m_endpoint);
        if (found == process.endpoints.end()) {
            return;
        }
        found->second.server = nullptr;
        if (found->second.authenticating == 0) {
            process.endpoints.erase(found);
            return;
        }
    }
}

void CLrpcServer::impl::RegisterRpcInterface() {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::RegisterRpcInterface";
    auto& interfaces = GetProcess().interfaces;
    if (++interfaces[m_interface] > 1) {
        return;
    }
    const RPC_STATUS status =
        ::RpcServerRegisterIf2(m_interface, nullptr, const_cast<void*>(m_managerEpv), 0, 0, 0, &Authenticate);
    if (status != RPC_S_OK && status != RPC_S_TYPE_ALREADY_REGISTERED) {
        interfaces.erase(m_interface);
        throw CRpcException(status, ZEL_SITE(method));
    }
    ZEL_TRACE_REMOTING(method, Verbose, L"Interface registered.");
}

void CLrpcServer::impl::UnregisterRpcInterface() {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::UnregisterRpcInterface";
    auto& interfaces = GetProcess().interfaces;
    const auto found = interfaces.find(m_interface);
    if (found == interfaces.end()) {
        // Unreached: every caller has registered the interface.
        throw CInvalidOperationException(nullptr, ZEL_SITE(method));
    }
    if (--found->second == 0) {
        interfaces.erase(found);
        ZEL_TRACE_REMOTING(method, Verbose, L"Unregistering interface.");
        CheckRpc(::RpcServerUnregisterIf(m_interface, nullptr, 0), ZEL_SITE(method));
    }
}

void CLrpcServer::impl::StartRpcListening() {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::StartRpcListening";
    unsigned& listening = GetProcess().listening;
    if (++listening == 1) {
        const RPC_STATUS status = ::RpcServerListen(MinimumCallThreads, RPC_C_LISTEN_MAX_CALLS_DEFAULT, TRUE);
        if (status != RPC_S_OK) {
            --listening;
            throw CRpcException(status, ZEL_SITE(method));
        }
        return;
    }
    const RPC_STATUS status = ::RpcMgmtIsServerListening(nullptr);
    if (status != RPC_S_OK) {
        --listening;
        const RPC_STATUS stopped = ::RpcMgmtStopServerListening(nullptr);
        if (stopped != RPC_S_OK) {
            ZEL_TRACE_REMOTING(method, Error, L"RpcMgmtStopServerListening failed: %ld.", stopped);
        }
        throw CRpcException(status, ZEL_SITE(method));
    }
}

void CLrpcServer::impl::StopRpcListening() {
    unsigned& listening = GetProcess().listening;
    if (listening != 0 && --listening == 0) {
        CheckRpc(::RpcMgmtStopServerListening(nullptr),
                 ZEL_SITE(L"ZelCore::Remoting::CLrpcServer::impl::StopRpcListening"));
        ListeningStopped();
    }
}

bool CLrpcServer::impl::ListeningStopped() {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::ListeningStopped";
    ZEL_TRACE_REMOTING(method, Verbose, L"Waiting for active RPC calls to complete.");
    const RPC_STATUS status = g_runtimeWait.Wait();
    if (status == RPC_S_NOT_LISTENING) {
        ZEL_TRACE_REMOTING(method, Warning, L"Server already stopped. No need to wait.");
        return false;
    }
    CheckRpc(status, ZEL_SITE(method));
    return true;
}

RPC_STATUS RPC_ENTRY CLrpcServer::impl::Authenticate(RPC_IF_HANDLE, void* binding) {
    const wchar_t* const method = L"ZelCore::Remoting::CLrpcServer::impl::Authenticate";
    try {
        // A structured exception raised here would skip the clean-up: it is translated into a C++ exception.
        const ZelWin32::CSEException::CSETranslatorSentry sentry(nullptr);
        ATL::CAccessToken token;
        OpenClientToken(binding, token);
        const DWORD error = ::GetLastError();
        if (token.GetHandle() == nullptr) {
            ZEL_TRACE_REMOTING(method, Error, L"Failed to open RPC client token: %lu.", error);
            return ERROR_ACCESS_DENIED;
        }
        const PinnedServer server(binding);
        const bool authorized = server->AuthorizeClient(token);
        // The thread is reused for other work, which must not be done as the caller's user.
        return ::RevertToSelf() && authorized ? RPC_S_OK : ERROR_ACCESS_DENIED;
    } catch (const CException& e) {
        ::RevertToSelf(); // if impersonation was not ended
        ZEL_TRACE_REMOTING(method, Error, L"Failed to authenticate RPC client: %s.", e.GetErrorMessage());
    } catch (const std::bad_alloc&) {
        ::RevertToSelf();
        ZEL_TRACE_REMOTING(method, Error, L"Failed to authenticate RPC client: %s.", L"out of memory");
    } catch (...) {
        ::RevertToSelf();
        throw;
    }
    return ERROR_ACCESS_DENIED;
}

CLrpcServer::CLrpcServer(const wchar_t* const endpoint, void* serverIf, const void* managerEpv)
    : m_impl(std::make_unique<impl>(endpoint, serverIf, managerEpv)) {}

CLrpcServer::~CLrpcServer() {
    try {
        m_impl->Shutdown();
    } catch (...) { // a destructor cannot report it
    }
}

void CLrpcServer::Listen() {
    m_impl->Listen(this);
}

void CLrpcServer::Shutdown() {
    m_impl->Shutdown();
}

bool CLrpcServer::ListeningStopped() {
    return impl::ListeningStopped();
}

const std::wstring& CLrpcServer::GetEndpointName() const {
    return m_impl->GetEndpoint();
}

CLrpcServer* CLrpcServer::GetServerInstanceFromBinding(void* binding) {
    const std::wstring name = GetEndpoint(binding);
    const Guard guard(GetProcess().lock);
    return FindEndpoint(name)->second.server;
}

} // namespace ZelCore::Remoting
