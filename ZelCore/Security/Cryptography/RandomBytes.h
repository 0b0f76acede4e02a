#pragma once

// Private to the library: generation of the algorithms' keys and IVs.

#include "ZelCore/Arguments.h"
#include "ZelCore/Security/Cryptography/RandomNumberGenerator.h"
#include "ZelCore/ZeroMemoryAllocator.h"

#include <cstdint>

namespace ZelCore::Security::Cryptography {

inline SecureBytes MakeRandomBytes(std::uint64_t size) {
    constexpr std::uint64_t largest = 0x40000000; // an absurd size must not allocate all memory
    CheckAtMost(size, largest, L"size", ZEL_SITE(L"ZelCore::Security::Cryptography::MakeRandomBytes"));
    SecureBytes bytes(size);
    CRandomNumberGenerator().GetBytes(bytes);
    return bytes;
}

} // namespace ZelCore::Security::Cryptography
