// Serves greetings to the user who started it: serve-rpc serve MILLISECONDS, then in another console: serve-rpc call
// NAME
#include "Greeter.h" // generated from Greeter.idl
#include "Print.h"

#include <ZelCore/Environment.h>
#include <ZelCore/Exception.h>
#include <ZelCore/Remoting/AccessToken.h>
#include <ZelCore/Remoting/LrpcClient.h>
#include <ZelCore/Remoting/LrpcServer.h>
#include <ZelWin32/SEException.h>

#include <atomic>
#include <cstdio>
#include <cwchar>

namespace {

constexpr wchar_t Endpoint[] = L"Samples.Greeter";
std::atomic<long> g_greeted{0};

class CGreeterServer final : public ZelCore::Remoting::CLrpcServer {
public:
    CGreeterServer() : CLrpcServer(Endpoint, Greeter_v1_0_s_ifspec, nullptr) {}
    ~CGreeterServer() override {
        try {
            Shutdown(); // waits for calls, which still need AuthorizeClient
        } catch (const ZelCore::CException& e) {
            Report(e);
        }
    }

protected:
    bool AuthorizeClient(const ATL::CAccessToken& caller) override {
        return caller.GetUserSid() == ZelCore::CEnvironment::GetUserSid();
    }
};

class CGreeterClient final : public ZelCore::Remoting::CLrpcClient {
public:
    CGreeterClient() : CLrpcClient(Endpoint) {}
    long Greet(const wchar_t* name) {
        const ZelWin32::CSEException::CSETranslatorSentry sentry(nullptr); // failed calls become CRpcException
        return ::ClientGreet(GetBinding(), name);
    }
};

} // namespace

long Greet(handle_t, const wchar_t* name) { // runs on the runtime's threads, which no C++ exception may reach
    try {
        Print(stdout, ZelCore::CString::Format(L"Hello %s\n", name));
    } catch (const ZelCore::CException& e) {
        Report(e);
        return -1;
    }
    return ++g_greeted;
}

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) {
        std::fputs("usage: serve-rpc serve MILLISECONDS | call NAME\n", stderr);
        return 2;
    }
    try {
        if (std::wcscmp(argv[1], L"serve") == 0) {
            CGreeterServer server;
            server.Listen();
            Print(stdout, L"serving\n");
            ::Sleep(std::wcstoul(argv[2], nullptr, 10));
            server.Shutdown();
        } else {
            Print(stdout, ZelCore::CString::Format(L"greeted %ld times\n", CGreeterClient().Greet(argv[2])));
        }
    } catch (const ZelCore::CException& e) {
        return Report(e);
    }
    return 0;
}
