// Increments the counter as many times as specified: counter-client [times | finish] [endpoint]
#include "Counter.h"

#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Exception.h"
#include "ZelCore/Remoting/LrpcClient.h"
#include "ZelWin32/SEException.h"

#include <cstdio>
#include <cwchar>

namespace {

const ZelCore::Diagnostics::CTraceSource g_trace(L"Counter.Client"); // configured by counter-client.exe.config

class CCounterClient final : public ZelCore::Remoting::CLrpcClient {
public:
    explicit CCounterClient(const wchar_t* endpoint) : CLrpcClient(endpoint) {}

    /// Failed calls throw CRpcException.
    hyper Add(long value) {
        const ZelWin32::CSEException::CSETranslatorSentry sentry(nullptr);
        return ::ClientCounterAdd(GetBinding(), value);
    }
    void Finish() {
        const ZelWin32::CSEException::CSETranslatorSentry sentry(nullptr);
        ::ClientCounterFinish(GetBinding());
    }
};

} // namespace

int wmain(int argc, wchar_t** argv) {
    try {
        CCounterClient client(argc > 2 ? argv[2] : L"ZelCore.Counter");
        for (int tries = 0; !client.IsServerListening(); ++tries) { // it may be starting
            if (tries == 100) {
                std::fwprintf(stderr, L"nobody is listening\n");
                return 1;
            }
            ::Sleep(100);
        }
        if (argc > 1 && std::wcscmp(argv[1], L"finish") == 0) {
            client.Finish();
            return 0;
        }
        g_trace.TraceEvent(L"wmain", L"" __FILE__, __LINE__, ZelCore::Diagnostics::TraceEventType::Information,
                           L"counting");
        hyper value = 0;
        for (long left = argc > 1 ? std::wcstol(argv[1], nullptr, 10) : 1; left > 0; --left) {
            value = client.Add(1);
        }
        std::wprintf(L"the counter stands at %lld\n", static_cast<long long>(value));
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    return 0;
}
