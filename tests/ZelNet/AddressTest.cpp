#include "Support/Test.h"

#include <numeric>
#include <winsock2.h>
#include <ws2tcpip.h>

using namespace ZelNet;
using Sockets::CSocketException;

namespace {

struct Address : ::testing::Test {
    const CWsaStartupGuard winsock;
    static CIPAddress Parse(const wchar_t* text) {
        CIPAddress address;
        EXPECT_TRUE(CIPAddress::TryParse(text, address)) << text;
        return address;
    }
};

} // namespace

TEST_F(Address, TextGoesThereAndBack) {
    for (const wchar_t* row :
         {L"127.0.0.1 | 127.0.0.1", L"255.255.255.255 | 255.255.255.255", L"127.1 | 127.0.0.1", L"010.0.0.1 | 8.0.0.1",
          L":: | ::", L"::1 | ::1", L"[::1]:80 | [::1]:80", L"FE80::1%3 | fe80::1%3", L"2001:db8::ff | 2001:db8::ff"}) {
        const auto [text, back] = Cells(row);
        EXPECT_EQ(Parse(text.c_str()).ToString(), back);
    }
    for (const wchar_t* bad :
         {L"", L"x", L"256.1.1.1", L"1.2.3.4.5", L"1.2.3.4 ", L"::g", L"1:2", L"[::1", L"localhost", L"::1%eth0"}) {
        CIPAddress address = CIPAddress::Loopback;
        EXPECT_FALSE(CIPAddress::TryParse(bad, address)) << bad;
        EXPECT_EQ(address.ToString(), L"127.0.0.1") << "unchanged";
    }
    CIPAddress none;
    EXPECT_FALSE(CIPAddress::TryParse(nullptr, none));
    ExpectThrow<CSocketException>([&] { none.ToString(); }, {.code = 10022, .method = L"CIPAddress::ToString"});
    EXPECT_EQ(CIPAddress::Any.ToString() + CIPAddress::IPv6Any.ToString() + CIPAddress::IPv6Loopback.ToString(),
              L"0.0.0.0::::1");
    for (const std::size_t length : {4u, 16u}) {
        std::vector<unsigned char> bytes(length);
        std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0x81));
        CIPAddress address(bytes.data(), length);
        address.SetPort(0x1234);
        SOCKADDR_INET raw;
        address.CopyTo(raw);
        EXPECT_EQ(ntohs(raw.Ipv4.sin_port), 0x1234);
        EXPECT_EQ(address.GetPort(), 0x1234);
        EXPECT_EQ(address.GetFamily(), length == 4 ? AF_INET : AF_INET6);
        EXPECT_EQ(CIPAddress(raw).GetRawAddressBytesInNetworkOrder(), bytes);
        EXPECT_EQ(Parse(CIPAddress(bytes.data(), length).ToString().c_str()).GetRawAddressBytesInNetworkOrder(), bytes);
    }
    for (const std::size_t length : {0u, 5u, 28u}) {
        ExpectMessage<CArgumentException>(L"'Invalid address length': parameter name: 'address'",
                                          [&] { CIPAddress(Bytes(std::string(28, 'x')), length); });
    }
    ExpectNull(L"address", [] { CIPAddress(nullptr, 4); });
    EXPECT_TRUE(CIPAddress::IsLoopback(Parse(L"127.9.9.9")) && CIPAddress::IsLoopback(CIPAddress::IPv6Loopback));
    EXPECT_FALSE(CIPAddress::IsLoopback(Parse(L"128.0.0.1")) || CIPAddress::IsLoopback(Parse(L"::2")) ||
                 CIPAddress::IsLoopback(none));
}

