#include "Support/Test.h"

#include "Counter.h"

namespace {

std::atomic<hyper> g_counter{0};

struct Server final : CLrpcServer {
    explicit Server(const wchar_t* endpoint = L"ZelCoreTests", void* serverIf = Counter_v1_0_s_ifspec)
        : CLrpcServer(endpoint, serverIf, nullptr) {}
    ~Server() override {
        Shutdown();
    }
    bool AuthorizeClient(const ATL::CAccessToken& token) override {
        return authorize(token);
    }
    using CLrpcServer::GetServerInstanceFromBinding;
    std::function<bool(const ATL::CAccessToken&)> authorize = [](const ATL::CAccessToken&) { return true; };
};

struct Client final : CLrpcClient {
    explicit Client(const wchar_t* endpoint = L"ZelCoreTests") : CLrpcClient(endpoint) {}
    hyper Add(long value) {
        const CSEException::CSETranslatorSentry sentry(nullptr);
        return ::ClientCounterAdd(GetBinding(), value);
    }
    using CLrpcClient::GetBinding;
};

RPC_IF_CALLBACK_FN* s_callback = nullptr;

/// Stores the security callback, which the test calls like the runtime, because some emulations never call it.
struct CapturedCallback {
    const ImportHook hook{"RpcServerRegisterIf2",
                          [](RPC_IF_HANDLE interfaceHandle, UUID* type, RPC_MGR_EPV* epv, unsigned flags,
                             unsigned calls, unsigned size, RPC_IF_CALLBACK_FN* callback) -> RPC_STATUS {
                              EXPECT_TRUE(type == nullptr && flags == 0 && calls == 0 && size == 0);
                              s_callback = callback;
                              return ::RpcServerRegisterIf2(interfaceHandle, type, epv, flags, calls, size, nullptr);
                          }};
};

RPC_STATUS s_impersonation = 0, s_reverting = 0;

/// Impersonates the process's own user, or fails in one of the two steps.
struct Impersonation {
    const ImportHook impersonate{"RpcImpersonateClient", [](RPC_BINDING_HANDLE) {
                                     if (s_impersonation == 1722) {
                                         ::RpcRaiseException(s_impersonation);
                                     }
                                     return s_impersonation == 0 && !::ImpersonateSelf(SecurityImpersonation)
                                                ? RPC_STATUS{1}
                                                : s_impersonation;
                                 }};
    const ImportHook revert{"RpcRevertToSelfEx", [](RPC_BINDING_HANDLE) {
                                return s_reverting == 0 && !::RevertToSelf() ? RPC_STATUS{1} : s_reverting;
                            }};
};

/// Creates a binding, for which no server need exist.
void Bind(const wchar_t* sequence, const wchar_t* endpoint, CRpcBindingHandle& binding) {
    const auto text = [](const wchar_t* t) { return reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(t)); };
    CRpcString whole;
    EXPECT_EQ(::RpcStringBindingComposeW(nullptr, text(sequence), text(L"127.0.0.1"), text(endpoint), nullptr, &whole),
              RPC_S_OK);
    EXPECT_EQ(::RpcBindingFromStringBindingW(text(whole.Get()), &binding), RPC_S_OK);
}

bool IsImpersonating() {
    HANDLE token = nullptr;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, &token) && ::CloseHandle(token);
}

} // namespace

