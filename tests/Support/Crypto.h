#pragma once

#include "Support/Test.h"

#include "ZelCore/Convert.h"
#include "ZelCore/Security/Cryptography/Aes.h"
#include "ZelCore/Security/Cryptography/Des.h"
#include "ZelCore/Security/Cryptography/TripleDes.h"

#include <wincrypt.h>

using namespace ZelCore::Security::Cryptography;

namespace ZelTest {

inline SecureBytes Hex(const wchar_t* digits) {
    const auto bytes = CConvert::FromHexString(digits);
    return {bytes.begin(), bytes.end()};
}

template <class Container> std::string Text(const Container& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// A message through a transform: whole pieces of blocks, then the end.
inline std::string Transform(ICryptoTransform& transform, const std::string& message, std::size_t blocks = 1) {
    const std::size_t piece = transform.InputBlockSize() * blocks;
    std::string result;
    std::size_t at = 0;
    std::vector<unsigned char> output;
    for (; message.size() - at >= piece; at += piece) {
        const std::size_t size = transform.TransformBlock(Bytes(message) + at, piece, output);
        result.append(output.begin(), output.begin() + static_cast<std::ptrdiff_t>(size));
    }
    return result + Text(transform.TransformFinalBlock(Bytes(message) + at, message.size() - at));
}

/// All contexts, keys and hashes that the library acquires and releases.
class CryptoBalance : public Balance {
public:
    CryptoBalance() {
        Count<&::CryptAcquireContextW>("CryptAcquireContextW", 1)
            .Count<&::CryptReleaseContext>("CryptReleaseContext", -1);
        Count<&::CryptImportKey>("CryptImportKey", 1).Count<&::CryptDestroyKey>("CryptDestroyKey", -1);
        Count<&::CryptImportPublicKeyInfo>("CryptImportPublicKeyInfo", 1).Count<&::CryptGenKey>("CryptGenKey", 1);
        Count<&::CryptGetUserKey>("CryptGetUserKey", 1);
        Count<&::CryptCreateHash>("CryptCreateHash", 1).Count<&::CryptDestroyHash>("CryptDestroyHash", -1);
    }
};

} // namespace ZelTest
