#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

union _SOCKADDR_INET;

namespace ZelNet {

/// An IPv4 or IPv6 socket address: address and port, and for IPv6 flow information and scope. A copyable value with the
/// platform's layout (SOCKADDR_INET), zero-initialized by default.
///
/// Conversion from and to text requires Winsock: keep a CWsaStartupGuard.
class ZELCORE_API CIPAddress {
public:
    static const CIPAddress Any;          ///< 0.0.0.0
    static const CIPAddress Loopback;     ///< 127.0.0.1
    static const CIPAddress IPv6Any;      ///< ::
    static const CIPAddress IPv6Loopback; ///< ::1

    static constexpr int IPv4Family = 2;  ///< AF_INET
    static constexpr int IPv6Family = 23; ///< AF_INET6

    /// All zero, without an address family.
    constexpr CIPAddress() noexcept = default;

    /// Copies the platform's structure, whatever its family.
    CIPAddress(const _SOCKADDR_INET& address) noexcept;

    /// From 4 or 16 bytes in network byte order, with port 0. Throws CArgumentNullException, or CArgumentException for
    /// another length, for "address".
    CIPAddress(const unsigned char* address, std::size_t length);

    /// Parses what Winsock accepts. For IPv6 this is any text with a colon, also "[::1]:80". For IPv4 also "127.1" and
    /// "010.0.0.1" (octal). A port is accepted only after brackets, never with an IPv4 address. For other text, for
    /// null and for empty text it returns false and leaves the result unchanged. Never throws.
    static bool TryParse(const wchar_t* text, CIPAddress& result) noexcept;

    /// Whether the address is 127.x.x.x or ::1; false for other families.
    static bool IsLoopback(const CIPAddress& address) noexcept;

    /// Returns 4 bytes for an IPv4 address and 16 bytes for any other, in network byte order, without port and scope.
    std::vector<unsigned char> GetRawAddressBytesInNetworkOrder() const;

    /// Returns the text that Winsock writes, with the port unless that is 0: "127.0.0.1:80", "[::1]:80", "fe80::1%3".
    /// Throws CSocketException for a family that Winsock does not support.
    std::wstring ToString() const;

    /// Returns IPv4Family, IPv6Family or another AF_ number; 0 for a default-constructed address.
    int GetFamily() const noexcept {
        return m_bytes[0] | m_bytes[1] << 8;
    }
    /// Returns the port in host byte order; 0 for none.
    std::uint16_t GetPort() const noexcept {
        return static_cast<std::uint16_t>(m_bytes[2] << 8 | m_bytes[3]);
    }
    /// Sets the port, which is in host byte order. Comparisons ignore it.
    void SetPort(std::uint16_t port) noexcept {
        m_bytes[2] = static_cast<unsigned char>(port >> 8);
        m_bytes[3] = static_cast<unsigned char>(port);
    }
    /// Writes the address to the platform's structure, all 28 bytes of it.
    void CopyTo(_SOCKADDR_INET& address) const noexcept;

    /// The order of addresses: by the number of the family, so that IPv4 comes before IPv6, then byte by byte. Ports
    /// and scopes are ignored. Two addresses of the same other family throw CInvalidOperationException.
    ///@{
    friend bool operator<(const CIPAddress& a, const CIPAddress& b) {
        const int family = a.GetFamily(), other = b.GetFamily();
        if (family != other) {
            return family < other;
        }
        if (family == IPv4Family) {
            return a.Load4() < b.Load4();
        }
        if (family != IPv6Family) {
            ThrowOtherFamily(true);
        }
        const std::uint64_t high = a.Load8(IPv6At), otherHigh = b.Load8(IPv6At);
        return high != otherHigh ? high < otherHigh : a.Load8(IPv6At + 8) < b.Load8(IPv6At + 8);
    }
    friend bool operator<=(const CIPAddress& a, const CIPAddress& b) {
        if (a.GetFamily() == b.GetFamily() && a.GetFamily() != IPv4Family && a.GetFamily() != IPv6Family) {
            ThrowOtherFamily(false);
        }
        return !(b < a);
    }
    ///@}

private:
    friend class CDns;

    static constexpr std::size_t Size = 28; ///< size of a SOCKADDR_INET
    static constexpr std::size_t IPv4At = 4;
    static constexpr std::size_t IPv6At = 8;
    static constexpr std::size_t ScopeAt = 24;

    constexpr CIPAddress(int family, std::size_t at, unsigned char first, unsigned char last,
                         std::size_t length) noexcept {
        m_bytes[0] = static_cast<unsigned char>(family);
        m_bytes[at] = first;
        m_bytes[at + length - 1] = last;
    }
    [[noreturn]] static void ThrowOtherFamily(bool less);
    bool Equals(const CIPAddress& other, bool ignoreScope) const;

    std::uint32_t Load4() const noexcept {
        std::uint32_t value;
        std::memcpy(&value, m_bytes + IPv4At, sizeof(value));
        return __builtin_bswap32(value);
    }
    std::uint64_t Load8(std::size_t at) const noexcept {
        std::uint64_t value;
        std::memcpy(&value, m_bytes + at, sizeof(value));
        return __builtin_bswap64(value);
    }

    alignas(4) unsigned char m_bytes[Size] = {};
};

/// The order of addresses, see the friend functions of CIPAddress.
///@{
bool operator<(const CIPAddress& a, const CIPAddress& b);
bool operator<=(const CIPAddress& a, const CIPAddress& b);
///@}

} // namespace ZelNet