hyper CounterAdd(handle_t, long value) {
    return g_counter += value;
}
void CounterFinish(handle_t) {}
TEST(Lrpc, ServesCallsWhileItListens) {
    // Each client is destroyed before its server, because some emulations keep a broken association while a binding
    // lives.
    EXPECT_FALSE(Client().IsServerListening());
    ExpectThrow<CRpcException>([&] { Client().Add(1); });
    Server server, other(L"ZelCoreTests.Other");
    EXPECT_EQ(server.GetEndpointName(), L"ZelCoreTests");
    EXPECT_FALSE(server.ListeningStopped());
    Balance interfaces, listening;
    interfaces.Count<&::RpcServerUnregisterIf>("RpcServerUnregisterIf", -1);
    listening.Count<&::RpcServerListen>("RpcServerListen", 1)
        .Count<&::RpcMgmtStopServerListening>("RpcMgmtStopServerListening", -1);
    const CapturedCallback registration;
    for (int round = 0; round < 3; ++round) {
        server.Listen();
        server.Listen();
        other.Listen();
        const hyper before = g_counter;
        {
            Client client;
            EXPECT_TRUE(client.IsServerListening());
            EXPECT_EQ(client.Add(5), before + 5);
            EXPECT_EQ(Client(L"ZelCoreTests.Other").Add(1), before + 6);
            EXPECT_EQ(Server::GetServerInstanceFromBinding(client.GetBinding()), &server);
        }
        server.Shutdown();
        server.Shutdown();
        EXPECT_EQ(interfaces.Get(), -round) << "the other one uses the interface";
        EXPECT_EQ(listening.Get(), 1);
        ExpectInvalid(L"No listener matches the binding information",
                      [&] { Server::GetServerInstanceFromBinding(Client().GetBinding()); });
        EXPECT_EQ(Client(L"ZelCoreTests.Other").Add(1), before + 7);
        other.Shutdown();
        EXPECT_EQ(interfaces.Get(), -round - 1);
        EXPECT_EQ(listening.Get(), 0);
    }
    EXPECT_FALSE(Client().IsServerListening());
    // Another interface is counted separately, and the first one keeps listening.
    RPC_SERVER_INTERFACE second = *static_cast<RPC_SERVER_INTERFACE*>(Counter_v1_0_s_ifspec);
    ++second.InterfaceId.SyntaxGUID.Data1;
    Server third(L"ZelCoreTests.Third", &second);
    server.Listen();
    third.Listen();
    const int before = interfaces.Get();
    third.Shutdown();
    EXPECT_EQ(interfaces.Get(), before - 1);
    EXPECT_NO_THROW(Client().Add(1));
    server.Shutdown();
    EXPECT_EQ(interfaces.Get(), before - 2);
    std::make_unique<Server>()->Listen(); // destroyed while listening
    EXPECT_EQ(listening.Get(), 0);
    ExpectNull(L"binding", [] { Server::GetServerInstanceFromBinding(nullptr); });
    ExpectNull(L"endpoint", [] { Client(nullptr); }, {.method = L"CLrpcClient::CLrpcClient"});
    ExpectArgument(L"endpoint", [] { Client(L""); });
    ExpectNull(L"endpoint", [] { Server(nullptr); }, {.method = L"CLrpcServer::impl::impl"});
    ExpectArgument(L"endpoint", [] { Server(L""); });
    ExpectNull(L"serverIf", [] { Server(L"x", nullptr); }, {.method = L"CLrpcServer::impl::impl"});
}

