#include "Support/Crypto.h"

namespace {

constexpr auto Read = CryptoStreamMode::Read;
constexpr auto Write = CryptoStreamMode::Write;

std::string Written(ICryptoTransform& transform, const std::string& data, std::size_t piece) {
    TestStream target;
    CCryptoStream stream(target, transform, Write);
    WriteAll(stream, data, piece);
    stream.Close();
    return target.data;
}

std::string ReadOut(ICryptoTransform& transform, const std::string& data, std::size_t piece, std::size_t largestRead) {
    TestStream source(data, largestRead);
    CCryptoStream stream(source, transform, Read);
    return ReadAll(stream, piece);
}

/// Takes three bytes and returns each of them twice, but only in every other call; in single blocks or several at a
/// time.
struct Doubler final : ICryptoTransform {
    explicit Doubler(bool many) : m_many(many) {}
    bool CanReuseTransform() const override {
        return true;
    }
    bool CanTransformMultipleBlocks() const override {
        return m_many;
    }
    std::size_t InputBlockSize() const override {
        return m_block;
    }
    std::size_t OutputBlockSize() const override {
        return m_many ? 0 : 6;
    }
    std::size_t TransformBlock(const unsigned char* input, std::size_t count,
                               std::vector<unsigned char>& output) override {
        EXPECT_TRUE(m_many || count == 3);
        Add(input, count);
        output.clear();
        if (++m_calls % 2 == 0) {
            output.swap(m_waiting);
        }
        return output.size();
    }
    std::vector<unsigned char> TransformFinalBlock(const unsigned char* input, std::size_t count) override {
        Add(input, count);
        return std::exchange(m_waiting, {});
    }

    void Add(const unsigned char* input, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_waiting.insert(m_waiting.end(), 2, input[i]);
        }
    }
    bool m_many;
    std::size_t m_block = 3;
    int m_calls = 0;
    std::vector<unsigned char> m_waiting;
};

} // namespace

