#include "Support/Crypto.h"

#include "ZelCore/Security/Cryptography/HashAlgorithm.h"
#include "ZelCore/Security/Cryptography/RandomNumberGenerator.h"

TEST(Hash, GivesTheAnswersOfTheStandards) {
    const struct {
        ALG_ID algorithm;
        const wchar_t* digest; ///< of "abc"
        const char* source;
    } rows[] = {
        {CALG_MD4, L"a448017aaf21d8525fc10ae87aa6729d", "RFC 1320, A.5"},
        {CALG_MD5, L"900150983cd24fb0d6963f7d28e17f72", "RFC 1321, A.5"},
        {CALG_SHA1, L"a9993e364706816aba3e25717850c26c9cd0d89d", "FIPS 180, SHA-1 example"},
        {CALG_SHA_256, L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", "FIPS 180, SHA-256"},
        {CALG_SHA_384,
         L"cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7",
         "FIPS 180, SHA-384"},
        {CALG_SHA_512,
         L"ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
         L"2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
         "FIPS 180, SHA-512"},
    };
    for (const auto& row : rows) {
        const std::string expected = Text(Hex(row.digest));
        CHashAlgorithm hash(row.algorithm);
        EXPECT_EQ(Text(hash.ComputeHash(Bytes("abc"), 3)), expected) << row.source;
        hash.Clear();
        TestStream stream("abc");
        stream.largestRead = 1;
        EXPECT_EQ(Text(hash.ComputeHash(stream)), expected);
        hash.Clear();
        std::vector<unsigned char> output;
        EXPECT_EQ(hash.TransformBlock(Bytes("ab"), 2, output), 2u);
        EXPECT_EQ(Text(output), "ab");
        EXPECT_EQ(Text(hash.TransformFinalBlock(Bytes("c"), 1)), expected);
        EXPECT_EQ(Text(hash.GetDigest()), expected);
    }
}

TEST(Hash, KnowsItsState) {
    CHashAlgorithm hash(CALG_SHA1);
    EXPECT_TRUE(hash.CanReuseTransform() && hash.CanTransformMultipleBlocks());
    EXPECT_EQ(hash.InputBlockSize() + hash.OutputBlockSize(), 2u);
    TestStream empty;
    const std::wstring impl = L"ZelCore::Security::Cryptography::CHashAlgorithm::impl::";
    const auto expect = [&](const std::function<void()>& action, const wchar_t* text, const wchar_t* method, int line) {
        ExpectThrow<CInvalidOperationException>(action,
                                                {.message = text, .method = (impl + method).c_str(), .line = line});
    };
    expect([&] { hash.GetDigest(); }, L"The digest is not finalized", L"GetDigest", 61);
    expect([&] { hash.ComputeHash(empty); }, L"No data in the digest.", L"HashFinal", 85);
    EXPECT_EQ(hash.ComputeHash(nullptr, 0).size(), 20u) << "no bytes are data too";
    expect([&] { hash.ComputeHash(Bytes("a"), 1); }, L"The digest is finalized, cannot add more data", L"HashCore", 71);
    expect([&] { hash.ComputeHash(empty); }, L"The digest is already finalized.", L"HashFinal", 90);
    std::vector<unsigned char> output(1);
    ExpectThrow<CArgumentNullException>([&] { hash.TransformBlock(nullptr, 0, output); },
                                        {.param = L"inputBuffer", .line = 158});
    ExpectThrow<CArgumentNullException>([&] { hash.ComputeHash(nullptr, 1); }, {.param = L"data"});
    ExpectThrow<CWin32Exception>([] { CHashAlgorithm(0x1234); },
                                 {.code = 0x80090008, .method = (impl + L"Clear").c_str(), .line = 54});
}

TEST(Hash, EveryFailingCallSurfacesAndReleasesAll) {
    const CryptoBalance balance;
    FailingCalls calls({{"CryptAcquireContextW"},
                        {"CryptCreateHash"},
                        {"CryptHashData"},
                        {"CryptGetHashParam"},
                        {"CryptDestroyHash"}});
    const std::vector<int> lines = {46, 54, 78, 0, 101, 50, 54};
    int failedDestroying = 0;
    Sweep([&](int n) {
        calls.FailOn(n);
        try {
            CHashAlgorithm hash(CALG_SHA_256);
            hash.ComputeHash(Bytes("abc"), 3);
            hash.Clear();
        } catch (const CWin32Exception& e) {
            EXPECT_EQ(e.GetSourceLine(), lines.at(static_cast<std::size_t>(n) - 1)) << calls.GetFailed();
        }
        failedDestroying += n == 6 || n == 8 ? 1 : 0;
        EXPECT_EQ(balance.Get(), failedDestroying) << "never destroyed twice";
        return calls.GetFailed() != nullptr;
    });
    calls.FailOn(0);
    CHashAlgorithm hash(CALG_MD5);
    calls.FailOn(2);
    EXPECT_TRUE(hash.ComputeHash(Bytes("abc"), 3).empty()) << "an unknown length is no exception";
}

TEST(RandomNumbers, FillEverythingOrThrow) {
    const CRandomNumberGenerator random;
    std::vector<unsigned char> bytes(100'000);
    random.GetBytes(bytes);
    EXPECT_LT(std::count(bytes.begin(), bytes.end(), 0), 1000);
    const wchar_t* const method = L"ZelCore::Security::Cryptography::CRandomNumberGenerator::GetBytes";
    ExpectThrow<CArgumentNullException>([&] { random.GetBytes(nullptr, 0); },
                                        {.param = L"data", .method = method, .line = 29});
    ExpectThrow<CArgumentException>([&] { random.GetBytes(bytes.data(), 0); },
                                    {.message = L"'Cannot be empty': parameter name: 'dataSize'", .line = 33});
    bytes.clear();
    ExpectThrow<CArgumentException>(
        [&] { random.GetBytes(bytes); },
        {.param = L"data", .method = method, .line = 55, .file = L"RandomNumberGenerator.h"});
    FailingCalls calls({{"CryptGenRandom"}});
    calls.FailOn(1);
    unsigned char byte = 0;
    ExpectThrow<CWin32Exception>([&] { random.GetBytes(&byte, 1); }, {.code = 1450, .method = method, .line = 37});
    static std::vector<DWORD> s_counts; // beyond 32 bits it goes on in pieces
    const ImportHook hook("CryptGenRandom", [](HCRYPTPROV, DWORD count, BYTE*) -> BOOL {
        s_counts.push_back(count);
        return TRUE;
    });
    random.GetBytes(&byte, 0x1'0000'0005);
    EXPECT_EQ(s_counts, (std::vector<DWORD>{0x40000000, 0x40000000, 0x40000000, 0x40000000, 5}));
}
