#include "Measure.h"

#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/IO/FileStream.h"
#include "ZelCore/IO/ReadOnlyRefMemoryStream.h"
#include "ZelCore/String.h"

#include <windows.h>

#include <zlib.h>

namespace ZelBench {

namespace {

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

constexpr std::size_t LargeSize = 100u << 20;
constexpr std::size_t SmallCount = 10'000;
constexpr std::size_t PieceSize = 4096;

const std::string& GetText() {
    static const std::string text = MakeMixedText(LargeSize);
    return text;
}

const unsigned char* GetBytes() {
    return reinterpret_cast<const unsigned char*>(GetText().data());
}

std::size_t GetSmallSize(std::size_t index) {
    return 1024 + index * 7919 % 3072;
}

/// The same work without the library: a checksum, deflate, and a file written in pieces.
void DeflateToFile(HANDLE file, z_stream& zlib, const unsigned char* data, std::size_t size) {
    static unsigned char output[16384];
    uLong checksum = 0;
    for (std::size_t at = 0; at <= size; at += PieceSize) {
        const auto piece = static_cast<uInt>(std::min(PieceSize, size - at));
        checksum = ::crc32(checksum, data + at, piece);
        zlib.next_in = const_cast<unsigned char*>(data + at);
        zlib.avail_in = piece;
        do {
            zlib.next_out = output;
            zlib.avail_out = sizeof(output);
            ::deflate(&zlib, at + PieceSize > size ? Z_FINISH : Z_NO_FLUSH);
            DWORD written = 0;
            ::WriteFile(file, output, static_cast<DWORD>(sizeof(output) - zlib.avail_out), &written, nullptr);
        } while (zlib.avail_out == 0);
    }
}

template <class Entries> void ArchiveRaw(std::size_t count, Entries sizeOf) {
    const HANDLE file =
        ::CreateFileW(GetScratchPath(L"raw.zip").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    for (std::size_t i = 0; i < count; ++i) {
        z_stream zlib{};
        ::deflateInit2(&zlib, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        DeflateToFile(file, zlib, GetBytes() + i * PieceSize, sizeOf(i));
        ::deflateEnd(&zlib);
    }
    ::CloseHandle(file);
}

void OneLargeOurs() {
    CZipArchive archive(GetScratchPath(L"ours.zip").c_str(), ZipArchiveMode::Create);
    CReadOnlyRefMemoryStream source(GetBytes(), LargeSize);
    archive.AddEntry(L"large.txt", source, true);
}

void OneLargeRaw() {
    ArchiveRaw(1, [](std::size_t) { return LargeSize; });
}

void ManySmallOurs() {
    CZipArchive archive(GetScratchPath(L"ours.zip").c_str(), ZipArchiveMode::Create);
    for (std::size_t i = 0; i < SmallCount; ++i) {
        CReadOnlyRefMemoryStream source(GetBytes() + i * PieceSize, GetSmallSize(i));
        archive.AddEntry(ZelCore::CString::Format(L"folder/%05lu.txt", static_cast<unsigned long>(i)).c_str(), source,
                         true);
    }
}

void ManySmallRaw() {
    ArchiveRaw(SmallCount, &GetSmallSize);
}

} // namespace

std::vector<Benchmark> MakeArchiveBenchmarks() {
    return {
        {"archive of 10,000 small files", "deflate and write by hand", 3.5, 5, &ManySmallOurs, &ManySmallRaw},
        {"archive of one file of 100 MiB", "deflate and write by hand", 1.10, 5, &OneLargeOurs, &OneLargeRaw},
    };
}

void RunOpenBenchmark(const std::wstring& path, const std::wstring& entryName, double python) {
    std::vector<double> times;
    for (int i = 0; i < 7; ++i) {
        times.push_back(Time([&] {
            unsigned char buffer[1000];
            const CZipArchive archive(path.c_str(), ZipArchiveMode::Read);
            archive.GetEntry(entryName.c_str())->GetStream().Read(buffer, sizeof(buffer));
        }));
    }
    std::sort(times.begin(), times.end());
    PrintRow("open 65,535 entries and read one", "Python's zipfile", times[times.size() / 2], python, 0.25);
}

} // namespace ZelBench
