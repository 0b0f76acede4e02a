#include "ZelCore/IO/Directory.h"

#include "ZelCore/IO/FileAttributes.h"
#include "ZelCore/IO/LongPath.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"
#include "ZelWin32/UniqueHandle.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace ZelCore::IO {

using ZelWin32::CWin32Exception;

namespace {

/// The part of a path before its first component that can be created.
struct PathRoot {
    std::wstring prefix;
    std::size_t firstPiece = 0;
};

constexpr std::size_t LargestForShell = 240; // characters: MAX_PATH, less what the shell appends

/// PathIsUNC recognizes only one separator, and takes the prefix of long paths for a UNC name.
std::wstring ToUncTestForm(const wchar_t* path) {
    std::wstring form(path);
    std::replace(form.begin(), form.end(), L'/', L'\\');
    return form;
}

bool IsLong(const std::wstring& form) {
    return form.starts_with(LongPrefix);
}

PathRoot FindRoot(const std::wstring& form, const std::vector<std::wstring>& pieces) {
    if (IsLong(form) && pieces.size() >= 6 && ::_wcsicmp(pieces[3].c_str(), L"UNC") == 0) { // server, share
        return {L"\\\\?\\UNC\\" + pieces[4] + L"\\" + pieces[5] + L"\\", 6};
    }
    if (IsLong(form)) { // "", "", "?", "C:"
        return {L"\\\\?\\" + pieces[3] + L"\\", 4};
    }
    if (pieces[0].ends_with(L':')) { // not "C:a", which is a directory
        return {pieces[0] + L"\\", 1};
    }
    if (::PathIsUNCW(form.c_str()) && pieces.size() >= 4) { // "", "", server, share
        return {L"\\\\" + pieces[2] + L"\\" + pieces[3] + L"\\", 4};
    }
    return {};
}

struct FindTraits : ZelWin32::FileTraits {
    static void Close(Type handle) noexcept {
        ::FindClose(handle);
    }
};

struct TreeEntry {
    std::wstring path;
    DWORD attributes;
    bool isLink = false; ///< refers to another place; other reparse points are files and folders here
};

bool IsLink(DWORD attributes, DWORD reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsReparseTagNameSurrogate(reparseTag);
}

/// Returns the file or folder of that name, or an entry that does not exist.
TreeEntry FindEntry(const std::wstring& path) {
    TreeEntry entry{path, ::GetFileAttributesW(path.c_str())};
    if (entry.attributes != INVALID_FILE_ATTRIBUTES && (entry.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        WIN32_FIND_DATAW found{};
        const ZelWin32::UniqueHandle<FindTraits> search(::FindFirstFileW(path.c_str(), &found));
        entry.isLink = search && IsLink(entry.attributes, found.dwReserved0);
    }
    return entry;
}

bool IsThere(const TreeEntry& entry) {
    return entry.attributes != INVALID_FILE_ATTRIBUTES;
}

/// Returns a folder with all its contents, each folder before its contents; for anything else only the entry itself.
/// Links are not followed. A folder that cannot be listed is reported when its deletion fails.
std::vector<TreeEntry> ListTree(const std::wstring& root) {
    std::vector<TreeEntry> entries{FindEntry(root)};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!IsThere(entries[i]) || (entries[i].attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || entries[i].isLink) {
            continue;
        }
        const std::wstring prefix = CPath::AddBackslash(entries[i].path.c_str());
        WIN32_FIND_DATAW found;
        const ZelWin32::UniqueHandle<FindTraits> search(::FindFirstFileW((prefix + L"*").c_str(), &found));
        for (bool more = static_cast<bool>(search); more; more = ::FindNextFileW(search.Get(), &found) != FALSE) {
            if (const std::wstring name = found.cFileName; name != L"." && name != L"..") {
                entries.push_back(
                    {prefix + name, found.dwFileAttributes, IsLink(found.dwFileAttributes, found.dwReserved0)});
            }
        }
    }
    return entries;
}

/// Deletes entries in reverse order.
void DeleteEntries(const std::vector<TreeEntry>& entries, bool throwIfMissing) {
    // Site: does the work of the method.
    for (std::size_t i = entries.size(); i-- > 0;) {
        const std::wstring& path = entries[i].path;
        const DWORD attributes = entries[i].attributes;
        if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
            ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        }
        const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (!(isFolder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str()))) {
            ThrowDeleteError(throwIfMissing && i == 0, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
        }
    }
}

/// Entries that must not be passed to the shell. It joins names in buffers of MAX_PATH characters, and a longer path
/// becomes a different one, for example the current directory. It also removes trailing spaces and dots from names, and
/// some shells follow links.
bool IsBeyondShell(const TreeEntry& entry) {
    return entry.path.size() > LargestForShell || entry.path.ends_with(L'.') || entry.path.ends_with(L' ') ||
           entry.isLink;
}

