#include "ZelCore/IO/Path.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/String.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <cwchar>

namespace ZelCore::IO {

using ZelWin32::CheckWin32;
using ZelWin32::ThrowLastError;

namespace {

bool IsSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool IsRooted(const wchar_t* path) {
    return IsSeparator(path[0]) || (path[0] != L'\0' && path[1] == L':');
}

/// Calls a function that fills a buffer and returns the length, or the required size, until the buffer is large enough.
/// The required size may change between calls, for example with the current directory. 0 is a failure.
template <class Fill>
std::wstring FillPath(Fill fill, std::size_t firstSize, const wchar_t* method, const wchar_t* file, int line) {
    std::wstring buffer(firstSize, L'\0');
    for (;;) {
        ::SetLastError(ERROR_SUCCESS);
        const DWORD length = fill(buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) { // an empty path fails without an error code
            ThrowLastError(method, file, line, ERROR_INVALID_NAME);
        }
        const bool complete = length < buffer.size();
        buffer.resize(length);
        if (complete) {
            return buffer;
        }
    }
}

} // namespace

std::wstring CPath::AddBackslash(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::AddBackslash"));
    std::wstring result(path);
    if (!result.empty() && result.back() != L'\\') {
        result += L'\\';
    }
    return result;
}

std::wstring CPath::Combine(const wchar_t* path1, const wchar_t* path2) {
    CheckNotNull(path1, L"path1", ZEL_SITE(L"ZelCore::IO::CPath::Combine"));
    CheckNotNull(path2, L"path2", ZEL_SITE(L"ZelCore::IO::CPath::Combine"));
    if (*path1 == L'\0' || IsRooted(path2)) {
        return path2;
    }
    std::wstring result(path1);
    if (*path2 != L'\0') {
        if (!IsSeparator(result.back()) && result.back() != L':') {
            result += L'\\';
        }
        result += path2;
    }
    return result;
}

std::wstring CPath::GetFileName(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::GetFileName"));
    const std::wstring whole(path);
    return whole.substr(whole.find_last_of(L"\\/:") + 1);
}

std::wstring CPath::GetDirectoryName(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::GetDirectoryName"));
    std::wstring buffer(path);
    buffer.resize(std::max<std::size_t>(buffer.size() + 1, MAX_PATH)); // the size that the function requires
    ::PathRemoveFileSpecW(buffer.data());
    buffer.resize(std::wcslen(buffer.c_str()));
    return buffer;
}

std::wstring CPath::GetFullPath(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::GetFullPath"));
    return FillPath([path](wchar_t* buffer, DWORD size) { return ::GetFullPathNameW(path, size, buffer, nullptr); }, 0,
                    ZEL_SITE(L"ZelCore::IO::CPath::GetFullPath"));
}

std::wstring CPath::GetTempPathW() {
    wchar_t buffer[MAX_PATH] = {};
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length = ::GetTempPathW(MAX_PATH, buffer);
    if (length == 0 || length >= MAX_PATH) {
        ThrowLastError(ZEL_SITE(L"ZelCore::IO::CPath::GetTempPathW"), ERROR_INSUFFICIENT_BUFFER);
    }
    return {buffer, length};
}

std::wstring CPath::GetTempFileNameW(const std::wstring& directory, const wchar_t* prefix) {
    CheckNotNull(prefix, L"prefix", ZEL_SITE(L"ZelCore::IO::CPath::GetTempFileNameW"));
    constexpr std::size_t longestPrefix = 3;
    if (std::wcslen(prefix) > longestPrefix) {
        // This text belongs to another message. It is kept because log filters search for it.
        throw CArgumentException(L"prefix",
                                 FormatOutOfRange(GetMessageText(Message::SourceSwitchNotFound), prefix).c_str(),
                                 ZEL_SITE(L"ZelCore::IO::CPath::GetTempFileNameW"));
    }
    constexpr std::size_t longestName = 14;          // separator, prefix, four digits, ".tmp" and the terminating null
    if (directory.size() > MAX_PATH - longestName) { // not every system checks the length first
        throw ZelWin32::CWin32Exception(ERROR_BUFFER_OVERFLOW, nullptr,
                                        ZEL_SITE(L"ZelCore::IO::CPath::GetTempFileNameW"));
    }
    wchar_t buffer[MAX_PATH] = {};
    CheckWin32(static_cast<int>(::GetTempFileNameW(directory.c_str(), prefix, 0, buffer)),
               ZEL_SITE(L"ZelCore::IO::CPath::GetTempFileNameW"));
    return buffer;
}

std::wstring CPath::NormalizePath(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::NormalizePath"));
    return FillPath([path](wchar_t* buffer, DWORD size) { return ::GetLongPathNameW(path, buffer, size); }, MAX_PATH,
                    ZEL_SITE(L"ZelCore::IO::CPath::NormalizePath"));
}

std::wstring CPath::NormalizeUncName(const wchar_t* path) {
    CheckNotNull(path, L"path", ZEL_SITE(L"ZelCore::IO::CPath::NormalizeUncName"));
    std::wstring name(path);
    if (name.size() < 3 || !IsSeparator(name[0]) || !IsSeparator(name[1])) {
        return name;
    }
    const std::size_t share = name.find_first_of(L"\\/", 2);
    const bool isDevice = share == 3 && (name[2] == L'?' || name[2] == L'.'); // a local path such as "\\?\C:\x"
    if (share == std::wstring::npos || isDevice) {
        return name;
    }
    const std::wstring_view rest = std::wstring_view(name).substr(share + 1);
    const bool isColon = rest.size() >= 2 && rest[1] == L':';
    const bool isEscapedColon = rest.size() >= 4 && rest[1] == L'%' && rest[2] == L'3' && (rest[3] | 0x20) == L'a';
    const std::size_t length = isColon ? 1 : isEscapedColon ? 3 : 0;
    if (length != 0 && (rest.size() == 1 + length || IsSeparator(rest[1 + length]))) {
        name.replace(share + 2, length, L"$");
    }
    return name;
}

std::pair<std::wstring, std::wstring> CPath::SplitParentChild(std::wstring path) {
    const std::size_t last = path.find_last_of(L"\\/");
    if (last == std::wstring::npos) {
        return {std::wstring(), std::move(path)};
    }
    const bool isRoot = last == 0 || (last == 2 && path[1] == L':');
    return {path.substr(0, isRoot ? last + 1 : last), path.substr(last + 1)};
}

} // namespace ZelCore::IO
