#pragma once

#include "ZelNet/IPAddress.h"

#include <string>
#include <utility>
#include <vector>

namespace ZelNet {

/// What the resolver knows of a host. A copyable value.
class CIPHostEntry {
public:
    CIPHostEntry() = default;
    CIPHostEntry(std::vector<CIPAddress> addresses, std::wstring hostName)
        : m_addresses(std::move(addresses)), m_hostName(std::move(hostName)) {}

    /// In the order of the resolver.
    const std::vector<CIPAddress>& GetAddressList() const noexcept {
        return m_addresses;
    }
    /// Always empty.
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
