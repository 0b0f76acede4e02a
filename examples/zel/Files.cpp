#include "Files.h"

#include "ZelCore/FormatException.h"
#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/IO/Path.h"
#include "ZelWin32/Win32Exception.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>

namespace Zel {

using namespace ZelCore::IO;
using ZelWin32::CWin32Exception;

namespace {

constexpr std::size_t PieceSize = 65536;

/// Returns the name below which the contents of a path are stored in the archive; empty for the current folder.
std::wstring GetTopName(const std::wstring& path) {
    std::wstring full = CPath::GetFullPath(path.c_str());
    while (full.size() > 3 && full.back() == L'\\') {
        full.pop_back();
    }
    return path == L"." ? std::wstring() : CPath::GetFileName(full.c_str());
}

std::wstring Join(const std::wstring& folder, const std::wstring& name) {
    return folder.empty() ? name : folder + L"/" + name;
}

[[noreturn]] void ThrowUnreadable(const std::filesystem::filesystem_error& e, const std::wstring& path) {
    if (e.code().category() == std::system_category()) {
        throw CWin32Exception(static_cast<unsigned long>(e.code().value()), path.c_str(),
                              ZEL_SITE(L"Zel::CollectSources"));
    }
    throw ZelCore::CFormatException((path + L": " + FromUtf8(e.code().message())).c_str(),
                                    ZEL_SITE(L"Zel::CollectSources"));
}

/// Links may form cycles.
bool IsLink(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

void Collect(const std::filesystem::path& folder, const std::wstring& entryName, std::vector<Source>& sources) {
    const std::size_t before = sources.size();
    for (const auto& item : std::filesystem::directory_iterator(folder)) {
        const std::wstring name = Join(entryName, item.path().filename().wstring());
        if (item.is_directory() && IsLink(item.path())) {
            PrintError(L"zel: skipped, because it is a link: " + item.path().wstring() + L"\n");
        } else if (item.is_directory()) {
            Collect(item.path(), name, sources);
        } else {
            sources.push_back({item.path().wstring(), name});
        }
    }
    if (sources.size() == before && !entryName.empty()) {
        sources.push_back({folder.wstring(), entryName + L"/"});
    }
}

} // namespace

std::vector<Source> CollectSources(const std::vector<std::wstring>& paths) {
    std::vector<Source> sources;
    for (const std::wstring& path : paths) {
        if (!CDirectory::Exists(path.c_str())) {
            CFile::GetSize(path.c_str()); // throws for a missing file before anything is written
            sources.push_back({path, GetTopName(path)});
            continue;
        }
        try {
            Collect(path, GetTopName(path), sources);
        } catch (const std::filesystem::filesystem_error& e) {
            ThrowUnreadable(e, path);
        }
    }
    std::sort(sources.begin(), sources.end(),
              [](const Source& a, const Source& b) { return a.entryName < b.entryName; });
    return sources;
}

CFileStream OpenForReading(const std::wstring& path) {
    return {path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN};
}

void WriteNewFile(const std::wstring& path, bool overwrite, const std::function<void(CStream& file)>& write) {
    const bool replace = overwrite && CFile::Exists(path.c_str());
    const std::wstring target = replace ? path + L".zel-new" : path;
    CFileStream file(target, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
    try {
        write(file);
        file.Close();
        if (replace) {
            CFile::Move(target.c_str(), path.c_str(), true, false);
        }
    } catch (...) {
        file.Close();
        CFile::Delete(target.c_str(), false);
        throw;
    }
}

std::uint64_t CopyStream(CStream& source, CStream& target, Progress& progress, std::uint64_t expected) {
    std::vector<unsigned char> buffer(PieceSize);
    std::uint64_t total = 0;
    while (const std::size_t read = source.Read(buffer.data(), buffer.size())) {
        target.Write(buffer.data(), read);
        total += read;
        progress.AddBytes(read);
        if (total > expected) { // an archive with wrong sizes must not fill the disk
            break;
        }
    }
    return total;
}

} // namespace Zel
