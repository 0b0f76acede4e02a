#include "Measure.h"

#include "Counter.h"
#include "ZelCore/Remoting/LrpcClient.h"
#include "ZelCore/Remoting/LrpcServer.h"
#include "ZelNet/IPAddress.h"
#include "ZelNet/WsaStartupGuard.h"

#include <winsock2.h>

#include <ws2tcpip.h>

#include <algorithm>
#include <array>
#include <memory>

namespace ZelBench {

namespace {

using ZelNet::CIPAddress;

constexpr int Many = 50'000;
constexpr int Calls = 2'000;
constexpr std::size_t Addresses = 100'000;

volatile long long g_sink;

struct Server final : ZelCore::Remoting::CLrpcServer {
    Server() : CLrpcServer(L"ZelBench", Counter_v1_0_s_ifspec, nullptr) {
        Listen();
    }
    ~Server() override {
        Shutdown();
    }
    bool AuthorizeClient(const ATL::CAccessToken&) override {
        return true;
    }
};

struct Client final : ZelCore::Remoting::CLrpcClient {
    Client() : CLrpcClient(L"ZelBench") {}
    hyper Add(long value) {
        return ::ClientCounterAdd(GetBinding(), value);
    }
    using CLrpcClient::GetBinding;
};

Client& GetClient() {
    static Server& server = *new Server;
    static Client& client = *new Client;
    g_sink = static_cast<long long>(server.GetEndpointName().size());
    return client;
}

template <std::size_t Size> std::array<unsigned char, Size> MakeBytes(unsigned& seed) {
    std::array<unsigned char, Size> bytes;
    for (unsigned char& byte : bytes) {
        seed = seed * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(seed >> 24);
    }
    return bytes;
}

void SortOurs() {
    unsigned seed = 1;
    std::vector<CIPAddress> addresses;
    for (std::size_t i = 0; i < Addresses; ++i) {
        addresses.emplace_back(MakeBytes<16>(seed).data(), 16);
    }
    std::sort(addresses.begin(), addresses.end());
    g_sink = addresses.front().GetPort();
}

void SortRaw() {
    unsigned seed = 1;
    std::vector<std::array<unsigned char, 16>> addresses;
    for (std::size_t i = 0; i < Addresses; ++i) {
        addresses.push_back(MakeBytes<16>(seed));
    }
    std::sort(addresses.begin(), addresses.end());
    g_sink = addresses.front()[0];
}

const wchar_t* const Text = L"2001:db8::1428:57ab";

} // namespace

std::vector<Benchmark> MakeNetBenchmarks() {
    static const ZelNet::CWsaStartupGuard winsock;
    return {
        {"call through a CLrpcClient", "the stub", 1.02, 15,
         [] {
             for (int i = 0; i < Calls; ++i) {
                 g_sink = GetClient().Add(1);
             }
         },
         [] {
             void* const binding = GetClient().GetBinding();
             for (int i = 0; i < Calls; ++i) {
                 g_sink = ::ClientCounterAdd(binding, 1);
             }
         }},
        {"CIPAddress::TryParse", "WSAStringToAddressW", 1.1, 9,
         [] {
             for (int i = 0; i < Many; ++i) {
                 CIPAddress address;
                 g_sink = CIPAddress::TryParse(Text, address) ? 1 : 0;
             }
         },
         [] {
             for (int i = 0; i < Many; ++i) {
                 SOCKADDR_INET address{};
                 int length = sizeof(address);
                 g_sink = ::WSAStringToAddressW(const_cast<wchar_t*>(Text), AF_INET6, nullptr,
                                                reinterpret_cast<SOCKADDR*>(&address), &length);
             }
         }},
        {"CIPAddress::ToString", "WSAAddressToStringW", 1.1, 9,
         [] {
             CIPAddress address;
             CIPAddress::TryParse(Text, address);
             for (int i = 0; i < Many; ++i) {
                 g_sink = address.ToString()[0];
             }
         },
         [] {
             SOCKADDR_INET address{};
             int length = sizeof(address);
             ::WSAStringToAddressW(const_cast<wchar_t*>(Text), AF_INET6, nullptr, reinterpret_cast<SOCKADDR*>(&address),
                                   &length);
             for (int i = 0; i < Many; ++i) {
                 wchar_t text[128];
                 DWORD size = 128;
                 ::WSAAddressToStringW(reinterpret_cast<SOCKADDR*>(&address), sizeof(address), nullptr, text, &size);
                 g_sink = text[0];
             }
         }},
        {"sorting 100,000 addresses", "sorting their bytes", 1.5, 9, &SortOurs, &SortRaw},
    };
}

} // namespace ZelBench

hyper CounterAdd(handle_t, long value) {
    static hyper counter = 0;
    return counter += value;
}

void CounterFinish(handle_t) {}
