#pragma once

#include "ZelNet/IPAddress.h"

#include <string>
#include <utility>
#include <vector>

namespace ZelNet {

/// What the resolver knows of a host. A copyable value: what the methods return is valid while the object lives and is
/// not assigned to.
class CIPHostEntry {
public:
    /// Nothing is known.
    CIPHostEntry() = default;
    /// Takes over addresses and name as they are.
    CIPHostEntry(std::vector<CIPAddress> addresses, std::wstring hostName)
        : m_addresses(std::move(addresses)), m_hostName(std::move(hostName)) {}

    /// The IPv4 and IPv6 addresses, in the order of the resolver.
    const std::vector<CIPAddress>& GetAddressList() const noexcept {
        return m_addresses;
    }
    /// Always empty: the resolver does not tell other names.
    const std::vector<std::wstring>& GetAliases() const noexcept {
        return m_aliases;
    }
    /// The canonical name; empty where the resolver gave none.
    const std::wstring& GetHostName() const noexcept {
        return m_hostName;
    }

private:
    std::vector<CIPAddress> m_addresses;
    std::vector<std::wstring> m_aliases;
    std::wstring m_hostName;
};

} // namespace ZelNet
