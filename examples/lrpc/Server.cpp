// Serves the counter until a client calls CounterFinish.
#include "Counter.h"

#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Environment.h"
#include "ZelCore/Exception.h"
#include "ZelCore/Remoting/LrpcServer.h"

#include <atomic>
#include <cstdio>

namespace {

const HANDLE g_finish = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
std::atomic<hyper> g_counter{0};
const ZelCore::Diagnostics::CTraceSource g_trace(L"Counter.Server"); // configured by counter-server.exe.config
using ZelCore::Diagnostics::TraceEventType;

/// Serves only the user who started it.
class CCounterServer final : public ZelCore::Remoting::CLrpcServer {
public:
    explicit CCounterServer(const wchar_t* endpoint) : CLrpcServer(endpoint, Counter_v1_0_s_ifspec, nullptr) {}
    ~CCounterServer() override {
        try {
            Shutdown(); // while AuthorizeClient still exists
        } catch (const ZelCore::CException& e) {
            std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        }
    }

protected:
    bool AuthorizeClient(const ATL::CAccessToken& caller) override {
        const bool allowed = caller.GetUserSid() == m_user;
        g_trace.TraceEventFormat(L"AuthorizeClient", L"" __FILE__, __LINE__,
                                 allowed ? TraceEventType::Verbose : TraceEventType::Warning, L"%s %s",
                                 caller.GetUserAndDomain().c_str(), allowed ? L"is served" : L"is refused");
        return allowed;
    }

private:
    const std::vector<unsigned char> m_user = ZelCore::CEnvironment::GetUserSid();
};

} // namespace

// The functions of the interface.

hyper CounterAdd(handle_t, long value) {
    return g_counter += value;
}

void CounterFinish(handle_t) {
    ::SetEvent(g_finish);
}

int wmain(int argc, wchar_t** argv) {
    try {
        CCounterServer server(argc > 1 ? argv[1] : L"ZelCore.Counter");
        server.Listen();
        g_trace.TraceEvent(L"wmain", L"" __FILE__, __LINE__, TraceEventType::Start, L"serving");
        std::wprintf(L"listening at %ls\n", server.GetEndpointName().c_str());
        std::fflush(stdout);
        ::WaitForSingleObject(g_finish, INFINITE);
        server.Shutdown(); // waits for the call that requested it
        std::wprintf(L"counted to %lld\n", static_cast<long long>(g_counter));
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    return 0;
}
