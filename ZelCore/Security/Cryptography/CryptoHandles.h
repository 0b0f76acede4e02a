#pragma once

// Private to the library: owners of CryptoAPI key and hash handles.

#include "ZelWin32/UniqueHandle.h"

#include <algorithm>
#include <cstddef>

namespace ZelCore::Security::Cryptography {

template <auto Release> struct CryptoTraits {
    using Type = ULONG_PTR; // HCRYPTKEY and HCRYPTHASH
    static Type Invalid() noexcept {
        return 0;
    }
    static void Close(Type handle) noexcept {
        Release(handle);
    }
};

using KeyHandle = ZelWin32::UniqueHandle<CryptoTraits<&::CryptDestroyKey>>;
using HashHandle = ZelWin32::UniqueHandle<CryptoTraits<&::CryptDestroyHash>>;

/// Calls `call(data, DWORD size)` for consecutive pieces of data whose size may exceed 32 bits, or once with size 0 if
/// there is no data. Stops when a call returns false. Returns whether all calls succeeded.
template <class Byte, class Call> bool ForEachPiece(Byte* data, std::size_t size, Call call) {
    constexpr std::size_t largestPiece = 0x40000000;
    do {
        const std::size_t piece = std::min(size, largestPiece);
        if (!call(data, static_cast<DWORD>(piece))) {
            return false;
        }
        data += piece;
        size -= piece;
    } while (size != 0);
    return true;
}

} // namespace ZelCore::Security::Cryptography
