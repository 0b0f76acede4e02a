#include "ZelNet/Dns.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Environment.h"
#include "ZelCore/ThrowSite.h"
#include "ZelNet/Sockets/SocketException.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <ws2tcpip.h>

namespace ZelNet {

using Sockets::CSocketException;
using ZelCore::CEnvironment;

namespace {

CIPHostEntry GetHostByName(const wchar_t* name) {
    // Site: does the work of the public method.
    ADDRINFOW hints{};
    hints.ai_flags = AI_CANONNAME;
    ADDRINFOW* list = nullptr;
    const int error = ::GetAddrInfoW(name, nullptr, &hints, &list);
    if (error != 0) {
        throw CSocketException(error, nullptr, ZEL_SITE(L"ZelNet::CDns::GetHostByName"));
    }
    const std::unique_ptr<ADDRINFOW, decltype(&::FreeAddrInfoW)> owner(list, &::FreeAddrInfoW);
    std::vector<CIPAddress> addresses;
    std::wstring hostName;
    for (const ADDRINFOW* record = list; record != nullptr; record = record->ai_next) {
        if (hostName.empty() && record->ai_canonname != nullptr) {
            hostName = record->ai_canonname;
        }
        SOCKADDR_INET address{};
        if (record->ai_addr != nullptr) {
            std::memcpy(&address, record->ai_addr, std::min<std::size_t>(record->ai_addrlen, sizeof(address)));
        }
        if (address.si_family == AF_INET || address.si_family == AF_INET6) {
            addresses.emplace_back(address);
        }
    }
    return {std::move(addresses), std::move(hostName)};
}

std::wstring GetHostByAddress(const CIPAddress& address) {
    // Site: does the work of the public method.
    wchar_t name[NI_MAXHOST];
    SOCKADDR_INET socketAddress;
    address.CopyTo(socketAddress);
    const int length = address.GetFamily() == AF_INET ? sizeof(socketAddress.Ipv4) : sizeof(socketAddress.Ipv6);
    const int error =
        ::GetNameInfoW(reinterpret_cast<SOCKADDR*>(&socketAddress), length, name, NI_MAXHOST, nullptr, 0, 0);
    if (error != 0) {
        throw CSocketException(error, nullptr, ZEL_SITE(L"ZelNet::CDns::GetHostByAddress"));
    }
    return name;
}

} // namespace

CIPHostEntry CDns::GetHostEntry(const wchar_t* hostNameOrAddress) {
    ZelCore::CheckNotNull(hostNameOrAddress, L"hostNameOrAddress", ZEL_SITE(L"ZelNet::CDns::GetHostEntry"));
    CIPAddress address;
    return CIPAddress::TryParse(hostNameOrAddress, address) ? GetHostByName(GetHostByAddress(address).c_str())
                                                            : GetHostByName(hostNameOrAddress);
}

std::vector<CIPAddress> CDns::GetHostAddresses(const wchar_t* hostNameOrAddress) {
    ZelCore::CheckNotNull(hostNameOrAddress, L"hostNameOrAddress", ZEL_SITE(L"ZelNet::CDns::GetHostAddresses"));
    return GetHostByName(hostNameOrAddress).GetAddressList();
}

bool CDns::IsLocalMachine(const wchar_t* machineNameOrIPAddress) {
    ZelCore::CheckNotEmpty(machineNameOrIPAddress, L"machineNameOrIPAddress",
                           ZEL_SITE(L"ZelNet::CDns::IsLocalMachine"));
    const auto equals = [&](const std::wstring& name) { return ::_wcsicmp(machineNameOrIPAddress, name.c_str()) == 0; };
    for (const int format : {ComputerNameDnsHostname, ComputerNameDnsFullyQualified, ComputerNameNetBIOS}) {
        if (equals(CEnvironment::GetMachineName(format))) {
            return true;
        }
    }
    if (equals(L"localhost")) {
        return true;
    }
    CIPAddress address;
    if (!CIPAddress::TryParse(machineNameOrIPAddress, address)) {
        return false;
    }
    if (CIPAddress::IsLoopback(address)) {
        return true;
    }
    const std::vector<CIPAddress> own = GetHostAddresses(L"");
    return std::any_of(own.begin(), own.end(), [&](const CIPAddress& mine) { return mine.Equals(address, true); });
}

} // namespace ZelNet
