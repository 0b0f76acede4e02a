// Packs files into a ZIP archive and lists its entries: write-archive ARCHIVE FILE...
#include "Print.h"

#include <ZelCore/Exception.h>
#include <ZelCore/IO/Compression/ZipArchive.h>
#include <ZelCore/IO/Compression/ZipArchiveEntry.h>
#include <ZelCore/IO/File.h>
#include <ZelCore/IO/FileStream.h>
#include <ZelCore/IO/Path.h>

#include <windows.h>

#include <cstdio>
#include <string>

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) {
        std::fputs("usage: write-archive ARCHIVE FILE...\n", stderr);
        return 2;
    }
    try {
        // It replaces the old archive when it is complete. After a failure the old one stays.
        const std::wstring fresh = std::wstring(argv[1]) + L".new";
        {
            CZipArchive archive(fresh.c_str(), ZipArchiveMode::Create);
            for (int i = 2; i < argc; ++i) {
                CFileStream file(argv[i], GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_SEQUENTIAL_SCAN);
                archive.AddEntry(CPath::GetFileName(argv[i]).c_str(), file, true);
            }
        } // the destructor writes the archive and throws what fails: so it ends inside the try block
        CFile::Move(fresh.c_str(), argv[1], true, false);
        const CZipArchive archive(argv[1], ZipArchiveMode::Read);
        for (const std::wstring& name : archive.GetEntryNames()) {
            const unsigned size = archive.GetEntry(name.c_str())->GetUncompressedSize();
            Print(stdout, ZelCore::CString::Format(L"%s %u bytes\n", name.c_str(), size));
        }
    } catch (const ZelCore::CException& e) {
        return Report(e);
    }
    return 0;
}