TEST(Lrpc, AuthenticatesByTheCallersToken) {
    const CapturedCallback registration;
    const Impersonation impersonation;
    const std::vector<unsigned char> user = CEnvironment::GetUserSid();
    Balance tokens;
    tokens.Count<&::OpenThreadToken>("OpenThreadToken", 1).Count<&::CloseHandle>("CloseHandle", -1);
    Server server;
    server.Listen();
    Client client, nowhere(L"ZelCoreTests.Nowhere");
    server.authorize = [&](const ATL::CAccessToken& token) {
        EXPECT_FALSE(IsImpersonating());
        EXPECT_FALSE(token.GetUserAndDomain().empty());
        return token.GetUserSid() == user;
    };
    const auto call = [](void* binding) {
        const RPC_STATUS status = s_callback(Counter_v1_0_s_ifspec, binding);
        EXPECT_FALSE(IsImpersonating());
        return status;
    };
    EXPECT_EQ(call(client.GetBinding()), RPC_S_OK);
    for (const RPC_STATUS failure : {1701, 1722}) { // returned, raised
        s_impersonation = failure;
        EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    }
    s_impersonation = 0, s_reverting = 1702;
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED) << "who cannot go back serves nobody";
    s_reverting = 0;
    FailingCalls calls({"OpenThreadToken", "RpcBindingToStringBindingW", "RpcStringBindingParseW"});
    for (const int n : {1, 2, 3}) {
        calls.FailOn(n);
        EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    }
    calls.FailOn(0);
    EXPECT_EQ(call(nowhere.GetBinding()), ERROR_ACCESS_DENIED) << "no such server";
    server.authorize = [](const ATL::CAccessToken&) { return false; };
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    server.authorize = [](const ATL::CAccessToken&) -> bool { throw CFormatException(L"no", L"", nullptr, 0); };
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    server.authorize = [](const ATL::CAccessToken&) -> bool { ::RpcRaiseException(5); };
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED) << "raised, not thrown";
    server.authorize = [](const ATL::CAccessToken&) -> bool { throw std::bad_alloc(); };
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    // A callback that still impersonates the caller is reverted, however it ends, or the call is rejected.
    const auto impersonating = [&](const std::function<bool()>& end) {
        server.authorize = [end](const ATL::CAccessToken&) {
            EXPECT_TRUE(::ImpersonateSelf(SecurityImpersonation));
            return end();
        };
        return call(client.GetBinding());
    };
    EXPECT_EQ(impersonating([] { return true; }), RPC_S_OK);
    EXPECT_EQ(impersonating([] { return false; }), ERROR_ACCESS_DENIED);
    EXPECT_EQ(impersonating([]() -> bool { throw CFormatException(L"no", L"", nullptr, 0); }), ERROR_ACCESS_DENIED);
    EXPECT_EQ(impersonating([]() -> bool { throw std::bad_alloc(); }), ERROR_ACCESS_DENIED);
    EXPECT_THROW(impersonating([]() -> bool { throw 5; }), int) << "anything else is the server's own affair";
    EXPECT_FALSE(IsImpersonating());
    server.authorize = [](const ATL::CAccessToken&) { return true; };
    {
        const FailingCalls reverting("RevertToSelf");
        EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED);
    }
    FailingAllocations allocations;
    RPC_STATUS status = RPC_S_OK;
    Sweep<CException>(
        allocations, [&] { status = s_callback(Counter_v1_0_s_ifspec, client.GetBinding()); },
        [&](int, const CException*) {
            EXPECT_EQ(status, allocations.HasFailed() ? ERROR_ACCESS_DENIED : RPC_S_OK);
            EXPECT_FALSE(IsImpersonating());
        });
    // Shutdown waits for a caller that is being authenticated, and no thread waits forever.
    std::atomic<bool> inside{false}, leave{false}, ended{false};
    server.authorize = [&](const ATL::CAccessToken&) {
        inside = true;
        while (!leave) {
            ::Sleep(1);
        }
        EXPECT_FALSE(ended);
        return true;
    };
    std::jthread caller([&] { EXPECT_EQ(s_callback(Counter_v1_0_s_ifspec, client.GetBinding()), RPC_S_OK); });
    while (!inside) {
        ::Sleep(1);
    }
    std::jthread ending([&] {
        server.Shutdown();
        ended = true;
    });
    ::Sleep(50);
    EXPECT_EQ(call(client.GetBinding()), ERROR_ACCESS_DENIED) << "it is about to end";
    leave = true;
    caller.join(), ending.join();
    EXPECT_EQ(tokens.Get(), 0);
}

TEST(Lrpc, OtherProtocolsAreNotServed) {
    const CapturedCallback registration;
    const Impersonation impersonation;
    Server server(L"4711");
    server.Listen();
    CRpcBindingHandle local, network;
    Bind(L"ncalrpc", L"4711", local);
    Bind(L"ncacn_ip_tcp", L"4711", network);
    EXPECT_EQ(s_callback(Counter_v1_0_s_ifspec, local.Get()), RPC_S_OK);
    EXPECT_EQ(s_callback(Counter_v1_0_s_ifspec, network.Get()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Server::GetServerInstanceFromBinding(local.Get()), &server);
    ExpectInvalid(L"No listener matches the binding information",
                  [&] { Server::GetServerInstanceFromBinding(network.Get()); });
}

TEST(Lrpc, ThreadsShareTheWaitForCalls) {
    // As on Windows: only one thread may wait, and no wait ends before the calls. Some emulations differ in both.
    std::atomic<bool> waiting{false}, callsOver{false};
    const ImportHook runtime("RpcMgmtWaitServerListen", [&]() -> RPC_STATUS {
        if (waiting.exchange(true)) {
            return RPC_S_ALREADY_LISTENING;
        }
        const RPC_STATUS status = ::RpcMgmtWaitServerListen();
        while (status == RPC_S_OK && !callsOver) {
            ::Sleep(1);
        }
        waiting = false;
        return status;
    });
    for (const bool otherWaits : {false, true}) {
        callsOver = false;
        Server server;
        auto idle = std::make_unique<Server>(L"ZelCoreTests.Idle");
        server.Listen();
        std::atomic<int> ended{0};
        std::vector<std::jthread> threads;
        if (otherWaits) {
            threads.emplace_back([&] {
                EXPECT_TRUE(server.ListeningStopped());
                ++ended;
            });
            while (!waiting) {
                ::Sleep(1);
            }
        }
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&] {
                EXPECT_NO_THROW(server.Shutdown());
                ++ended;
            });
        }
        while (!waiting) {
            ::Sleep(1);
        }
        ::Sleep(50);
        EXPECT_EQ(ended, 0);
        // In a call for which all threads wait, a server that never listened is destroyed.
        std::atomic<bool> gone{false};
        threads.emplace_back([&] {
            idle->Shutdown();
            idle.reset();
            gone = true;
        });
        for (int wait = 0; wait < 300 && !gone; ++wait) {
            ::Sleep(10);
        }
        EXPECT_TRUE(gone);
        callsOver = true;
        threads.clear();
        EXPECT_FALSE(server.ListeningStopped());
    }
}

