// Packs files into a ZIP archive and lists what is in it: write-archive ARCHIVE FILE...
#include <ZelCore/Exception.h>
#include <ZelCore/IO/Compression/ZipArchive.h>
#include <ZelCore/IO/Compression/ZipArchiveEntry.h>
#include <ZelCore/IO/FileStream.h>
#include <ZelCore/IO/Path.h>

#include <windows.h>

#include <cstdio>

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) {
        std::fwprintf(stderr, L"usage: write-archive ARCHIVE FILE...\n");
        return 2;
    }
    try {
        CZipArchive archive(argv[1], ZipArchiveMode::Create);
        for (int i = 2; i < argc; ++i) {
            CFileStream file(argv[i], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN);
            archive.AddEntry(CPath::GetFileName(argv[i]).c_str(), file, true);
        }
        archive.Flush(); // writes the file; without it the destructor would, and its exceptions are awkward to catch
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    try {
        const CZipArchive archive(argv[1], ZipArchiveMode::Read);
        for (const std::wstring& name : archive.GetEntryNames()) {
            std::wprintf(L"%ls %u bytes\n", name.c_str(), archive.GetEntry(name.c_str())->GetUncompressedSize());
        }
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"%ls\n", e.GetExceptionMessage());
        return 1;
    }
    return 0;
}
