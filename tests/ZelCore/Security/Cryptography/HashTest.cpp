#include "Support/Crypto.h"

TEST(Hash, GivesTheAnswersOfTheStandards) {
    const std::tuple<ALG_ID, const wchar_t*, const char*> rows[] = {
        // the digest of "abc"
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
    for (const auto& [algorithm, digest, source] : rows) {
        const std::string expected = Text(Hex(digest));
        CHashAlgorithm hash(algorithm);
        EXPECT_EQ(Text(hash.ComputeHash(Bytes("abc"), 3)), expected) << source;
        hash.Clear();
        TestStream stream("abc", 1);
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
    EXPECT_TRUE(hash.InputBlockSize() == 1 && hash.OutputBlockSize() == 1);
    TestStream empty;
    ExpectInvalid(L"The digest is not finalized", [&] { hash.GetDigest(); },
                  {.method = L"CHashAlgorithm::impl::GetDigest", .line = 61});
    ExpectInvalid(L"No data in the digest.", [&] { hash.ComputeHash(empty); },
                  {.method = L"CHashAlgorithm::impl::HashFinal", .line = 85});
    EXPECT_EQ(hash.ComputeHash(nullptr, 0).size(), 20u) << "no bytes are data too";
    ExpectInvalid(L"The digest is finalized, cannot add more data", [&] { hash.ComputeHash(Bytes("a"), 1); },
                  {.method = L"CHashAlgorithm::impl::HashCore", .line = 71});
    ExpectInvalid(L"The digest is already finalized.", [&] { hash.ComputeHash(empty); },
                  {.method = L"CHashAlgorithm::impl::HashFinal", .line = 90});
    std::vector<unsigned char> output(1);
    ExpectNull(L"inputBuffer", [&] { hash.TransformBlock(nullptr, 0, output); }, {.line = 158});
    ExpectNull(L"data", [&] { hash.ComputeHash(nullptr, 1); });
    ExpectError(0x80090008, [] { CHashAlgorithm(0x1234); }, {.method = L"CHashAlgorithm::impl::Clear", .line = 54});
}

TEST(Hash, LeavesTheOutputWhenItFails) {
    CHashAlgorithm hash(CALG_SHA_256);
    const std::string kept = MakeText(100, 3);
    std::vector<unsigned char> output(kept.begin(), kept.end());
    const unsigned char* const before = output.data();
    ExpectFailing("CryptHashData", [&] { hash.TransformBlock(output.data(), 50, output); });
    EXPECT_EQ(Text(output), kept);
    EXPECT_EQ(output.data(), before);
    EXPECT_EQ(hash.TransformBlock(output.data(), 50, output), 50u) << "the input lies in the output";
    EXPECT_EQ(Text(output), kept.substr(0, 50));
}

TEST(Hash, EveryFailingCallSurfacesAndReleasesAll) {
    const CryptoBalance balance;
    FailingCalls calls(
        {"CryptAcquireContextW", "CryptCreateHash", "CryptHashData", "CryptGetHashParam", "CryptDestroyHash"});
    const std::vector<int> lines = {46, 54, 78, 0, 101, 50, 54};
    const auto use = [] {
        CHashAlgorithm hash(CALG_SHA_256);
        hash.ComputeHash(Bytes("abc"), 3);
        hash.Clear();
    };
    int failedDestroying = 0;
    Sweep<CWin32Exception>(calls, use, [&](int n, const CWin32Exception* e) {
        if (e != nullptr) {
            EXPECT_EQ(e->GetSourceLine(), lines.at(static_cast<std::size_t>(n) - 1)) << calls.GetFailed();
        }
        failedDestroying += calls.GetFailed() == "CryptDestroyHash" ? 1 : 0;
        EXPECT_EQ(balance.Get(), failedDestroying) << "never destroyed twice";
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
    const wchar_t* const method = L"CRandomNumberGenerator::GetBytes";
    ExpectNull(L"data", [&] { random.GetBytes(nullptr, 0); }, {.method = method, .line = 29});
    ExpectMessage<CArgumentException>(L"'Cannot be empty': parameter name: 'dataSize'",
                                      [&] { random.GetBytes(bytes.data(), 0); }, {.line = 33});
    bytes.clear();
    ExpectArgument(L"data", [&] { random.GetBytes(bytes); },
                   {.method = method, .line = 55, .file = L"RandomNumberGenerator.h"});
    unsigned char byte = 0;
    ExpectFailing("CryptGenRandom", [&] { random.GetBytes(&byte, 1); }, {.method = method, .line = 37});
    std::vector<DWORD> counts; // sizes beyond 32 bits are split
    const ImportHook hook("CryptGenRandom", [&](HCRYPTPROV, DWORD count, BYTE*) -> BOOL {
        counts.push_back(count);
        return TRUE;
    });
    random.GetBytes(&byte, 0x1'0000'0005);
    EXPECT_EQ(counts, (std::vector<DWORD>{0x40000000, 0x40000000, 0x40000000, 0x40000000, 5}));
}
