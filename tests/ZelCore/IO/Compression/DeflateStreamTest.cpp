#include "Support/Test.h"

namespace {

constexpr auto Compress = CompressionMode::Compress;
constexpr auto Decompress = CompressionMode::Decompress;
const wchar_t* const Initialize = L"CDeflateStream::impl::Initialize";

std::string Deflated(const std::string& text, bool gzip, std::size_t piece = SIZE_MAX) {
    TestStream target;
    CDeflateStream stream(target, Compress, gzip);
    WriteAll(stream, text, piece);
    stream.Close();
    EXPECT_LE(target.largestWrite, 16384u);
    return target.data;
}

std::string Inflated(const std::string& data, bool gzip, std::size_t piece = 1000, std::size_t dribble = SIZE_MAX) {
    TestStream source(data, dribble);
    CDeflateStream stream(source, Decompress, gzip);
    const std::string text = ReadAll(stream, piece);
    EXPECT_EQ(ReadSome(stream, 1), "") << "and so on";
    return text;
}

} // namespace

TEST(DeflateStream, GivesBackWhatWasWrittenInAnyPieces) {
    for (const bool gzip : {false, true}) {
        for (const std::size_t size : {0u, 1u, 100u, 16384u, 200'000u}) {
            const std::string text = MakeText(size, static_cast<unsigned>(size));
            const std::string data = Deflated(text, gzip);
            EXPECT_EQ(Deflated(text, gzip, 777), data);
            for (const std::size_t piece : {1u, 13u, 4096u, 300'000u}) {
                EXPECT_EQ(Inflated(data, gzip, piece, piece * 3), text);
            }
        }
    }
    std::string noise(500'000, '\0'); // more output than input, in pieces of exactly one buffer
    for (std::size_t i = 0, x = 1; i < noise.size(); ++i) {
        noise[i] = static_cast<char>((x = x * 6364136223846793005u + 1442695040888963407u) >> 56);
    }
    EXPECT_EQ(Inflated(Deflated(noise, false), false), noise);
    // Made by Python: zlib.compressobj(wbits=-15) and gzip.compress(b"", mtime=0).
    EXPECT_EQ(Inflated(std::string("\xCBH\xCD\xC9\xC9\x07\x00", 7), false), "hello");
    EXPECT_EQ(Inflated(std::string("\x1F\x8B\x08\0\0\0\0\0\x02\xFF\x03\0\0\0\0\0\0\0\0\0", 20), true), "");
    EXPECT_EQ(Deflated("", false), std::string("\x03\0", 2)) << "an empty stream is complete";
    TestStream source(Deflated("text", true) + "behind");
    CDeflateStream stream(source, Decompress, true);
    EXPECT_EQ(ReadSome(stream, 10), "text");
    const int calls = source.calls;
    EXPECT_EQ(ReadSome(stream, 10), "");
    EXPECT_EQ(source.calls, calls) << "the end is known without asking";
}

TEST(DeflateStream, ChecksItsArguments) {
    TestStream stream;
    const auto create = [&](unsigned capabilities, int mode) {
        stream.capabilities = static_cast<StreamCapabilities>(capabilities);
        CDeflateStream(stream, static_cast<CompressionMode>(mode), false);
    };
    ExpectNull(L"stream", [] { CDeflateStream(std::shared_ptr<CStream>(), Compress, false); },
               {.method = Initialize, .line = 144});
    ExpectArgument(L"mode", [&] { create(1, 0); },
                   {.message = L"'Stream must be writable when mode is 'Compress'': parameter name: 'mode'",
                    .method = Initialize,
                    .line = 150,
                    .file = L"DeflateStream.cpp"});
    ExpectArgument(
        L"mode", [&] { create(2, 1); },
        {.message = L"'Stream must be readable when mode is 'Decompress'': parameter name: 'mode'", .line = 157});
    ExpectRange(L"mode", [&] { create(3, 2); }, {.contains = L"was Unknown", .line = 162});
    create(3, 0);
    CDeflateStream writer(stream, Compress, false);
    CDeflateStream reader(stream, Decompress, false);
    unsigned char byte = 0;
    ExpectNull(L"data", [&] { writer.Write(nullptr, 1); });
    ExpectNull(L"buffer", [&] { reader.Read(nullptr, 1); });
    writer.Write(nullptr, 0);
    EXPECT_EQ(reader.Read(nullptr, 0), 0u);
    ExpectInvalid(L"Cannot read from the compression stream", [&] { writer.Read(&byte, 0); }, {.line = 265});
    ExpectInvalid(L"Cannot write to the decompression stream", [&] { reader.Write(&byte, 0); }, {.line = 292});
    ExpectThrow<CNotSupportedException>([&] { reader.GetLength(); }, {.line = 248});
    ExpectThrow<CNotSupportedException>([&] { reader.GetPosition(); }, {.line = 254});
    ExpectThrow<CNotSupportedException>([&] { reader.Seek(0, SeekOrigin::Begin); }, {.line = 281});
    EXPECT_EQ(writer.GetCapabilities(), StreamCapabilities::CanWrite);
    EXPECT_EQ(reader.GetCapabilities(), StreamCapabilities::CanRead);
}

TEST(DeflateStream, ClosesOnceAndLeavesTheStreamBelowAlone) {
    const auto target = std::make_shared<TestStream>();
    {
        CDeflateStream first(target, Compress, true);
        first.Write(Bytes("text"), 4);
        const std::size_t before = target->data.size();
        first.Flush();
        EXPECT_EQ(target->data.size(), before);
        CDeflateStream second(std::move(first));
        for (CDeflateStream* closed : {&first, &second}) {
            closed->Close();
            closed->Close();
            EXPECT_EQ(closed->GetCapabilities(), StreamCapabilities::None);
            unsigned char byte = 0;
            const wchar_t* const message = L"The handle is invalid";
            ExpectInvalid(message, [&] { closed->Read(&byte, 1); }, {.line = 261});
            ExpectInvalid(message, [&] { closed->Write(&byte, 1); }, {.line = 288});
            ExpectInvalid(message, [&] { closed->Flush(); }, {.line = 230});
        }
        EXPECT_EQ(Inflated(target->data, true), "text");
        target->data.clear();
        first = CDeflateStream(target, Compress, false);
        first.Write(Bytes("more"), 4);
        first = CDeflateStream(target, Decompress, false); // closes its previous stream
        EXPECT_EQ(Inflated(target->data, false), "more");
        EXPECT_EQ(target.use_count(), 3) << "a closed stream keeps its share until it is destroyed";
    }
    EXPECT_EQ(target.use_count(), 1);
    EXPECT_FALSE(target->closed);
    EXPECT_EQ(target->flushes, 0);
}

TEST(DeflateStream, CutAndFlippedDataIsReportedOrHarmless) {
    const std::string text = MakeText(3000);
    for (const bool gzip : {false, true}) {
        const std::string data = Deflated(text, gzip);
        for (std::size_t length = 0; length < data.size(); ++length) {
            ExpectThrow<CIOException>([&] { Inflated(data.substr(0, length), gzip); },
                                      {.code = static_cast<unsigned long>(-5), .line = 135});
        }
        int survived = 0;
        ForEachFlip(data, {1, 2, 4, 8, 16, 32, 64, 128}, [&](const std::string& flipped) {
            try {
                survived += Inflated(flipped, gzip) == text ? 1 : 0;
            } catch (const CIOException& e) {
                EXPECT_TRUE(e.GetError() == -3 || e.GetError() == -5) << e.GetError();
            }
        });
        EXPECT_LT(survived, gzip ? 80 : 30) << "the unchecked bits of the header, and those of the padding";
    }
    ExpectMessage<CIOException>(L"incorrect header check: '-3'", [] { Inflated("no gzip", true); },
                                {.code = static_cast<unsigned long>(-3)});
}

TEST(DeflateStream, AFailureBelowOrInMemoryPassesThroughAndIsSurvived) {
    const std::string text = MakeText(100'000);
    const auto compress = [&](TestStream& target) {
        CDeflateStream stream(target, Compress, true);
        try {
            stream.Write(Bytes(text), text.size());
        } catch (const CFormatException&) {
            ExpectThrow<CFormatException>([&] { stream.Write(Bytes(text), 1); }); // data is missing
            throw;
        }
        stream.Close();
    };
    Sweep([&](int n) {
        TestStream target("", SIZE_MAX, n);
        try {
            compress(target);
            return false;
        } catch (const CFormatException& e) {
            EXPECT_STREQ(e.GetMethod(), L"TestStream");
        }
        EXPECT_EQ(target.calls, n) << "nothing more is written, neither by Close nor by the destructor";
        return true;
    });
    TestStream target;
    CDeflateStream failing(target, Compress, true);
    failing.Write(Bytes(text), 1);
    target.failOn = target.calls + 1;
    ExpectThrow<CFormatException>([&] { failing.Close(); });
    EXPECT_EQ(failing.GetCapabilities(), StreamCapabilities::None) << "closed all the same";
    FailingAllocations allocations;
    for (const CompressionMode mode : {Compress, Decompress}) {
        TestStream other;
        Sweep<CIOException>(
            allocations, [&] { CDeflateStream(other, mode, false); },
            [](int, const CIOException* e) {
                EXPECT_TRUE(e == nullptr || (e->GetError() == -4 && e->GetSourceLine() == 182));
            });
    }
}