TEST(CryptoStream, EverySplitGivesTheSameBytes) {
    CAes cbc, ecb, cfb;
    ecb.SetMode(CipherMode::ECB);
    cfb.SetMode(CipherMode::CFB);
    CTripleDes tripleDes;
    CDes des;
    for (CSymmetricAlgorithm* algorithm :
         std::initializer_list<CSymmetricAlgorithm*>{&cbc, &ecb, &cfb, &tripleDes, &des}) {
        // One encryptor for all: it starts again after each message.
        const auto encryptor = algorithm->CreateEncryptor();
        const std::size_t step = algorithm == &cbc ? 1 : 7;
        for (std::size_t length = 0; length <= 100; ++length) {
            const std::string message = MakeText(length, static_cast<unsigned>(length));
            const std::string cipher = Transform(*encryptor, message);
            for (std::size_t piece = 1 + length % step; piece <= 40; piece += step) {
                ASSERT_EQ(Written(*encryptor, message, piece), cipher);
                ASSERT_EQ(ReadOut(*encryptor, message, piece, piece % 5 + 1), cipher);
                ASSERT_EQ(Written(*algorithm->CreateDecryptor(), cipher, piece), message);
                ASSERT_EQ(ReadOut(*algorithm->CreateDecryptor(), cipher, piece, piece % 17 + 1), message);
            }
        }
    }
    const std::string large = MakeText(5'000'003);
    const std::string cipher = Written(*cbc.CreateEncryptor(), large, large.size());
    EXPECT_EQ(ReadOut(*cbc.CreateDecryptor(), cipher, 3'000'000, 700'000), large);
}

TEST(CryptoStream, AsksTheOtherStreamNoMoreThanItMust) {
    CAes aes;
    const std::string large = MakeText(2'500'000);
    const std::string cipher = Written(*aes.CreateEncryptor(), large, large.size());
    const struct {
        std::size_t size, wanted, largestRead;
        int calls;
        const char* why;
    } rows[] = {
        {112, 1000, SIZE_MAX, 2, "all that is left, and the end"},
        {112, 1000, 64, 4, "64 bytes, a block, the other 32, and the end"},
        {112, 16, SIZE_MAX, 2, "one block at a time: a decryptor holds the first one back"},
        {112, 64, SIZE_MAX, 2, "a full round, and the block that the decryptor held back"},
        {3 << 20, 3 << 20, SIZE_MAX, 4, "full rounds of 1 MiB, the rest, and the end"},
        {0, 1000, SIZE_MAX, 2, "a round and the end, which throws"},
    };
    for (const auto& [size, wanted, largestRead, calls, why] : rows) {
        TestStream source(cipher.substr(0, size), largestRead);
        const auto decryptor = aes.CreateDecryptor();
        CCryptoStream stream(source, *decryptor, Read);
        try {
            ReadSome(stream, wanted);
        } catch (const CWin32Exception&) { // truncated
        }
        EXPECT_EQ(source.calls, calls) << why;
    }
}

TEST(CryptoStream, TakesTransformsOfOtherShapes) {
    for (const bool many : {false, true}) {
        for (std::size_t length = 0; length < 30; ++length) {
            const std::string message = MakeText(length);
            std::string expected;
            for (const char c : message) {
                expected.append(2, c);
            }
            for (std::size_t piece = 1; piece < 40; ++piece) {
                Doubler writing(many), reading(many);
                ASSERT_EQ(Written(writing, message, piece), expected);
                ASSERT_EQ(ReadOut(reading, message, piece, piece % 4 + 1), expected);
            }
        }
    }
    TestStream target;
    Doubler huge(false);
    huge.m_block = SIZE_MAX;
    ExpectRange(L"transform", [&] { CCryptoStream(target, huge, Write); });
    CHashAlgorithm hash(CALG_SHA_256);
    CCryptoStream stream(target, hash, Write);
    stream.Write(Bytes("abc"), 3);
    stream.Close();
    EXPECT_EQ(target.data, "abc" + Text(hash.GetDigest())) << "the data passes, then comes the digest";
}

TEST(CryptoStream, AFailingStreamLosesNothingThatWasRead) {
    CAes aes;
    const std::string message = MakeText(300);
    const std::string cipher = Transform(*aes.CreateEncryptor(), message);
    Sweep([&](int n) {
        TestStream source(cipher, 11, n);
        const auto decryptor = aes.CreateDecryptor();
        CCryptoStream stream(source, *decryptor, Read);
        std::string result;
        bool failed = false;
        for (;;) {
            try {
                result += ReadAll(stream, 50);
                break;
            } catch (const CFormatException&) {
                failed = true;
                result += ReadSome(stream, 1); // bytes counted before the failure are returned by the next reads
            }
        }
        if (failed) { // ReadAll discards its result when it throws
            EXPECT_TRUE(message.ends_with(result));
            EXPECT_EQ((message.size() - result.size()) % 50, 0u) << "whole reads only";
        } else {
            EXPECT_EQ(result, message);
        }
        return failed;
    });
    Sweep([&](int n) { // writing: after a failure the rest is not completed implicitly
        TestStream target("", SIZE_MAX, n);
        const auto encryptor = aes.CreateEncryptor();
        try {
            CCryptoStream stream(target, *encryptor, Write);
            WriteAll(stream, message, 50);
            stream.Close();
        } catch (const CFormatException&) {
            EXPECT_EQ(target.calls, n) << "no write after the failure";
            EXPECT_TRUE(cipher.starts_with(target.data));
            return true;
        }
        EXPECT_EQ(target.data, cipher);
        return false;
    });
}

TEST(CryptoStream, DamagedCipherTextIsReportedOrHarmless) {
    CAes aes;
    aes.SetKey(SecureBytes(32, 1)); // a damaged last block has valid padding under one key of 256
    aes.SetIV(SecureBytes(16, 2));
    const std::string cipher = Transform(*aes.CreateEncryptor(), MakeText(50));
    const auto decrypt = [&](const std::string& damaged) {
        const auto decryptor = aes.CreateDecryptor();
        try {
            return ReadOut(*decryptor, damaged, 33, 9).size();
        } catch (const CException&) {
            return std::size_t{0};
        }
    };
    for (std::size_t length = 0; length < cipher.size(); ++length) {
        EXPECT_LE(decrypt(cipher.substr(0, length)), length);
    }
    int reported = 0;
    ForEachFlip(cipher, {0x80}, [&](const std::string& flipped) { reported += decrypt(flipped) == 0 ? 1 : 0; });
    EXPECT_GE(reported, 30) << "the last two blocks are what the padding is checked by";
}

TEST(CryptoStream, GoesOnAfterTheOtherStreamFailedButNotAfterTheTransform) {
    CAes aes;
    aes.SetKey(SecureBytes(32, 1)), aes.SetIV(SecureBytes(16, 2)); // see DamagedCipherText
    const std::string message = MakeText(70);
    const std::string cipher = Transform(*aes.CreateEncryptor(), message);
    const auto encryptor = aes.CreateEncryptor();
    for (std::size_t piece = 1; piece <= message.size(); ++piece) {
        for (const int failOn : {1, 2, 3}) {
            TestStream target("", SIZE_MAX, failOn);
            CCryptoStream writing(target, *encryptor, Write);
            for (std::size_t at = 0; at < message.size(); at += piece) {
                try {
                    writing.Write(Bytes(message) + at, std::min(piece, message.size() - at));
                } catch (const CFormatException&) {            // has accepted all bytes
                    target.failOn += target.calls < 5 ? 1 : 0; // usually fails again
                }
            }
            target.failOn = 0;
            writing.Close();
            ASSERT_EQ(target.data, cipher) << piece;
        }
    }
    {
        TestStream target;
        CCryptoStream writing(target, *encryptor, Write);
        FailingCalls calls("CryptEncrypt");
        for (int i = 0; i < 2; ++i) { // nothing is written after the missing data
            ExpectError(1450, [&] { writing.Write(Bytes(message), 16); });
        }
        writing.Close();
        EXPECT_EQ(target.data, "");
    }
    TestStream source(cipher.substr(0, 79) + "!");
    const auto decryptor = aes.CreateDecryptor();
    CCryptoStream reading(source, *decryptor, Read);
    for (int i = 0; i < 300; ++i) { // one attempt of 256 would find valid padding
        ExpectThrow<CWin32Exception>([&] { ReadSome(reading, 100); }, {.line = 244});
    }
    EXPECT_EQ(ReadSome(reading, 64), message.substr(0, 64)) << "what came before is good";
    TestStream again(cipher);
    const auto other = aes.CreateDecryptor();
    CCryptoStream failing(again, *other, Read);
    const FailingCalls calls("CryptDecrypt");
    for (int i = 0; i < 2; ++i) {
        ExpectError(1450, [&] { ReadSome(failing, 70); });
    }
}

TEST(CryptoStream, HasAContract) {
    CAes aes;
    const auto encryptor = aes.CreateEncryptor();
    TestStream base;
    base.capabilities = StreamCapabilities::None;
    const auto make = [&](CryptoStreamMode mode) { CCryptoStream(base, *encryptor, mode); };
    ExpectMessage<CArgumentException>(L"'Stream must be readable': parameter name: 'stream'", [&] { make(Read); },
                                      {.method = L"CCryptoStream::impl::Initialize", .line = 301});
    ExpectMessage<CArgumentException>(L"'Stream must be writeable': parameter name: 'stream'", [&] { make(Write); },
                                      {.line = 308});
    ExpectRange(L"mode", [&] { make(static_cast<CryptoStreamMode>(2)); },
                {.contains = L"actual value was Unknown", .line = 313});
    const auto shared = std::make_shared<TestStream>();
    const std::shared_ptr<ICryptoTransform> transform = aes.CreateEncryptor();
    ExpectNull(L"stream", [&] { CCryptoStream(nullptr, transform, Write); }, {.line = 294});
    ExpectNull(L"transform", [&] { CCryptoStream(shared, nullptr, Write); }, {.line = 295});
    {
        CCryptoStream stream(shared, transform, Write);
        EXPECT_EQ(shared.use_count(), 2);
        EXPECT_EQ(stream.GetCapabilities(), StreamCapabilities::CanWrite);
        stream.Write(Bytes("12345"), 5);
        stream.Flush();
        ExpectNull(L"buffer", [&] { stream.Write(nullptr, 1); });
        EXPECT_EQ(shared->data.size(), 0u);
    } // the destructor writes the last block, also after a rejected argument
    EXPECT_EQ(shared->data.size(), 16u);
    EXPECT_FALSE(shared->closed || shared->flushes != 0);
    base.capabilities = StreamCapabilities::CanRead | StreamCapabilities::CanWrite;
    CCryptoStream writing(base, *encryptor, Write), reading(base, *encryptor, Read);
    unsigned char byte = 0;
    ExpectInvalid(L"Cannot read from the stream", [&] { writing.Read(&byte, 1); }, {.line = 386});
    ExpectInvalid(L"Cannot write to the stream", [&] { reading.Write(&byte, 1); }, {.line = 408});
    ExpectMessage<CNotSupportedException>(L"", [&] { reading.GetLength(); }, {.line = 369});
    ExpectThrow<CNotSupportedException>([&] { reading.GetPosition(); }, {.line = 375});
    ExpectThrow<CNotSupportedException>([&] { reading.Seek(0, SeekOrigin::Begin); }, {.line = 397});
    for (CCryptoStream* stream : {&writing, &reading}) {
        stream->Close();
        stream->Close();
        EXPECT_EQ(stream->GetCapabilities(), StreamCapabilities::None);
        const wchar_t* const closed = L"The handle is invalid";
        ExpectInvalid(closed, [&] { stream->Read(&byte, 1); });
        ExpectInvalid(closed, [&] { stream->Write(&byte, 1); });
        ExpectInvalid(closed, [&] { stream->Flush(); }, {.line = 351});
    }
    EXPECT_EQ(base.data.size(), 16u) << "one block of padding, once";
    CCryptoStream source(shared, transform, Write), moved(std::move(source));
    ExpectInvalid(L"The handle is invalid", [&] { source.Write(&byte, 1); });
    moved.Write(&byte, 1);
    source = std::move(moved), moved = CCryptoStream(base, *encryptor, Read);
    source.Close(), moved.Close();
    EXPECT_EQ(shared->data.size(), 32u);
    const auto decryptor = aes.CreateDecryptor();
    CCryptoStream incomplete(base, *decryptor, Write);
    incomplete.Write(&byte, 1);
    ExpectArgument(L"inputCount", [&] { incomplete.Close(); });
    EXPECT_EQ(incomplete.GetCapabilities(), StreamCapabilities::None) << "closed all the same";
}
