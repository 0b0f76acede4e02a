// Compresses or decompresses a file of any size in pieces of 64 KiB: stream-gzip compress|decompress FROM TO
#include "Print.h"

#include <ZelCore/Exception.h>
#include <ZelCore/IO/Compression/DeflateStream.h>
#include <ZelCore/IO/FileStream.h>

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <vector>

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

namespace {

void Copy(CStream& from, CStream& to) {
    std::vector<unsigned char> piece(64 * 1024);
    while (const std::size_t count = from.Read(piece.data(), piece.size())) {
        to.Write(piece.data(), count);
    }
}

} // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4) {
        std::fputs("usage: stream-gzip compress|decompress FROM TO\n", stderr);
        return 2;
    }
    try {
        CFileStream from(argv[2], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
        CFileStream to(argv[3], GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
        if (std::wcscmp(argv[1], L"compress") == 0) {
            CDeflateStream gzip(to, CompressionMode::Compress, true); // true: a gzip member instead of raw deflate data
            Copy(from, gzip);
            gzip.Close(); // writes the end of the data and reports failures
        } else {
            CDeflateStream gzip(from, CompressionMode::Decompress, true);
            Copy(gzip, to);
        }
        to.Flush();
        std::printf("%lld bytes written\n", static_cast<long long>(to.GetLength()));
    } catch (const ZelCore::CException& e) {
        return Report(e);
    }
    return 0;
}
