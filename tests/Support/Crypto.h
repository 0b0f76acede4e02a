#pragma once

#include "Support/Test.h"

#include <wincrypt.h>

namespace ZelTest {

inline SecureBytes Hex(const wchar_t* digits) {
    const auto bytes = CConvert::FromHexString(digits);
    return {bytes.begin(), bytes.end()};
}

template <class Container> std::string Text(const Container& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// Passes a message through a transform: whole blocks, then the end.
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

/// Makes the calls of an action fail one by one. Each failure must be reported at its line (0 for one that is not
/// published), the call after the last one must succeed, and nothing may stay acquired.
template <class Action>
void ExpectLines(FailingCalls& calls, Action action, const std::vector<int>& lines, const Balance& balance) {
    Sweep<ZelWin32::CWin32Exception>(calls, action, [&](int n, const ZelWin32::CWin32Exception* e) {
        if (e != nullptr) {
            EXPECT_EQ(e->GetError(), 1450u);
            const int line = lines.at(static_cast<std::size_t>(n) - 1);
            EXPECT_EQ(e->GetSourceLine(), line == 0 ? e->GetSourceLine() : line) << calls.GetFailed();
        }
        EXPECT_EQ(balance.Get(), 0) << calls.GetFailed();
    });
    EXPECT_GT(balance.GetMade(), 0);
}

} // namespace ZelTest
