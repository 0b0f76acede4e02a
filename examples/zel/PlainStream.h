#pragma once

#include "ZelCore/IO/Stream.h"

namespace Zel {

/// A stream without any function, as the base of small single-purpose streams.
class PlainStream : public ZelCore::IO::CStream {
public:
    void Close() override {}
    void Flush() override {}
    ZelCore::IO::StreamCapabilities GetCapabilities() const override {
        return ZelCore::IO::StreamCapabilities::CanRead | ZelCore::IO::StreamCapabilities::CanWrite;
    }
    std::int64_t GetLength() const override {
        return 0;
    }
    std::int64_t GetPosition() const override {
        return 0;
    }
    std::size_t Read(unsigned char*, std::size_t) override {
        return 0;
    }
    std::int64_t Seek(std::int64_t, ZelCore::IO::SeekOrigin) override {
        return 0;
    }
    void Write(const unsigned char*, std::size_t) override {}
};

} // namespace Zel
