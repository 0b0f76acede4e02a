#include "Measure.h"
#include "zel/PlainStream.h"

#include "ZelCore/IO/Compression/DeflateStream.h"
#include "ZelCore/IO/FileStream.h"

#include <windows.h>

#include <cstring>
#include <memory>
#include <zlib.h>

namespace ZelBench {

namespace {

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

constexpr std::size_t TextSize = 100u << 20;
constexpr std::size_t FileSize = 64u << 20;
constexpr std::size_t BufferSize = 16384;

/// A stream over a block of memory; reading and writing cost as much as a copy.
class BlockStream final : public Zel::PlainStream {
public:
    explicit BlockStream(std::string& block) : m_block(block) {}
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        const std::size_t read = std::min(count, m_block.size() - m_position);
        std::memcpy(buffer, m_block.data() + m_position, read);
        m_position += read;
        return read;
    }
    void Write(const unsigned char* buffer, std::size_t count) override {
        m_block.append(reinterpret_cast<const char*>(buffer), count);
    }

private:
    std::string& m_block;
    std::size_t m_position = 0;
};

struct Data {
    std::string text = MakeMixedText(TextSize);
    std::string packed;
    std::string out;
    unsigned char* buffer = new unsigned char[65536];
};

Data& GetData() {
    static Data data;
    return data;
}

void DeflateOurs() {
    Data& data = GetData();
    data.packed.clear();
    BlockStream target(data.packed);
    CDeflateStream stream(target, CompressionMode::Compress, false);
    for (std::size_t at = 0; at < TextSize; at += 65536) {
        stream.Write(reinterpret_cast<const unsigned char*>(data.text.data()) + at, 65536);
    }
    stream.Close();
}

void DeflateRaw() {
    Data& data = GetData();
    data.packed.clear();
    BlockStream target(data.packed);
    z_stream zlib{};
    ::deflateInit2(&zlib, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    for (std::size_t at = 0; at <= TextSize; at += 65536) {
        zlib.next_in = reinterpret_cast<unsigned char*>(data.text.data()) + at;
        zlib.avail_in = at < TextSize ? 65536 : 0;
        do {
            zlib.next_out = data.buffer;
            zlib.avail_out = BufferSize;
            ::deflate(&zlib, at < TextSize ? Z_NO_FLUSH : Z_FINISH);
            target.Write(data.buffer, BufferSize - zlib.avail_out);
        } while (zlib.avail_out == 0);
    }
    ::deflateEnd(&zlib);
}

void InflateOurs() {
    Data& data = GetData();
    BlockStream source(data.packed);
    CDeflateStream stream(source, CompressionMode::Decompress, false);
    while (stream.Read(data.buffer, 65536) != 0) {
    }
}

void InflateRaw() {
    Data& data = GetData();
    BlockStream source(data.packed);
    z_stream zlib{};
    ::inflateInit2(&zlib, -15);
    static unsigned char input[BufferSize];
    int result = Z_OK;
    while (result == Z_OK) {
        zlib.next_out = data.buffer;
        zlib.avail_out = 65536;
        while (result == Z_OK && zlib.avail_out != 0) {
            if (zlib.avail_in == 0) {
                zlib.avail_in = static_cast<uInt>(source.Read(input, BufferSize));
                zlib.next_in = input;
            }
            result = ::inflate(&zlib, Z_NO_FLUSH);
        }
    }
    ::inflateEnd(&zlib);
}

HANDLE OpenRaw(DWORD flags = 0) {
    return ::CreateFileW(GetScratchPath(L"zelbench.bin").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                         flags, nullptr);
}

CFileStream OpenOurs(DWORD flags = 0) {
    return {GetScratchPath(L"zelbench.bin"), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, flags};
}

Benchmark MakeFileBenchmark(const char* name, bool write, std::size_t piece, double target) {
    unsigned char* const buffer = GetData().buffer;
    const auto ours = [=] {
        CFileStream stream = OpenOurs();
        for (std::size_t at = 0; at < FileSize; at += piece) {
            if (write) {
                stream.Write(buffer, piece);
            } else {
                stream.Read(buffer, piece);
            }
        }
    };
    const auto raw = [=] {
        const HANDLE file = OpenRaw();
        DWORD moved = 0;
        for (std::size_t at = 0; at < FileSize; at += piece) {
            if (write) {
                ::WriteFile(file, buffer, static_cast<DWORD>(piece), &moved, nullptr);
            } else {
                ::ReadFile(file, buffer, static_cast<DWORD>(piece), &moved, nullptr);
            }
        }
        ::CloseHandle(file);
    };
    return {name, write ? "WriteFile" : "ReadFile", target, 15, ours, raw};
}

struct RawOperation : OVERLAPPED {
    HANDLE event;
    DWORD bytes;
};

void CALLBACK OnCompletion(DWORD, DWORD bytes, OVERLAPPED* overlapped) {
    auto& operation = *static_cast<RawOperation*>(overlapped);
    operation.bytes = bytes;
    ::SetEvent(operation.event);
}

constexpr int OverlappedReads = 5000;

void OverlappedOurs() {
    CFileStream stream = OpenOurs(FILE_FLAG_OVERLAPPED);
    for (int i = 0; i < OverlappedReads; ++i) {
        const ZelCore::IAsyncResult* result = stream.BeginRead(GetData().buffer, 4096, nullptr, nullptr);
        stream.EndRead(result);
    }
}

void OverlappedRaw() {
    const HANDLE file = OpenRaw(FILE_FLAG_OVERLAPPED);
    ::BindIoCompletionCallback(file, &OnCompletion, 0);
    std::int64_t position = 0;
    for (int i = 0; i < OverlappedReads; ++i) {
        RawOperation operation{};
        operation.event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        operation.Offset = static_cast<DWORD>(position);
        operation.OffsetHigh = static_cast<DWORD>(position >> 32);
        ::ReadFile(file, GetData().buffer, 4096, nullptr, &operation);
        ::WaitForSingleObject(operation.event, INFINITE);
        ::CloseHandle(operation.event);
        position += operation.bytes;
    }
    ::CloseHandle(file);
}

} // namespace

std::vector<Benchmark> MakeStreamBenchmarks() {
    return {
        MakeFileBenchmark("CFileStream::Write, 4 KiB", true, 4096, 1.10),
        MakeFileBenchmark("CFileStream::Read, 4 KiB", false, 4096, 1.10),
        MakeFileBenchmark("CFileStream::Write, 64 KiB", true, 65536, 1.03),
        MakeFileBenchmark("CFileStream::Read, 64 KiB", false, 65536, 1.03),
        {"overlapped read, 4 KiB", "bound callback and event", 1.25, 9, &OverlappedOurs, &OverlappedRaw},
        {"CDeflateStream, compress 100 MiB", "deflate", 1.02, 5, &DeflateOurs, &DeflateRaw},
        {"CDeflateStream, decompress", "inflate", 1.03, 7, &InflateOurs, &InflateRaw},
    };
}

} // namespace ZelBench
