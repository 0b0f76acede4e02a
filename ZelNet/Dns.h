#pragma once

#include "ZelNet/IPHostEntry.h"

namespace ZelNet {

/// Resolves names by the system's resolver. Needs Winsock: keep a CWsaStartupGuard. Null throws CArgumentNullException,
/// what the resolver refuses CSocketException with its code (11001: there is no such host).
class ZELCORE_API CDns {
public:
    CDns() = delete;

    /// The host of a name; of an address, the host of the name that belongs to it. Empty text is this computer.
    static CIPHostEntry GetHostEntry(const wchar_t* hostNameOrAddress);

    /// The addresses of a name; an address is itself.
    static std::vector<CIPAddress> GetHostAddresses(const wchar_t* hostNameOrAddress);

    /// Whether the text is a name or an address of this computer. Empty text throws CArgumentException.
    static bool IsLocalMachine(const wchar_t* machineNameOrIPAddress);
};

} // namespace ZelNet
