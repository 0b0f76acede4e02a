#include "Support/Crypto.h"

namespace {

using enum SignatureHashAlgorithm;

class Signature : public ::testing::Test {
protected:
    void SetUp() override {
        container = L"ZelCore tests " + CGuid::NewGuid().ToString(nullptr);
        const CPrivateKeyInfo info(container.c_str());
        info.Create(1024);
    }
    void TearDown() override {
        CPrivateKeyInfo(container.c_str()).Delete();
    }
    std::wstring container;
};

} // namespace

TEST_F(Signature, SignsVerifiesEncryptsAndDecrypts) {
    const CPrivateKeyInfo key(container.c_str());
    const CPublicKeyInfo decoded = key.GetPublicKey();
    const CPublicKeyInfo publicKey(decoded.GetEncoded().data(), decoded.GetEncoded().size());
    for (const std::string& data : {std::string(), MakeText(100'000)}) {
        for (const auto hash : {Sha1, Sha256, static_cast<SignatureHashAlgorithm>(7)}) {
            auto signature = SignData(key, hash, Bytes(data), data.size(), false);
            auto reversed = SignData(key, hash, Bytes(data), data.size(), true);
            EXPECT_TRUE(std::equal(signature.begin(), signature.end(), reversed.rbegin(), reversed.rend()));
            const auto verify = [&](bool reverse, const std::vector<unsigned char>& bytes) {
                return VerifyData(publicKey, hash, Bytes(data), data.size(), bytes.data(), bytes.size(), reverse);
            };
            EXPECT_TRUE(verify(false, signature) && verify(true, reversed));
            EXPECT_FALSE(verify(true, signature) || verify(false, {}) || verify(false, {1, 2, 3}));
            EXPECT_FALSE(VerifyData(publicKey, hash, Bytes("other"), 5, signature.data(), signature.size(), false));
        }
    }
    const std::size_t longest = 1024 / 8 - 11;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, longest}) {
        const SecureBytes message(size, 'm');
        for (const bool reverse : {false, true}) {
            SecureBytes data = message;
            EncryptData(publicKey, data, reverse);
            EXPECT_EQ(data.size(), 128u);
            SecureBytes wrong = data;
            wrong[5] = static_cast<unsigned char>(wrong[5] ^ 1);
            const SecureBytes before = wrong;
            ExpectThrow<CWin32Exception>([&] { DecryptData(key, wrong, reverse); }, {.line = 173});
            EXPECT_EQ(wrong, before);
            DecryptData(key, data, reverse);
            EXPECT_EQ(data, message);
        }
    }
    SecureBytes tooLong(longest + 1);
    ExpectThrow<CWin32Exception>([&] { EncryptData(publicKey, tooLong, false); });
    EXPECT_EQ(tooLong.size(), longest + 1);
    for (const std::size_t size : {0u, 1u, 64u, 127u, 129u}) {
        SecureBytes wrong(size);
        ExpectThrow<CWin32Exception>([&] { DecryptData(key, wrong, false); }, {.line = 173});
    }
    ExpectNull(L"data", [&] { SignData(key, Sha1, nullptr, 1, false); });
    ExpectNull(L"signature", [&] { VerifyData(publicKey, Sha1, Bytes("x"), 1, nullptr, 1, false); });
    ExpectNull(L"data", [&] { VerifyData(publicKey, Sha1, nullptr, 1, Bytes("x"), 1, false); });
    ExpectError(0x8009000F, [&] { key.Create(1024); });
    const CPrivateKeyInfo missing(L"ZelCore tests, no such container");
    ExpectThrow<CWin32Exception>([&] { SignData(missing, Sha1, Bytes("x"), 1, false); },
                                 {.method = L"CCryptoServiceProvider::CCryptoServiceProvider", .line = 64});
    ExpectThrow<CWin32Exception>([&] { missing.Delete(); });
    ExpectThrow<CWin32Exception>([&] { missing.Create(8); });
    missing.Create(384); // nothing is in the way
    ExpectThrow<CWin32Exception>([&] { SignData(missing, Sha256, Bytes("x"), 1, false); }, {.line = 56});
    EXPECT_FALSE(VerifyData(missing.GetPublicKey(), Sha256, Bytes("x"), 1, Bytes(MakeText(48)), 48, false));
    missing.Delete();
}

TEST_F(Signature, EveryFailingCallSurfacesAtItsLineAndReleasesAll) {
    const CPrivateKeyInfo key(container.c_str());
    const CPublicKeyInfo publicKey = key.GetPublicKey();
    const CryptoBalance balance;
    FailingCalls calls({"CryptAcquireContextW", "CryptCreateHash", "CryptHashData", "CryptSignHashW",
                        "CryptImportPublicKeyInfo", "CryptEncrypt", "CryptGetUserKey", "CryptDecrypt",
                        "CryptGetKeyParam", "CryptExportPublicKeyInfo", "CryptEncodeObjectEx"});
    const std::vector<int> lines = {64,  32,  40,  46, 56,  46,  80,  90, 98, 0, 46, 116, // 0: not published
                                    131, 140, 140, 64, 159, 173, 173, 64, 0,  0, 0,  0};
    const auto use = [&] {
        const auto signature = SignData(key, Sha256, Bytes("abc"), 3, true);
        EXPECT_TRUE(VerifyData(publicKey, Sha256, Bytes("abc"), 3, signature.data(), signature.size(), true));
        SecureBytes data(10);
        EncryptData(publicKey, data, true);
        DecryptData(key, data, true);
        key.GetPublicKey();
    };
    ExpectLines(calls, use, lines, balance);
    const ImportHook hook("CryptSignHashW", [](HCRYPTHASH, DWORD, const wchar_t*, DWORD, BYTE*, DWORD*) -> BOOL {
        return TRUE; // a length of 0
    });
    ExpectInvalid(L"", [&] { SignData(key, Sha1, Bytes("x"), 1, false); }, {.line = 50});
}

TEST_F(Signature, PublicKeysAreReadOrRefused) {
    const std::vector<unsigned char> encoded = CPrivateKeyInfo(container.c_str()).GetPublicKey().GetEncoded();
    for (std::size_t length = 1; length < encoded.size(); ++length) {
        ExpectThrow<CWin32Exception>([&] { CPublicKeyInfo(encoded.data(), length); });
    }
    ForEachFlip(encoded, {0xFF}, [](const std::vector<unsigned char>& flipped) {
        try {
            const CPublicKeyInfo key(flipped.data(), flipped.size());
            EXPECT_FALSE(VerifyData(key, Sha1, Bytes("x"), 1, Bytes("y"), 1, false));
        } catch (const CWin32Exception&) {
        }
    });
    auto even = encoded;
    even.at(even.size() - 1) = 2; // the exponent
    SecureBytes data(5);
    ExpectError(static_cast<unsigned long>(NTE_BAD_KEY),
                [&] { EncryptData(CPublicKeyInfo(even.data(), even.size()), data, true); }, {.line = 116});
    ExpectNull(L"encoded", [] { CPublicKeyInfo(nullptr, 0); });
    ExpectArgument(L"encoded", [] { CPublicKeyInfo(Bytes("x"), 0); });
}
