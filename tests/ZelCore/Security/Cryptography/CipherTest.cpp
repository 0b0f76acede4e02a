#include "Support/Crypto.h"

namespace {

const wchar_t* const Create = L"`anonymous-namespace'::CreateCryptoTransform";

/// The four blocks of NIST SP 800-38A, appendix F.
const wchar_t* const Message = L"6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                               L"30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const wchar_t* const Counting = L"000102030405060708090a0b0c0d0e0f";

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // the ciphers have no virtual destructor by design
/// Users may derive from the ciphers: the class calls the virtual functions of the derived one.
struct SmallBlocks final : CAes {
    std::uint64_t GetBlockSize() override {
        return 64;
    }
    CipherMode GetMode() override {
        return CipherMode::OFB;
    }
};
#pragma GCC diagnostic pop

/// Calls one of four kinds while the system call fails, and checks the caller's output.
void ExpectOutputLeft(ICryptoTransform& transform, const char* call, const std::string& data) {
    const std::string kept = "what was there " + MakeText(100, 7);
    for (const bool within : {false, true}) { // the input may be part of the output
        std::vector<unsigned char> output(kept.begin(), kept.end());
        const FailingCalls calls(call);
        ExpectError(1450, [&] { transform.TransformBlock(within ? output.data() : Bytes(data), 32, output); });
        EXPECT_EQ(Text(output), kept) << call;
    }
}

} // namespace

TEST(Cipher, GivesTheAnswersOfTheStandards) {
    CAes aes;
    CDes des;
    CTripleDes tripleDes;
    using Digits = const wchar_t*;
    const std::tuple<CSymmetricAlgorithm&, CipherMode, Digits, Digits, Digits, Digits, Digits> rows[] = {
        {aes, CipherMode::ECB, Counting, L"", L"00112233445566778899aabbccddeeff", L"69c4e0d86a7b0430d8cdb78070b4c55a",
         L"FIPS 197, C.1"},
        {aes, CipherMode::ECB, L"000102030405060708090a0b0c0d0e0f1011121314151617", L"",
         L"00112233445566778899aabbccddeeff", L"dda97ca4864cdfe06eaf70a0ec0d7191", L"FIPS 197, C.2"},
        {aes, CipherMode::ECB, L"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f", L"",
         L"00112233445566778899aabbccddeeff", L"8ea2b7ca516745bfeafc49904b496089", L"FIPS 197, C.3"},
        {aes, CipherMode::CBC, L"2b7e151628aed2a6abf7158809cf4f3c", Counting, Message,
         L"7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
         L"73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7",
         L"SP 800-38A, F.2.1"},
        {aes, CipherMode::CBC, L"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", Counting, Message,
         L"4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
         L"571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd",
         L"SP 800-38A, F.2.3"},
        {aes, CipherMode::CBC, L"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", Counting, Message,
         L"f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
         L"39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b",
         L"SP 800-38A, F.2.5"},
        {aes, CipherMode::CFB, L"2b7e151628aed2a6abf7158809cf4f3c", Counting, L"6bc1bee22e409f96e93d7e117393172a",
         L"3b79424c9c0dd436bace9e0ed4586a4f", L"SP 800-38A, F.3.7, its first block"},
        {des, CipherMode::ECB, L"0123456789abcdef", L"", L"4e6f77206973207468652074696d6520666f7220616c6c20",
         L"3fa40e8a984d48156a271787ab8883f9893d51ec4b563b53", L"FIPS 81, table B1"},
        {tripleDes, CipherMode::ECB, L"0123456789abcdef23456789abcdef01456789abcdef0123", L"",
         L"5468652071756663 6b2062726f776e20 666f78206a756d70", L"a826fd8ce53b855fcce21c8112256fe668d5c05dd9b6b900",
         L"SP 800-67, B.1"},
    };
    for (const auto& [algorithm, mode, key, iv, plainDigits, cipherDigits, source] : rows) {
        SCOPED_TRACE(source);
        std::wstring digits = plainDigits;
        std::erase(digits, L' ');
        const std::string plain = Text(Hex(digits.c_str()));
        algorithm.SetMode(mode);
        algorithm.SetKey(Hex(key));
        if (*iv != L'\0') {
            algorithm.SetIV(Hex(iv));
        }
        for (const std::size_t blocks : {1u, 2u, 3u}) {
            const std::string cipher = Transform(*algorithm.CreateEncryptor(), plain + "!", blocks);
            EXPECT_EQ(cipher.substr(0, plain.size()), Text(Hex(cipherDigits)));
            EXPECT_EQ(Transform(*algorithm.CreateDecryptor(), cipher, blocks), plain + "!");
        }
    }
}

