#pragma once

#include "ZelNet/IPHostEntry.h"

/// Addresses, name resolution, and the start and end of Winsock.
namespace ZelNet {

/// Resolves names by the system's resolver. Needs Winsock: keep a CWsaStartupGuard. Null throws CArgumentNullException,
/// what the resolver refuses CSocketException with its code (11001: there is no such host).
///
/// All static, callable from any thread. A call waits for the resolver, which may take many seconds. The addresses have
/// port 0.
class ZELCORE_API CDns {
public:
    CDns() = delete;

    /// The host of a name; of an address, the host of the name that belongs to it, or just the address where there is
    /// no such name. Empty text is this computer.
    static CIPHostEntry GetHostEntry(const wchar_t* hostNameOrAddress);

    /// The addresses of a name; an address is itself.
    static std::vector<CIPAddress> GetHostAddresses(const wchar_t* hostNameOrAddress);

    /// Whether the text is a name or an address of this computer, without asking for names of others. Empty text throws
    /// CArgumentException for "machineNameOrIPAddress", and CWin32Exception is thrown when the computer's own names
    /// cannot be told. An address other than a loopback one is compared with those that the computer's own name
    /// resolves to: CSocketException where it resolves to none, because no file of hosts and no server knows it. Names
    /// are compared without regard to case, addresses without their scope.
    static bool IsLocalMachine(const wchar_t* machineNameOrIPAddress);
};

} // namespace ZelNet
