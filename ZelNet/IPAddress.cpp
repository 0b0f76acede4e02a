#include "ZelNet/IPAddress.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/ThrowSite.h"
#include "ZelNet/Sockets/SocketException.h"
#include "ZelWin32/Windows.h"

#include <iterator>
#include <ws2tcpip.h>

namespace ZelNet {

using Sockets::CSocketException;

constinit const CIPAddress CIPAddress::Any(IPv4Family, IPv4At, 0, 0, 4);
constinit const CIPAddress CIPAddress::Loopback(IPv4Family, IPv4At, 127, 1, 4);
constinit const CIPAddress CIPAddress::IPv6Any(IPv6Family, IPv6At, 0, 0, 16);
constinit const CIPAddress CIPAddress::IPv6Loopback(IPv6Family, IPv6At, 0, 1, 16);

CIPAddress::CIPAddress(const SOCKADDR_INET& address) noexcept {
    static_assert(sizeof(address) == Size);
    std::memcpy(m_bytes, &address, Size);
}

CIPAddress::CIPAddress(const unsigned char* address, std::size_t length) {
    const wchar_t* const method = L"ZelNet::CIPAddress::CIPAddress";
    ZelCore::CheckNotNull(address, L"address", ZEL_SITE(method));
    if (length != 4 && length != 16) {
        throw ZelCore::CArgumentException(L"address", L"Invalid address length", ZEL_SITE(method));
    }
    m_bytes[0] = length == 4 ? IPv4Family : IPv6Family;
    std::memcpy(m_bytes + (length == 4 ? IPv4At : IPv6At), address, length);
}

bool CIPAddress::TryParse(const wchar_t* text, CIPAddress& result) noexcept {
    if (text == nullptr || *text == L'\0') {
        return false;
    }
    const wchar_t* colon = text;
    while (*colon != L'\0' && *colon != L':') {
        ++colon;
    }
    const int family = *colon == L':' ? IPv6Family : IPv4Family;
    SOCKADDR_INET address{};
    address.si_family = static_cast<ADDRESS_FAMILY>(family);
    int length = sizeof(address);
    if (::WSAStringToAddressW(const_cast<wchar_t*>(text), family, nullptr, reinterpret_cast<SOCKADDR*>(&address),
                              &length) != 0) {
        return false;
    }
    std::memcpy(result.m_bytes, &address, Size);
    return true;
}

bool CIPAddress::IsLoopback(const CIPAddress& address) noexcept {
    return address.GetFamily() == IPv4Family
               ? address.m_bytes[IPv4At] == 127
               : address.GetFamily() == IPv6Family && address.Load8(IPv6At) == 0 && address.Load8(IPv6At + 8) == 1;
}

std::vector<unsigned char> CIPAddress::GetRawAddressBytesInNetworkOrder() const {
    const unsigned char* const bytes = m_bytes + (GetFamily() == IPv4Family ? IPv4At : IPv6At);
    return {bytes, bytes + (GetFamily() == IPv4Family ? 4 : 16)};
}

std::wstring CIPAddress::ToString() const {
    wchar_t text[128];
    DWORD length = static_cast<DWORD>(std::size(text)); // includes the null afterwards
    auto* const address = reinterpret_cast<SOCKADDR*>(const_cast<unsigned char*>(m_bytes)); // only read
    if (::WSAAddressToStringW(address, Size, nullptr, text, &length) != 0) {
        throw CSocketException(::WSAGetLastError(), nullptr, ZEL_SITE(L"ZelNet::CIPAddress::ToString"));
    }
    return {text, length - 1};
}

void CIPAddress::CopyTo(SOCKADDR_INET& address) const noexcept {
    std::memcpy(&address, m_bytes, Size);
}

bool CIPAddress::Equals(const CIPAddress& other, bool ignoreScope) const {
    if (GetFamily() != other.GetFamily()) {
        return false;
    }
    if (GetFamily() == IPv4Family) {
        return Load4() == other.Load4();
    }
    if (GetFamily() != IPv6Family) {
        // Unreached: the library compares only addresses of the two families.
        throw ZelCore::CInvalidOperationException(nullptr, ZEL_SITE(L"ZelNet::CIPAddress::Equals"));
    }
    return (ignoreScope || std::memcmp(m_bytes + ScopeAt, other.m_bytes + ScopeAt, Size - ScopeAt) == 0) &&
           std::memcmp(m_bytes + IPv6At, other.m_bytes + IPv6At, 16) == 0;
}

void CIPAddress::ThrowOtherFamily(bool less) {
    throw ZelCore::CInvalidOperationException(nullptr, ZEL_SITE(less ? L"ZelNet::operator <" : L"ZelNet::operator <="));
}

} // namespace ZelNet
