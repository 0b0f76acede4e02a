#include "ZelCore/IO/Directory.h"

#include "ZelCore/IO/FileAttributes.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/String.h"

#include <algorithm>
#include <vector>

namespace ZelCore::IO {

using ZelWin32::CWin32Exception;

namespace {

/// Where the creation of the levels of a path starts.
struct PathRoot {
    std::wstring prefix;
    std::size_t firstPiece = 0;
};

/// The system's tests know one separator only, and take the prefix of long paths for a UNC name.
std::wstring ToUncTestForm(const wchar_t* path) {
    std::wstring form(path);
    std::replace(form.begin(), form.end(), L'/', L'\\');
    return form;
}

bool HasLongDrivePrefix(const std::wstring& form) {
    return form.starts_with(L"\\\\?\\") && form.size() > 5 && form[5] == L':';
}

PathRoot FindRoot(const std::wstring& form, const std::vector<std::wstring>& pieces) {
    if (HasLongDrivePrefix(form)) { // "", "", "?", "C:"
        return {L"\\\\?\\" + pieces[3] + L"\\", 4};
    }
    if (pieces[0].find(L':') != std::wstring::npos) {
        return {pieces[0] + L"\\", 1};
    }
    if (::PathIsUNCW(form.c_str()) && pieces.size() >= 4) { // "", "", server, share
        return {L"\\\\" + pieces[2] + L"\\" + pieces[3] + L"\\", 4};
    }
    return {};
}

void DeleteRecursively(const wchar_t* directoryPath, bool throwIfMissing) {
    // Site: does the work of the method.
    if (const std::wstring_view path = directoryPath;
        path.find_first_of(L"*?", path.starts_with(L"\\\\?\\") ? 4 : 0) != std::wstring_view::npos) {
        throw CArgumentException(L"directoryPath", nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    // Relative names depend on the current directory, which any thread may change.
    std::wstring list = CPath::GetFullPath(directoryPath);
    list.push_back(L'\0');
    SHFILEOPSTRUCTW operation{};
    operation.wFunc = FO_DELETE;
    operation.pFrom = list.c_str();
    operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
    const int result = ::SHFileOperationW(&operation);
    constexpr int invalidPath = 124; // a code of the shell's own
    if (result != 0 && (throwIfMissing || (result != ERROR_FILE_NOT_FOUND && result != invalidPath))) {
        throw CWin32Exception(static_cast<DWORD>(result), nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
    if (result == 0 && operation.fAnyOperationsAborted) {
        throw CWin32Exception(ERROR_CANCELLED, nullptr, ZEL_SITE(L"ZelCore::IO::CDirectory::Delete"));
    }
}

} // namespace

bool CDirectory::Exists(const wchar_t* directoryPath) {
    CheckNotNull(directoryPath, L"directoryPath", ZEL_SITE(L"ZelCore::IO::CDirectory::Exists"));
    return ExistsAs(true, directoryPath, ZEL_SITE(L"ZelCore::IO::CDirectory::Exists"));
}

void CDirectory::Create(const wchar_t* directoryPath, _SECURITY_ATTRIBUTES* securityAttributes) {
    CheckNotEmpty(directoryPath, L"directoryPath", ZEL_SITE(L"ZelCore::IO::CDirectory::Create"));
    const std::wstring form = ToUncTestForm(directoryPath);
    if (!HasLongDrivePrefix(form)) {
        if (::PathIsUNCServerW(form.c_str())) {
            throw CArgumentException(L"directoryPath", GetMessageText(Message::UncPathForm),
                                     ZEL_SITE(L"ZelCore::IO::CDirectory::Create"));
        }
        if (::PathIsUNCServerShareW(form.c_str())) {
            return;
        }
    }
    const std::vector<std::wstring> pieces = CString::Split(directoryPath, L"\\/");
    PathRoot root = FindRoot(form, pieces);
    std::wstring& prefix = root.prefix;
    for (std::size_t i = root.firstPiece; i < pieces.size(); ++i) {
        prefix += pieces[i] + L"\\";
        if (pieces[i].empty() || ::CreateDirectoryW(prefix.c_str(), securityAttributes)) {
            continue; // an empty piece would only name the level above once more
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
