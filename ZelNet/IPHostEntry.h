#pragma once

#include "ZelNet/IPAddress.h"

#include <string>
#include <utility>
#include <vector>

namespace ZelNet {

/// The resolver's information about a host. A copyable value. References returned by its methods are valid while the
/// object lives and is not assigned to.
class CIPHostEntry {
public:
    /// An empty entry.
    CIPHostEntry() = default;
    /// Takes over addresses and name unchanged.
    CIPHostEntry(std::vector<CIPAddress> addresses, std::wstring hostName)
        : m_addresses(std::move(addresses)), m_hostName(std::move(hostName)) {}

    /// Returns the IPv4 and IPv6 addresses in the order of the resolver.
    const std::vector<CIPAddress>& GetAddressList() const noexcept {
        return m_addresses;
    }
    /// Always empty: the resolver does not return aliases.
    const std::vector<std::wstring>& GetAliases() const noexcept {
        return m_aliases;
    }
    /// Returns the canonical name; empty if the resolver returned none.
    const std::wstring& GetHostName() const noexcept {
        return m_hostName;
    }

private:
    std::vector<CIPAddress> m_addresses;
    std::vector<std::wstring> m_aliases;
    std::wstring m_hostName;
};

} // namespace ZelNet
