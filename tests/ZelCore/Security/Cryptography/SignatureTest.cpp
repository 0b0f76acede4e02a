#include "Support/Crypto.h"

namespace {

using enum SignatureHashAlgorithm;

class Signature : public ::testing::Test {
protected:
    void SetUp() override {
        container = L"ZelCore tests " + CGuid::NewGuid().ToString(nullptr);
        const CPrivateKeyInfo info(container.c_str());
        info.Create(2048);
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
    const std::size_t longest = 2048 / 8 - 11;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, longest}) {
        const SecureBytes message(size, 'm');
        for (const bool reverse : {false, true}) {
            SecureBytes data = message;
            EncryptData(publicKey, data, reverse);
            EXPECT_EQ(data.size(), 256u);
            SecureBytes wrong = data;
            wrong[5] = static_cast<unsigned char>(wrong[5] ^ 1);
            const SecureBytes before = wrong;
            ExpectThrow<CWin32Exception>([&] { DecryptData(key, wrong, reverse); }, {.line = 173});
            EXPECT_EQ(wrong, before);
            DecryptData(key, data, reverse);
            EXPECT_EQ(data, message);
        }
    }
    for (const std::size_t size : {longest + 1, longest + 11, longest + 12, std::size_t{10'000}}) {
        SecureBytes tooLong(size);
        const ImportHook system("CryptEncrypt", [](HCRYPTKEY, HCRYPTHASH, BOOL, DWORD, BYTE*, DWORD*, DWORD) -> BOOL {
            ADD_FAILURE() << "the system is asked";
            return FALSE;
        });
        ExpectError(static_cast<unsigned long>(NTE_BAD_LEN), [&] { EncryptData(publicKey, tooLong, false); },
                    {.line = 131});
        EXPECT_EQ(tooLong.size(), size);
    }
    for (const std::size_t size : {0u, 1u, 128u, 255u, 257u}) {
        SecureBytes wrong(size);
        ExpectThrow<CWin32Exception>([&] { DecryptData(key, wrong, false); }, {.line = 173});
    }
    ExpectNull(L"data", [&] { SignData(key, Sha1, nullptr, 1, false); });
    ExpectNull(L"signature", [&] { VerifyData(publicKey, Sha1, Bytes("x"), 1, nullptr, 1, false); });
    ExpectNull(L"data", [&] { VerifyData(publicKey, Sha1, nullptr, 1, Bytes("x"), 1, false); });
    ExpectError(0x8009000F, [&] { key.Create(2048); });
    const CPrivateKeyInfo missing(L"ZelCore tests, no such container");
    ExpectThrow<CWin32Exception>([&] { SignData(missing, Sha1, Bytes("x"), 1, false); },
                                 {.method = L"CCryptoServiceProvider::CCryptoServiceProvider", .line = 64});
    ExpectThrow<CWin32Exception>([&] { missing.Delete(); });
    for (const unsigned bits : {0u, 8u, 512u, 1024u, 2047u, 0x10000u}) {
        ExpectRange(L"bits", [&] { missing.Create(bits); }, {.method = L"CPrivateKeyInfo::Create"});
    }
    ExpectFailing("CryptGenKey", [&] { missing.Create(2048); });
    HCRYPTPROV provider = 0; // no container of that name exists
    HCRYPTKEY weak = 0;
    ASSERT_TRUE(::CryptAcquireContextW(&provider, missing.GetContainerName(),
                                       L"Microsoft Enhanced RSA and AES Cryptographic Provider", PROV_RSA_AES,
                                       CRYPT_NEWKEYSET) &&
                ::CryptGenKey(provider, AT_KEYEXCHANGE, 384 << 16, &weak) && ::CryptDestroyKey(weak) &&
                ::CryptReleaseContext(provider, 0));
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
    const std::vector<int> lines = {64, 32,  40,  46, 56,  46,  80,  90, 98, 0, 46, 116, // 0: not published
                                    0,  131, 140, 64, 159, 173, 173, 64, 0,  0, 0,  0};
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

/// Returns a SubjectPublicKeyInfo with a modulus of that many bytes, at most 90.
std::vector<unsigned char> MakePublicKey(std::size_t modulusLength, unsigned char exponent) {
    const auto wrap = [](int tag, std::vector<unsigned char> content) {
        const std::size_t length = content.size();
        content.insert(content.begin(), {static_cast<unsigned char>(tag), static_cast<unsigned char>(length)});
        return content;
    };
    const auto join = [](std::vector<unsigned char> a, const std::vector<unsigned char>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    std::vector<unsigned char> modulus(modulusLength + 1, 0xFF); // a positive integer
    modulus[0] = 0;
    const auto key = wrap(0x30, join(wrap(2, modulus), wrap(2, {exponent})));
    const std::vector<unsigned char> rsa = {6, 9, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 1, 1, 1, 5, 0};
    return wrap(0x30, join(wrap(0x30, rsa), wrap(3, join({0}, key))));
}

TEST(PublicKey, LengthsThatTheProviderLacksAreRefused) {
    int asked = 0;
    const ImportHook system(
        "CryptImportPublicKeyInfo",
        [&](HCRYPTPROV provider, DWORD encoding, CERT_PUBLIC_KEY_INFO* info, HCRYPTKEY* key) -> BOOL {
            ++asked;
            return ::CryptImportPublicKeyInfo(provider, encoding, info, key);
        });
    const auto verify = [](std::size_t length, unsigned char exponent) {
        const std::vector<unsigned char> encoded = MakePublicKey(length, exponent);
        const CPublicKeyInfo key(encoded.data(), encoded.size());
        return VerifyData(key, Sha1, Bytes("x"), 1, Bytes(MakeText(90)), length, true);
    };
    EXPECT_FALSE(verify(48, 3));
    EXPECT_EQ(asked, 1);
    for (const auto& [length, exponent] : {std::pair<std::size_t, unsigned char>{1, 3}, {47, 3}, {48, 2}, {48, 1}}) {
        ExpectError(static_cast<unsigned long>(NTE_BAD_KEY), [&, l = length, e = exponent] { verify(l, e); },
                    {.line = 80});
    }
    EXPECT_EQ(asked, 1);
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
    // The last byte of the identifier rsaEncryption, 1.2.840.113549.1.1.1, changed to OAEP, PSS and an unknown one.
    const unsigned char rsa[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
    for (const int other : {2, 7, 10, 99}) {
        auto changed = encoded;
        const auto found = std::search(changed.begin(), changed.end(), std::begin(rsa), std::end(rsa));
        ASSERT_NE(found, changed.end());
        found[8] = static_cast<unsigned char>(other);
        const CPublicKeyInfo key(changed.data(), changed.size());
        const ImportHook system("CryptImportPublicKeyInfo",
                                [](HCRYPTPROV, DWORD, CERT_PUBLIC_KEY_INFO*, HCRYPTKEY*) -> BOOL {
                                    ADD_FAILURE() << "the system is asked";
                                    return FALSE;
                                });
        const auto code = static_cast<unsigned long>(NTE_BAD_ALGID);
        ExpectError(code, [&] { EncryptData(key, data, true); }, {.line = 116});
        ExpectError(code, [&] { VerifyData(key, Sha256, Bytes("x"), 1, Bytes("y"), 1, true); }, {.line = 80});
    }
    ExpectNull(L"encoded", [] { CPublicKeyInfo(nullptr, 0); });
    ExpectArgument(L"encoded", [] { CPublicKeyInfo(Bytes("x"), 0); });
}

TEST(KeyContainer, TheDefaultOneIsNeitherMadeNorDeleted) {
    const ImportHook acquire("CryptAcquireContextW",
                             [](HCRYPTPROV*, const wchar_t*, const wchar_t*, DWORD, DWORD) -> BOOL {
                                 ADD_FAILURE() << "the system is asked";
                                 return FALSE;
                             });
    ExpectArgument(L"containerName", [] { CPrivateKeyInfo(L""); },
                   {.contains = L"Cannot be empty", .method = L"CPrivateKeyInfo::CPrivateKeyInfo"});
    const CPrivateKeyInfo byDefault(nullptr, 0x20);
    EXPECT_EQ(byDefault.GetContainerName(), nullptr);
    ExpectNull(L"containerName", [&] { byDefault.Create(2048); }, {.method = L"CPrivateKeyInfo::Create"});
    ExpectNull(L"containerName", [&] { byDefault.Delete(); }, {.method = L"CPrivateKeyInfo::Delete"});
    CPrivateKeyInfo source(L"a name that is longer than what lies in the object"), target = std::move(source);
    EXPECT_STREQ(source.GetContainerName(), target.GetContainerName()) << "no object becomes the default one by a move";
}

TEST(KeyContainer, TheDefaultOneSigns) {
    std::wstring asked;
    const ImportHook acquire("CryptAcquireContextW",
                             [&](HCRYPTPROV*, const wchar_t* container, const wchar_t*, DWORD, DWORD) -> BOOL {
                                 asked = container == nullptr ? L"(null)" : container;
                                 return FALSE;
                             });
    ExpectThrow<CWin32Exception>([] { SignData(CPrivateKeyInfo(nullptr), Sha1, Bytes("x"), 1, false); }, {.line = 64});
    EXPECT_EQ(asked, L"(null)");
}