void DeleteRecursively(const wchar_t* directoryPath, bool throwIfMissing) {
    // Site: does the work of the method.
    const bool isLong = IsLong(ToUncTestForm(directoryPath));
    if (std::wstring_view(directoryPath).find_first_of(L"*?", isLong ? LongPrefix.size() : 0) != std::wstring::npos) {
        throw CArgumentException(L"directoryPath", nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    // Relative names depend on the current directory, which any thread may change.
    std::wstring list = CPath::GetFullPath(directoryPath);
    const std::wstring longForm = ToLongForm(list);
    const std::vector<TreeEntry> entries = ListTree(longForm);
    if (!IsThere(entries[0]) && IsThere(FindEntry(list))) { // in a form that the long form does not cover
        throw CWin32Exception(ERROR_BAD_PATHNAME, nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    if (IsThere(entries[0]) && (entries[0].attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) { // the shell would delete it
        throw CWin32Exception(ERROR_DIRECTORY, nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    // The shell does not support paths with a prefix, and may report success for them.
    if (isLong || std::any_of(entries.begin(), entries.end(), IsBeyondShell)) {
        DeleteEntries(entries, throwIfMissing);
        return;
    }
    list.push_back(L'\0');
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    const int result = ::SHFileOperationW(&operation);
    constexpr int invalidPath = 124; // a shell-specific code
    if (result != 0 && (throwIfMissing || (result != ERROR_FILE_NOT_FOUND && result != invalidPath))) {
        throw CWin32Exception(static_cast<DWORD>(result), nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    if (result == 0 && operation.fAnyOperationsAborted) {
        throw CWin32Exception(ERROR_CANCELLED, nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    if (IsThere(FindEntry(longForm))) { // the shell deleted something else
        DeleteEntries(ListTree(longForm), throwIfMissing);
    }
}

} // namespace

std::wstring ToLongForm(const std::wstring& full) {
    std::wstring form = full;
    if (form.starts_with(L"\\\\.\\")) {
        form[2] = L'?';
    } else if (form.starts_with(L"\\\\") && !IsLong(form)) {
        form.replace(0, 1, L"\\\\?\\UNC");
    } else if (!IsLong(form)) {
        form.insert(0, LongPrefix);
    }
    form = CString::TrimEnd(form, L"\\");
    return form.ends_with(L':') ? form + L"\\" : form; // the root of a drive
}

bool CDirectory::Exists(const wchar_t* directoryPath) {
    CheckNotNull(directoryPath, L"directoryPath", ZEL_SITE(L"ZelCore::IO::CDirectory::Exists"));
    return ExistsAs(true, directoryPath, ZEL_SITE(L"ZelCore::IO::CDirectory::Exists"));
}

void CDirectory::Create(const wchar_t* directoryPath, _SECURITY_ATTRIBUTES* securityAttributes) {
    CheckNotEmpty(directoryPath, L"directoryPath", ZEL_SITE(L"ZelCore::IO::CDirectory::Create"));
    const std::wstring form = ToUncTestForm(directoryPath);
    if (!IsLong(form)) {
        if (::PathIsUNCServerW(form.c_str())) {
            throw CArgumentException(L"directoryPath", GetMessageText(Message::UncPathForm),
                                     ZEL_SITE(L"ZelCore::IO::CDirectory::Create"));
        }
        if (::PathIsUNCServerShareW(form.c_str())) {
            return;
        }
    }
    std::vector<std::wstring> pieces = CString::Split(directoryPath, L"\\/");
    // The system removes trailing spaces and dots from a path, but not before a backslash. With one it would create a
    // folder that cannot be found by the same name.
    if (const std::wstring trimmed = CString::TrimEnd(pieces.back(), L" ."); !IsLong(form) && !trimmed.empty()) {
        pieces.back() = trimmed;
    }
    PathRoot root = FindRoot(form, pieces);
    std::wstring& prefix = root.prefix;
    for (std::size_t i = root.firstPiece; i < pieces.size(); ++i) {
        prefix += pieces[i] + L"\\";
        if (pieces[i].empty() || ::CreateDirectoryW(prefix.c_str(), securityAttributes)) {
            continue; // an empty component refers to the parent
        }
        const DWORD error = ::GetLastError();
        if (error != ERROR_ALREADY_EXISTS) {
            throw CWin32Exception(
                error,
                CString::Format(GetMessageText(Message::CannotCreateDirectoryPart), prefix.c_str(), directoryPath)
                    .c_str(),
                ZEL_SITE(L"ZelCore::IO::CDirectory::Create"));
        }
    }
}

void CDirectory::Delete(const wchar_t* directoryPath, bool recursive, bool throwIfMissing) {
    CheckNotEmpty(directoryPath, L"directoryPath", ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    if (recursive) {
        DeleteRecursively(directoryPath, throwIfMissing);
    } else if (!::RemoveDirectoryW(directoryPath)) {
        ThrowDeleteError(throwIfMissing, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
}

} // namespace ZelCore::IO
