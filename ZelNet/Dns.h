#pragma once

#include "ZelNet/IPHostEntry.h"

/// Addresses, name resolution, and initialization of Winsock.
namespace ZelNet {

/// Resolves names with the system's resolver. Requires Winsock: keep a CWsaStartupGuard. Null throws
/// CArgumentNullException. A failure of the resolver throws CSocketException with its code (11001: host not found).
///
/// All functions are static and may be called from any thread. A call waits for the resolver, which may take many
/// seconds. The returned addresses have port 0.
class ZELCORE_API CDns {
public:
    CDns() = delete;

    /// Returns the host of a name. For an address it returns the host of the name that belongs to it, or only the
    /// address if there is no such name. Empty text is this computer.
    static CIPHostEntry GetHostEntry(const wchar_t* hostNameOrAddress);

    /// Returns the addresses of a name. An address is returned as itself.
    static std::vector<CIPAddress> GetHostAddresses(const wchar_t* hostNameOrAddress);

    /// Whether the text is a name or an address of this computer, without resolving names of other hosts. Empty text
    /// throws CArgumentException for "machineNameOrIPAddress". Throws CWin32Exception if the computer's own names
    /// cannot be determined. An address other than a loopback address is compared with those to which the computer's
    /// own name resolves; if it resolves to none, because neither the hosts file nor a server contains it,
    /// CSocketException is thrown. Names are compared case-insensitively, addresses without their scope.
    static bool IsLocalMachine(const wchar_t* machineNameOrIPAddress);
};

} // namespace ZelNet