TEST(Cipher, KeepsSizesKeysAndModes) {
    CAes aes;
    EXPECT_EQ(aes.GetKey().size(), 32u);
    EXPECT_EQ(aes.GetIV().size(), 16u);
    EXPECT_NE(aes.GetKey(), CAes().GetKey());
    EXPECT_EQ(aes.GetFeedbackSize(), 8u);
    aes.SetKey(SecureBytes(16));
    EXPECT_EQ(aes.GetKeySize(), 128u);
    aes.SetKeySize(192);
    EXPECT_EQ(aes.GetKey().size(), 16u) << "the key stays";
    aes.GenerateKey();
    EXPECT_EQ(aes.GetKey().size(), 24u);
    CDes des;
    EXPECT_EQ(des.GetFeedbackSize(), 64u);
    EXPECT_EQ(des.GetIV().size(), 8u);
    CTripleDes tripleDes;
    tripleDes.SetKeySize(128);
    EXPECT_EQ(tripleDes.GetKey().size(), 16u);
    EXPECT_EQ(tripleDes.GetIV().size(), 8u);
    EXPECT_EQ(Transform(*tripleDes.CreateDecryptor(), Transform(*tripleDes.CreateEncryptor(), "two keys")), "two keys");
    EXPECT_FALSE(CDes::IsWeakKey(SecureBytes(8)) || CDes::IsSemiWeakKey(SecureBytes(8)) ||
                 CTripleDes::IsWeakKey(SecureBytes(24)));
    const CAes copy = aes;
    EXPECT_EQ(copy.GetKey(), aes.GetKey());
    SmallBlocks derived;
    ExpectArgument(L"iv", [&] { derived.GenerateIV(); }); // 8 bytes, where the base class wants 16
    ExpectThrow<CNotImplementedException>([&] { derived.CreateEncryptor(aes.GetKey(), {}); });
    for (const CipherMode mode : {CipherMode::CBC, CipherMode::CFB}) { // an empty IV is one of zeros
        aes.SetMode(mode);
        EXPECT_EQ(Transform(*aes.CreateEncryptor(aes.GetKey(), {}), "text"),
                  Transform(*aes.CreateEncryptor(aes.GetKey(), SecureBytes(16)), "text"));
    }
}

