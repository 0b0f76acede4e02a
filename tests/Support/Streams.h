#pragma once

#include "PublicHeaders.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

namespace ZelTest {

inline const unsigned char* Bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/// A stream over a string that can fail, read short pieces and report wrong counts.
class TestStream final : public ZelCore::IO::CStream {
public:
    explicit TestStream(std::string text = "", std::size_t atMost = SIZE_MAX, int failing = 0)
        : data(std::move(text)), largestRead(atMost), failOn(failing) {}

    std::string data;
    std::size_t position = 0, largestRead, largestWrite = 0;
    std::size_t overReport = 0; ///< the number of bytes by which it reports more than it has read
    int calls = 0, flushes = 0;
    int failOn; ///< the number of the Read or Write that throws CFormatException
    bool closed = false;
    std::function<void()> onRead = [] {};
    ZelCore::IO::StreamCapabilities capabilities =
        ZelCore::IO::StreamCapabilities::CanRead | ZelCore::IO::StreamCapabilities::CanWrite;

    void Close() override {
        closed = true;
    }
    void Flush() override {
        ++flushes;
    }
    ZelCore::IO::StreamCapabilities GetCapabilities() const override {
        return capabilities;
    }
    std::int64_t GetLength() const override {
        return static_cast<std::int64_t>(data.size());
    }
    std::int64_t GetPosition() const override {
        return static_cast<std::int64_t>(position);
    }
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        FailInTurn();
        onRead();
        const std::size_t read = std::min({count, largestRead, data.size() - position});
        std::memcpy(buffer, data.data() + position, read);
        position += read;
        return read + (read != 0 ? overReport : 0);
    }
    std::int64_t Seek(std::int64_t offset, ZelCore::IO::SeekOrigin) override {
        position = static_cast<std::size_t>(offset);
        return offset;
    }
    void Write(const unsigned char* buffer, std::size_t count) override {
        FailInTurn();
        largestWrite = std::max(largestWrite, count);
        data.append(reinterpret_cast<const char*>(buffer), count);
    }

private:
    void FailInTurn() {
        if (++calls == failOn) {
            throw ZelCore::CFormatException(L"made to fail", L"TestStream", nullptr, 0);
        }
    }
};

/// Returns the result of one Read.
inline std::string ReadSome(ZelCore::IO::CStream& stream, std::size_t count) {
    std::string text(count, '\0');
    text.resize(stream.Read(reinterpret_cast<unsigned char*>(text.data()), count));
    return text;
}

/// Returns the rest of a stream.
inline std::string ReadAll(ZelCore::IO::CStream& stream, std::size_t piece = 5000) {
    std::string text;
    for (std::string more = "x"; !more.empty() && text.size() < 10'000'000; text += more) {
        more = ReadSome(stream, piece);
    }
    EXPECT_LT(text.size(), 10'000'000u) << "the stream does not end";
    return text;
}

inline void WriteAll(ZelCore::IO::CStream& stream, const std::string& text, std::size_t piece = SIZE_MAX) {
    for (std::size_t at = 0; at < text.size(); at += std::min(piece, text.size() - at)) {
        stream.Write(Bytes(text) + at, std::min(piece, text.size() - at));
    }
}

/// Runs an action with the bytes, of which each in turn is changed by each of the masks.
template <class Container, class Action>
void ForEachFlip(const Container& bytes, std::initializer_list<int> masks, Action&& action) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (const int mask : masks) {
            Container flipped = bytes;
            flipped[i] = static_cast<typename Container::value_type>(flipped[i] ^ mask);
            action(flipped);
        }
    }
}

/// Returns text with repetitions and noise, identical in every run.
inline std::string MakeText(std::size_t size, unsigned seed = 1) {
    std::string text;
    while (text.size() < size) {
        seed = seed * 1664525u + 1013904223u;
        text += (seed >> 24) % 3 == 0 ? std::to_string(seed) : "the quick brown fox ";
    }
    text.resize(size);
    return text;
}

} // namespace ZelTest
