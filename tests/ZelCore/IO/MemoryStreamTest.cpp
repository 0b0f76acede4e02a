#include "Support/Test.h"

namespace {

constexpr unsigned char Data[] = {10, 20, 30, 40};
const wchar_t* const Before = L"'Attempt to seek before the beginning of the stream': parameter name: 'offset'";
const wchar_t* const After = L"'Attempt to seek after the end of the stream': parameter name: 'offset'";

/// A derived class may change the size of its data.
struct ShrinkingStream final : CMemoryStream {
    std::int64_t length = 4;
    std::int64_t GetLength() const override {
        return length;
    }
    const unsigned char* GetData() const override {
        return Data;
    }
};

} // namespace

TEST(Stream, BaseRefusesWhatAStreamDoesNotOffer) {
    TestStream stream;
    const auto refused = [](const auto& expect, const wchar_t* method, const std::function<void()>& action) {
        expect(method, action, {.message = L"", .file = L"Stream.cpp"});
    };
    constexpr Expectation<CNotSupportedException, &Failure::method> unsupported;
    constexpr Expectation<CInvalidOperationException, &Failure::method> noTimeout;
    refused(unsupported, L"CStream::BeginRead", [&] { stream.BeginRead(nullptr, 0, nullptr, nullptr); });
    refused(unsupported, L"CStream::BeginWrite", [&] { stream.BeginWrite(nullptr, 0, nullptr, nullptr); });
    refused(unsupported, L"CStream::EndRead", [&] { stream.EndRead(nullptr); });
    refused(unsupported, L"CStream::EndWrite", [&] { stream.EndWrite(nullptr); });
    refused(noTimeout, L"CStream::GetReadTimeout", [&] { stream.GetReadTimeout(); });
    refused(noTimeout, L"CStream::GetWriteTimeout", [&] { stream.GetWriteTimeout(); });
    refused(noTimeout, L"CStream::SetReadTimeout", [&] { stream.SetReadTimeout(1); });
    refused(noTimeout, L"CStream::SetWriteTimeout", [&] { stream.SetWriteTimeout(1); });
    EXPECT_STREQ(stream.GetName(), L"");
}

TEST(Stream, GreedyReadGathersWhatDribbles) {
    for (const std::size_t piece : {1u, 3u, 7u, 100u}) {
        TestStream stream("0123456789", piece);
        unsigned char buffer[12] = {};
        EXPECT_EQ(stream.GreedyRead(buffer, 7), 7u);
        EXPECT_EQ(stream.GreedyRead(buffer + 7, 5), 3u) << "the stream ends";
        EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 10), "0123456789");
    }
    TestStream empty;
    unsigned char byte = 0;
    EXPECT_EQ(empty.GreedyRead(&byte, 0), 0u);
    EXPECT_EQ(empty.calls, 1) << "a count of 0 asks the stream once";
    TestStream liar("0123456789", 4);
    liar.overReport = 100;
    unsigned char few[6];
    EXPECT_EQ(liar.GreedyRead(few, 6), 6u);
    ExpectNull(L"buffer", [&] { empty.GreedyRead(nullptr, 0); }, {.method = L"CStream::GreedyRead"});
}

TEST(MemoryStream, ReadsAndSeeks) {
    CReadOnlyRefMemoryStream stream(Data, 4);
    EXPECT_EQ(static_cast<unsigned>(stream.GetCapabilities()), 5u);
    EXPECT_EQ(stream.Seek(1, SeekOrigin::Begin), 1);
    EXPECT_EQ(ReadSome(stream, 10), "\x14\x1E\x28");
    EXPECT_EQ(stream.GetPosition(), 4);
    EXPECT_EQ(ReadSome(stream, 10), "");
    EXPECT_EQ(stream.Seek(-1, SeekOrigin::End), 3);
    EXPECT_EQ(stream.Seek(-2, SeekOrigin::Current), 1);
    EXPECT_EQ(stream.Seek(2, static_cast<SeekOrigin>(7)), 3) << "an unknown origin is the current position";
    const std::tuple<std::int64_t, SeekOrigin, const wchar_t*> bad[] = {
        {-5, SeekOrigin::End, Before}, {-1, SeekOrigin::Begin, Before}, {INT64_MIN, SeekOrigin::End, Before},
        {5, SeekOrigin::Begin, After}, {1, SeekOrigin::End, After},     {INT64_MAX, SeekOrigin::Current, After}};
    for (const auto& [offset, origin, message] : bad) {
        ExpectArgument(L"offset", [&] { stream.Seek(offset, origin); },
                       {.message = message, .method = L"CMemoryStream::Seek"});
        EXPECT_EQ(stream.GetPosition(), 3);
    }
    ExpectThrow<CNotSupportedException>([&] { stream.Write(Data, 1); }, {.method = L"CMemoryStream::Write"});
    ShrinkingStream shrinking;
    shrinking.Seek(4, SeekOrigin::Begin);
    shrinking.length = 2;
    EXPECT_EQ(ReadSome(shrinking, 10), "");
}

TEST(MemoryStream, AMoveLeavesTheSourceClosed) {
    CReadOnlyRefMemoryStream source(Data, 4);
    source.Seek(1, SeekOrigin::Begin);
    CReadOnlyRefMemoryStream target(std::move(source));
    EXPECT_EQ(ReadSome(target, 2), "\x14\x1E");
    ExpectInvalid(L"The handle is invalid", [&] { source.GetPosition(); });
    source = std::move(target);
    EXPECT_EQ(ReadSome(source, 2), "\x28");
    EXPECT_EQ(target.GetCapabilities(), StreamCapabilities::None);
    auto& self = source;
    source = std::move(self);
    EXPECT_EQ(source.GetPosition(), 4);
}

TEST(MemoryStream, EmptyAndClosed) {
    CReadOnlyRefMemoryStream stream(nullptr, 0);
    unsigned char byte = 0;
    EXPECT_EQ(stream.GetLength(), 0);
    EXPECT_EQ(stream.Read(&byte, 1), 0u);
    EXPECT_EQ(stream.Seek(0, SeekOrigin::End), 0);
    ExpectMessage<CArgumentException>(After, [&] { stream.Seek(1, SeekOrigin::Begin); });
    ExpectMessage<CArgumentException>(L"'bufferSize must be 0 when buffer is null': parameter name: 'bufferSize'",
                                      [] { CReadOnlyRefMemoryStream bad(nullptr, 1); },
                                      {.method = L"CReadOnlyRefMemoryStream::CReadOnlyRefMemoryStream"});
    stream.Close();
    stream.Close();
    EXPECT_EQ(stream.GetCapabilities(), StreamCapabilities::None);
    EXPECT_EQ(stream.GetLength(), 0);
    const Failure closed{.message = L"The handle is invalid", .method = L"CMemoryStream::ThrowIfClosed"};
    ExpectInvalid(closed, [&] { stream.Read(&byte, 1); });
    ExpectInvalid(closed, [&] { stream.Seek(0, SeekOrigin::Begin); });
    ExpectInvalid(closed, [&] { stream.Flush(); });
    ExpectInvalid(closed, [&] { stream.GetPosition(); });
    ExpectNull(L"buffer", [&] { stream.Read(nullptr, 0); });
}