TEST_F(Address, OrderIsThatOfFamilyAndBytes) {
    using Key = std::vector<unsigned char>; // the length, then the bytes: the expected order of the addresses
    std::vector<std::pair<Key, CIPAddress>> addresses;
    unsigned seed = 1;
    for (int i = 0; i < 3000; ++i) {
        Key key{static_cast<unsigned char>(i % 2 != 0 ? 4 : 16)};
        while (key.size() <= key[0]) {
            seed = seed * 1664525u + 1013904223u;
            key.push_back(static_cast<unsigned char>((seed >> 24) % 3 == 0 ? seed >> 16 : 0x7F));
        }
        CIPAddress address(key.data() + 1, key[0]);
        address.SetPort(static_cast<std::uint16_t>(seed));
        addresses.emplace_back(key, address);
    }
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        const auto &a = addresses[i], &b = addresses[(i * 7 + 1) % addresses.size()];
        ASSERT_EQ(a.second < b.second, a.first < b.first);
        ASSERT_EQ(a.second <= b.second, a.first <= b.first);
    }
    EXPECT_FALSE(Parse(L"fe80::1%1") < Parse(L"fe80::1%2") || Parse(L"[::1]:1") < Parse(L"[::1]:2"));
    const CIPAddress none;
    EXPECT_LT(none, CIPAddress::Any);
    ExpectInvalid(L"", [&] { (void)(none < none); }, {.method = L"ZelNet::operator <"});
    ExpectThrow<CInvalidOperationException>([&] { (void)(none <= none); }, {.method = L"ZelNet::operator <="});
}

TEST_F(Address, LocalNamesAreResolved) {
    try {
        EXPECT_FALSE(CDns::GetHostAddresses(L"localhost").empty());
    } catch (const CSocketException& e) {
        GTEST_SKIP() << "this machine does not know localhost: error " << e.GetError();
    }
    EXPECT_FALSE(CDns::GetHostEntry(L"127.0.0.1").GetAddressList().empty());
}

TEST_F(Address, NamesAreResolved) {
    ExpectThrow<CSocketException>([] { CDns::GetHostEntry(L"no.such.host.invalid"); },
                                  {.method = L"ZelNet::CDns::GetHostByName"});
    ExpectNull(L"hostNameOrAddress", [] { CDns::GetHostEntry(nullptr); });
    ExpectNull(L"hostNameOrAddress", [] { CDns::GetHostAddresses(nullptr); });
    for (const std::wstring& name : {std::wstring(L"LOCALHOST"), std::wstring(L"127.8.8.8"), std::wstring(L"::1"),
                                     CEnvironment::GetMachineName(0), CEnvironment::GetMachineName(1)}) {
        EXPECT_TRUE(CDns::IsLocalMachine(name.c_str())) << name;
    }
    EXPECT_FALSE(CDns::IsLocalMachine(L"other.example"));
    ExpectNull(L"machineNameOrIPAddress", [] { CDns::IsLocalMachine(nullptr); });
    ExpectMessage<CArgumentException>(L"'Cannot be empty': parameter name: 'machineNameOrIPAddress'",
                                      [] { CDns::IsLocalMachine(L""); });
}

TEST_F(Address, TheComputersOwnNameIsResolved) {
    ADDRINFOW* list = nullptr;
    if (const int error = ::GetAddrInfoW(L"", nullptr, nullptr, &list); error != 0) {
        GTEST_SKIP() << "this computer does not find its own name (" << error << "): it stands in no file of hosts";
    }
    ::FreeAddrInfoW(list);
    const CIPHostEntry own = CDns::GetHostEntry(L"");
    ASSERT_FALSE(own.GetAddressList().empty());
    EXPECT_FALSE(own.GetHostName().empty());
    EXPECT_TRUE(own.GetAliases().empty());
    EXPECT_TRUE(CDns::IsLocalMachine(own.GetAddressList()[0].ToString().c_str()));
    for (const wchar_t* other : {L"192.0.2.1", L"2001:db8::1"}) {
        EXPECT_FALSE(CDns::IsLocalMachine(other));
    }
}

