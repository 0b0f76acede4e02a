#pragma once

// Private to the library: status codes and strings of the RPC runtime.

#include "ZelCore/Remoting/RpcException.h"
#include "ZelWin32/Windows.h"

#include <rpc.h>

namespace ZelCore::Remoting {

inline constexpr wchar_t ProtocolSequence[] = L"ncalrpc"; ///< local procedure calls

/// Throws CRpcException unless the call succeeded.
inline void CheckRpc(RPC_STATUS status, const wchar_t* method, const wchar_t* file, int line) {
    if (status != RPC_S_OK) {
        throw CRpcException(status, method, file, line);
    }
}

/// The runtime only reads its strings, but takes pointers to non-const.
inline RPC_WSTR ToRpc(const wchar_t* text) {
    return reinterpret_cast<RPC_WSTR>(const_cast<wchar_t*>(text));
}

} // namespace ZelCore::Remoting