TEST(Lrpc, GroupsOfATokenAreTheSystemsAnswer) {
    const auto sid = [](WELL_KNOWN_SID_TYPE type) {
        std::vector<unsigned char> bytes(SECURITY_MAX_SID_SIZE);
        DWORD size = SECURITY_MAX_SID_SIZE;
        EXPECT_TRUE(::CreateWellKnownSid(type, nullptr, bytes.data(), &size));
        bytes.resize(size);
        return bytes;
    };
    const auto everybody = sid(WinWorldSid), nobody = sid(WinNullSid);
    const auto open = [](ATL::CAccessToken& token, DWORD access) {
        HANDLE handle = nullptr;
        EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), access, &handle));
        token.Attach(handle);
    };
    ATL::CAccessToken token, empty;
    open(token, TOKEN_QUERY | TOKEN_DUPLICATE);
    EXPECT_TRUE(token.IsMember(everybody));
    EXPECT_FALSE(token.IsMember(nobody));
    if (!IsWine()) {
        EXPECT_TRUE(token.IsMember(CEnvironment::GetUserSid())) << "which the emulation asks the groups for only";
    }
    auto longer = everybody, unknown = everybody;
    longer.push_back(0), unknown[0] = 9;
    for (const auto& none : {std::vector<unsigned char>(), {1, 2, 3}, longer, unknown}) {
        EXPECT_FALSE(token.IsMember(none));
    }
    ExpectError(ERROR_INVALID_HANDLE, [&] { empty.IsMember(everybody); }, {.method = L"CAccessToken::IsMember"});
    for (const BOOL answer : {TRUE, FALSE}) {
        const ImportHook asked("CheckTokenMembership", [&](HANDLE handle, PSID, BOOL* member) -> BOOL {
            EXPECT_EQ(handle, token.GetHandle());
            *member = answer;
            return TRUE;
        });
        EXPECT_EQ(token.IsMember(everybody), answer != FALSE);
    }
    FailingCalls calls({{"CheckTokenMembership", 0, ERROR_NO_IMPERSONATION_TOKEN}, "DuplicateToken"});
    calls.FailOn(1); // of a process
    EXPECT_TRUE(token.IsMember(everybody));
    FailingCalls failing({"CheckTokenMembership", "DuplicateToken"});
    for (const int n : {1, 2, 3}) {
        calls.FailOn(n == 1 ? 0 : 1);
        failing.FailOn(n);
        ExpectError(1450, [&] { token.IsMember(everybody); }, {.method = L"CAccessToken::IsMember"});
    }
}

TEST(Lrpc, TheRuntimeAsksTheServer) {
    if (IsWine()) {
        GTEST_SKIP() << "the emulated runtime never calls the security callback";
    }
    Server server;
    server.authorize = [](const ATL::CAccessToken& token) { return token.GetUserSid() == CEnvironment::GetUserSid(); };
    server.Listen();
    EXPECT_NO_THROW(Client().Add(1));
    server.authorize = [](const ATL::CAccessToken&) { return false; };
    ExpectThrow<CRpcException>([] { Client().Add(1); });
}