TEST(Cipher, RefusesBadKeysVectorsAndSizes) {
    CAes aes;
    CDes des;
    CTripleDes tripleDes;
    const wchar_t* const setIV = L"CSymmetricAlgorithm::SetIV";
    ExpectArgument(L"iv", [&] { aes.SetIV({}); }, {.method = setIV, .line = 37});
    ExpectArgument(L"iv", [&] { aes.SetIV(SecureBytes(8)); }, {.method = setIV, .line = 41});
    ExpectArgument(L"data", [&] { des.SetKeySize(0), des.GenerateKey(); },
                   {.method = L"CRandomNumberGenerator::GetBytes", .line = 55});
    ExpectArgument(L"iv", [&] { des.SetKeySize(128), des.GenerateIV(); }, {.method = setIV, .line = 41});
    const auto expectKeys = [](auto& algorithm, const wchar_t* method, int empty, int size,
                               std::initializer_list<std::size_t> wrong) {
        ExpectArgument(L"key", [&] { algorithm.SetKey({}); },
                       {.contains = L"Invalid empty key", .method = method, .line = empty});
        for (const std::size_t length : wrong) {
            ExpectArgument(L"key", [&] { algorithm.SetKey(SecureBytes(length)); },
                           {.contains = L"Invalid key size", .method = method, .line = size});
        }
    };
    expectKeys(aes, L"CAes::SetKey", 115, 120, {1, 8, 17, 40});
    expectKeys(des, L"CDes::SetKey", 91, 96, {7, 8});
    expectKeys(tripleDes, L"CTripleDes::SetKey", 132, 136, {8, 32});
    aes.SetKeySize(~std::uint64_t{0});
    ExpectRange(L"size", [&] { aes.GenerateKey(); });
    const SecureBytes key(24, 7), iv(16);
    for (const auto& [algorithm, file] : {std::pair<CSymmetricAlgorithm*, const wchar_t*>{&aes, L"Aes.cpp"},
                                          {&des, L"Des.cpp"},
                                          {&tripleDes, L"TripleDes.cpp"}}) {
        for (const bool encrypting : {false, true}) {
            const auto create = [&](const SecureBytes& k, const SecureBytes& v) {
                encrypting ? algorithm->CreateEncryptor(k, v) : algorithm->CreateDecryptor(k, v);
            };
            algorithm->SetMode(CipherMode::OFB);
            ExpectMessage<CNotImplementedException>(
                L"'': the method '`anonymous-namespace'::CreateCryptoTransform' is not implemented",
                [&] { create({}, {}); }, {.method = Create, .line = 24, .file = file});
            algorithm->SetMode(CipherMode::CFB);
            algorithm->SetFeedbackSize(24);
            ExpectArgument(L"feedbackSize", [&] { create({}, {}); },
                           {.contains = L"Invalid feedback size", .method = Create, .line = 29, .file = file});
            algorithm->SetMode(CipherMode::CBC);
            ExpectArgument(L"key", [&] { create({}, SecureBytes(4)); },
                           {.contains = L"Cannot use empty key", .line = 35});
            ExpectArgument(
                L"iv", [&] { create(key, SecureBytes(7)); },
                {.contains = L"Initialization vector is too small", .method = Create, .line = 49, .file = file});
            algorithm->SetMode(CipherMode::ECB);
            if (algorithm == &des) { // the wrong length for the system
                ExpectThrow<CWin32Exception>(
                    [&] { create(SecureBytes(3), SecureBytes(4)); },
                    {.method = L"ZelCore::Security::Cryptography::CCryptoApiTransform::CCryptoApiTransform",
                     .line = 69});
            } else {
                EXPECT_NO_THROW(create(key, SecureBytes(4))) << "the vector does not count";
            }
        }
    }
    // Values beyond 32 bits are not truncated.
    des.SetMode(CipherMode::CFB);
    for (const std::uint64_t size : {0x1'0000'0040u, 0x1'0000'0000u}) {
        des.SetBlockSize(size), des.SetFeedbackSize(size);
        ExpectRange(L"feedbackSize", [&] { des.CreateEncryptor(SecureBytes(8), {}); });
    }
    des.SetBlockSize(64);
    aes.SetMode(CipherMode::CBC);
    // A vector of 4 GiB and 32 bytes, whose contents must not be accessed.
    const unsigned char* const parts[] = {key.data(), key.data() + 0x1'0000'0020, key.data() + 0x1'0000'0020};
    alignas(SecureBytes) unsigned char storage[sizeof(parts)];
    static_assert(sizeof(parts) == sizeof(SecureBytes));
    std::memcpy(storage, parts, sizeof(parts));
    const auto* const large = reinterpret_cast<const SecureBytes*>(storage);
    ASSERT_EQ(large->size(), 0x1'0000'0020u);
    ExpectRange(L"key", [&] { aes.CreateEncryptor(*large, iv); },
                {.method = L"CCryptoApiTransform::CCryptoApiTransform"});
    tripleDes.SetMode(CipherMode::CFB);
    tripleDes.SetFeedbackSize(8);
    des.SetMode(CipherMode::CFB);
    des.SetFeedbackSize(64);
    EXPECT_NO_THROW(tripleDes.CreateEncryptor(key, {}));
    EXPECT_NO_THROW(des.CreateEncryptor(SecureBytes(8), {}));
}