TEST_F(Address, TakesWhatTheResolverGives) {
    SOCKADDR_INET six{}, four{}, other{};
    six.si_family = AF_INET6;
    six.Ipv6.sin6_scope_id = 7;
    six.Ipv6.sin6_addr.s6_addr[0] = 0xFE;
    four.si_family = AF_INET;
    other.si_family = AF_UNIX;
    wchar_t name[] = L"canonical";
    std::string large(100, 'x'); // longer than any address
    std::memcpy(large.data(), &six, sizeof(six));
    const auto record = [](void* address, std::size_t length, wchar_t* canonical, ADDRINFOW* next) {
        return ADDRINFOW{0, 0, 0, 0, length, canonical, static_cast<SOCKADDR*>(address), next};
    };
    ADDRINFOW none = record(nullptr, 0, nullptr, nullptr), odd = record(&other, sizeof(other), nullptr, &none),
              longer = record(large.data(), 100, name, &odd), first = record(&four, 16, nullptr, &longer);
    std::wstring asked;
    int freed = 0;
    const ImportHook resolve(
        "GetAddrInfoW",
        [&](const wchar_t* text, const wchar_t* service, const ADDRINFOW* hints, ADDRINFOW** list) -> int {
            EXPECT_TRUE(service == nullptr && hints->ai_flags == AI_CANONNAME && hints->ai_family == 0);
            asked += std::wstring(text) + L";";
            *list = &first;
            return 0;
        });
    const ImportHook release("FreeAddrInfoW", [&](ADDRINFOW* list) -> void { freed += list == &first ? 1 : 0; });
    const ImportHook reverse(
        "GetNameInfoW",
        [](const SOCKADDR* address, int length, wchar_t* host, DWORD size, wchar_t*, DWORD, int flags) -> int {
            EXPECT_TRUE(size == 1025 && flags == 0 && length == (address->sa_family == AF_INET ? 16 : 28));
            std::wcscpy(host, L"found");
            return address->sa_family == AF_INET ? 0 : 11003;
        });
    const CIPHostEntry entry = CDns::GetHostEntry(L"192.0.2.1");
    EXPECT_EQ(asked, L"found;");
    EXPECT_EQ(entry.GetHostName(), L"canonical");
    ASSERT_EQ(entry.GetAddressList().size(), 2u);
    EXPECT_EQ(entry.GetAddressList()[1].ToString(), L"fe00::%7");
    EXPECT_EQ(CDns::GetHostAddresses(L"192.0.2.1").size(), 2u);
    EXPECT_EQ(asked, L"found;192.0.2.1;") << "an address is not looked up backwards here";
    ExpectThrow<CSocketException>([] { CDns::GetHostEntry(L"::1"); },
                                  {.code = 11003, .method = L"ZelNet::CDns::GetHostByAddress"});
    EXPECT_TRUE(CDns::IsLocalMachine(L"fe00::%3")) << "whatever the scope";
    EXPECT_EQ(freed, 3);
    FailingAllocations allocations;
    asked.reserve(1000), freed = 0;
    Sweep<CException>(
        allocations, [] { CDns::GetHostAddresses(L"x"); },
        [&](int n, const CException* e) { EXPECT_TRUE(e == nullptr && freed == n) << freed; });
}

TEST(Winsock, IsStartedAndEndedInPairs) {
    std::wstring calls;
    const ImportHook start("WSAStartup", [&](WORD version, WSADATA* data) -> int {
        calls += std::to_wstring(version) + L" ";
        return version == 0 ? WSAVERNOTSUPPORTED : ::WSAStartup(version, data);
    });
    const ImportHook end("WSACleanup", [&]() -> int {
        calls += L"end ";
        return ::WSACleanup();
    });
    {
        const CWsaStartupGuard outer, inner(1, 2);
        EXPECT_EQ(inner.GetData().wVersion & 0xFF, 2);
    }
    EXPECT_EQ(calls, L"514 258 end end ");
    ExpectThrow<CSocketException>([] { CWsaStartupGuard(0, 0x100); },
                                  {.code = 10092, .method = L"CWsaStartupGuard::CWsaStartupGuard"});
    EXPECT_EQ(calls, L"514 258 end end 0 ");
}