TEST(Lrpc, EveryFailingCallSurfacesAndLeavesNothing) {
    FailingCalls calls({"RpcServerUseProtseqEpW", "RpcServerRegisterIf2", "RpcServerListen", "RpcMgmtIsServerListening",
                        "RpcMgmtStopServerListening", "RpcMgmtWaitServerListen", "RpcServerUnregisterIf",
                        "RpcStringBindingComposeW", "RpcBindingFromStringBindingW"});
    // Listen and StartRpcListening occur once per server.
    const wchar_t* const methods[] = {L"Listen",           L"RegisterRpcInterface",  L"StartRpcListening",
                                      L"Listen",           L"StartRpcListening",     L"StopRpcListening",
                                      L"ListeningStopped", L"UnregisterRpcInterface"};
    std::optional<Server> first, second;
    const auto use = [&] {
        first.emplace(L"ZelCoreTests.1"), second.emplace(L"ZelCoreTests.2");
        first->Listen();
        second->Listen();
        second->Shutdown();
        first->Shutdown();
        Client client(L"ZelCoreTests.1");
        client.IsServerListening();
    };
    Sweep<CRpcException>(calls, use, [&](int n, const CRpcException* e) {
        if (e != nullptr) {
            EXPECT_EQ(e->GetError(), 1721);
            if (static_cast<std::size_t>(n) <= std::size(methods)) {
                EXPECT_TRUE(IsMethod(e->GetMethod(), std::wstring(L"CLrpcServer::impl::") + methods[n - 1])) << n;
            }
        }
        first->Shutdown(), second->Shutdown();
        ::RpcMgmtStopServerListening(nullptr); // in case the runtime was not stopped
        ::RpcMgmtWaitServerListen();
        EXPECT_NO_THROW(first->Listen());
        EXPECT_NO_THROW(Client(L"ZelCoreTests.1").Add(1));
        first->Shutdown();
    });
    FailingAllocations allocations;
    {
        // The interface is unregistered even if there is no memory to report why the runtime did not stop.
        Balance interfaces;
        interfaces.Count<&::RpcServerRegisterIf2>("RpcServerRegisterIf2", 1)
            .Count<&::RpcServerUnregisterIf>("RpcServerUnregisterIf", -1);
        int withoutMemory = 0;
        for (int n = 1; n < 6; ++n) {
            first->Listen();
            EXPECT_EQ(interfaces.Get(), 1);
            FailingCalls stop("RpcMgmtStopServerListening");
            allocations.FailOn(n);
            try {
                first->Shutdown();
                ADD_FAILURE() << "nothing was thrown";
            } catch (const CRpcException&) {
            } catch (const std::bad_alloc&) {
                ++withoutMemory;
            }
            allocations.FailOn(0);
            EXPECT_EQ(interfaces.Get(), 0) << n;
            stop.FailOn(0);
            ::RpcMgmtStopServerListening(nullptr);
            ::RpcMgmtWaitServerListen();
        }
        EXPECT_GT(withoutMemory, 0);
    }
    Sweep<CException>(
        allocations, [] { Server(L"ZelCoreTests.1").Listen(); },
        [](int, const CException*) { EXPECT_EQ(::RpcMgmtIsServerListening(nullptr), RPC_S_NOT_LISTENING); });
}

TEST(Lrpc, DISABLED_ADuplicateIsRefusedAndStaysCounted) {
    Server first, second;
    first.Listen();
    ExpectInvalid(L"Attempt to create a duplicate server", [&] { second.Listen(); },
                  {.method = L"CLrpcServer::impl::Listen"});
    first.Shutdown();
    EXPECT_TRUE(Client().IsServerListening()) << "both counts stay raised";
}

TEST(Lrpc, DISABLED_EndsWithTheProcess) {
    static thread_local std::unique_ptr<Server> t_last; // destroyed when no other thread exists
    t_last = std::make_unique<Server>(L"ZelCoreTests.Last");
    t_last->Listen();
}

TEST(Lrpc, InProcessesOfTheirOwn) {
    EXPECT_TRUE(RunInChild(L"Lrpc.DISABLED_ADuplicateIsRefusedAndStaysCounted"));
    EXPECT_TRUE(RunInChild(L"Lrpc.DISABLED_EndsWithTheProcess"));
}

TEST(Lrpc, EightThreadsCallWhileAServerComesAndGoes) {
    std::atomic<bool> done{false};
    std::atomic<int> served{0}, refused{0}, current{0};
    const auto name = [](int round) { return L"ZelCoreTests.Stress" + std::to_wstring(round % 40); };
    RunInThreads(9, [&](int thread) {
        if (thread != 0) {
            int round = -1;
            for (std::unique_ptr<Client> client; !done;) {
                if (round != current) {
                    round = current;
                    client = std::make_unique<Client>(name(round).c_str());
                }
                try {
                    client->Add(1);
                    ++served;
                } catch (const CRpcException&) {
                    ++refused;
                    ::Sleep(1);
                }
            }
            return;
        }
        for (int i = 0; i < 200; ++i) {
            Server server(name(i).c_str());
            server.Listen();
            current = i;
            const int before = served;
            for (int wait = 0; wait < 30 && served < before + 8; ++wait) {
                ::Sleep(1);
            }
            server.Shutdown();
        }
        done = true;
    });
    EXPECT_GT(served, 100);
    EXPECT_GT(refused, 0);
}