TEST(Cipher, TransformsFollowTheirRules) {
    CAes aes;
    aes.SetKey(SecureBytes(32, 1)), aes.SetIV(SecureBytes(16, 2)); // another key may yield valid padding by chance
    const auto encryptor = aes.CreateEncryptor(), decryptor = aes.CreateDecryptor();
    const std::string data = MakeText(100);
    std::vector<unsigned char> output;
    const auto expectCount = [&](ICryptoTransform& transform, std::size_t count, bool final) {
        const auto use = [&] {
            final ? (void)transform.TransformFinalBlock(Bytes(data), count)
                  : (void)transform.TransformBlock(Bytes(data), count, output);
        };
        ExpectArgument(
            L"inputCount", use,
            {.contains = L"Invalid count. Must be a multiple of the block size.", .line = final ? 178 : 148});
    };
    for (ICryptoTransform* transform : {encryptor.get(), decryptor.get()}) {
        EXPECT_TRUE(transform->CanReuseTransform() && transform->CanTransformMultipleBlocks());
        EXPECT_TRUE(transform->InputBlockSize() == 16 && transform->OutputBlockSize() == 16);
        ExpectNull(L"inputBuffer", [&] { transform->TransformBlock(nullptr, 0, output); }, {.line = 144});
        ExpectNull(L"inputBuffer", [&] { transform->TransformFinalBlock(nullptr, 0); }, {.line = 165});
        expectCount(*transform, 0, false), expectCount(*transform, 17, false);
        ExpectRange(L"inputCount", [&] { transform->TransformBlock(Bytes(data), 0xFFFFFFF0, output); });
    }
    expectCount(*decryptor, 15, true);
    for (const auto& [count, size] : {std::pair<std::size_t, std::size_t>{0, 16}, {5, 16}, {16, 32}, {17, 32}}) {
        EXPECT_EQ(encryptor->TransformFinalBlock(Bytes(data), count).size(), size);
    }
    ExpectError(ERROR_MORE_DATA, [&] { encryptor->TransformFinalBlock(Bytes(data), 32); }, {.line = 268});
    const std::string cipher = Transform(*aes.CreateEncryptor(), data.substr(0, 20));
    EXPECT_EQ(decryptor->TransformBlock(Bytes(cipher), 16, output), 0u);
    EXPECT_EQ(Text(decryptor->TransformFinalBlock(Bytes(cipher) + 16, 16)), data.substr(0, 20));
    const SecureBytes shortIV(8, 'x');
    SecureBytes paddedIV = shortIV;
    paddedIV.resize(16);
    EXPECT_EQ(Transform(*aes.CreateEncryptor(aes.GetKey(), shortIV), "x"),
              Transform(*aes.CreateEncryptor(aes.GetKey(), paddedIV), "x"));
    EXPECT_EQ(decryptor->TransformBlock(Bytes(cipher), 16, output), 16u) << "the held block stays for the next message";
    ExpectError(static_cast<unsigned long>(NTE_BAD_DATA),
                [&] { aes.CreateDecryptor()->TransformFinalBlock(Bytes(data), 0); }, {.line = 244});
    ExpectOutputLeft(*aes.CreateEncryptor(), "CryptEncrypt", data);
    ExpectOutputLeft(*aes.CreateDecryptor(), "CryptDecrypt", cipher);
    // The output may be the input.
    std::vector<unsigned char> both(data.begin(), data.begin() + 32);
    aes.CreateEncryptor()->TransformBlock(both.data(), 32, both);
    EXPECT_EQ(Text(both), Transform(*aes.CreateEncryptor(), data.substr(0, 32)).substr(0, 32));
    CAes other;
    other.SetKey(SecureBytes(32, 3));
    ExpectThrow<CWin32Exception>([&] { Transform(*other.CreateDecryptor(), cipher); }, {.line = 244});
    const auto retried = aes.CreateDecryptor();
    EXPECT_EQ(retried->TransformBlock(Bytes(cipher), 16, output), 0u);
    {
        const FailingCalls calls("CryptDecrypt");
        ExpectError(1450, [&] { retried->TransformBlock(Bytes(cipher) + 16, 16, output); });
    }
    EXPECT_EQ(retried->TransformBlock(Bytes(cipher) + 16, 16, output), 16u) << "as if it had not been tried";
    EXPECT_EQ(Text(output) + Text(retried->TransformFinalBlock(Bytes(cipher), 0)), data.substr(0, 20));
    aes.SetBlockSize(64); // differs from the system's
    ExpectError(static_cast<unsigned long>(NTE_BAD_DATA),
                [&] { aes.CreateDecryptor()->TransformBlock(Bytes(data), 16, output); });
    aes.SetBlockSize(4);
    expectCount(*aes.CreateEncryptor(), 16, false);
    expectCount(*aes.CreateEncryptor(), 16, true);
    expectCount(*aes.CreateDecryptor(), 0, true);
}

TEST(Cipher, EveryFailingCallSurfacesAtItsLineAndReleasesAll) {
    const CryptoBalance balance;
    FailingCalls calls({"CryptAcquireContextW", "CryptImportKey", "CryptSetKeyParam", "CryptGenRandom", "CryptEncrypt",
                        "CryptDecrypt"});
    const std::vector<int> lines = {46, 37, 46, 37,          // the IV, the key
                                    46, 69, 76, 82, 89, 268, // the encryptor
                                    46, 69, 76, 82, 89, 208, 228, 228, 244};
    const auto use = [] {
        CAes aes;
        aes.SetMode(CipherMode::CFB);
        const std::string cipher = Text(aes.CreateEncryptor()->TransformFinalBlock(Bytes(MakeText(100)), 100));
        EXPECT_EQ(Transform(*aes.CreateDecryptor(), cipher, 2).size(), 100u);
    };
    ExpectLines(calls, use, lines, balance);
}
