#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <utility>

namespace ZelCore::IO {

/// Operations on the text of paths. Functions that query the system say so. All functions are static and may be called
/// from any thread. A null path throws CArgumentNullException, a failing system call CWin32Exception.
class ZELCORE_API CPath {
public:
    CPath() = delete;

    /// Returns the path with "\" at its end. An empty path stays empty.
    static std::wstring AddBackslash(const wchar_t* path);

    /// Returns path2 appended to path1, or path2 alone if it starts with a root or drive or if path1 is empty. The
    /// result is not normalized: ".." stays.
    static std::wstring Combine(const wchar_t* path1, const wchar_t* path2);

    /// Returns the text after the last "\", "/" or ":", or the whole path if there is none.
    static std::wstring GetFileName(const wchar_t* path);

    /// Returns the path without its last component, as PathRemoveFileSpecW does: "/" is not a separator there.
    static std::wstring GetDirectoryName(const wchar_t* path);

    /// Returns the absolute path, based on the process's current directory, without "." and "..". The file need not
    /// exist.
    static std::wstring GetFullPath(const wchar_t* path);

    /// Returns the folder for temporary files, with "\" at its end. Fails for a folder of 260 characters or more.
    static std::wstring GetTempPathW();

    /// Creates an empty file with a new name in a folder and returns its path.
    ///
    /// \param directory at most 246 characters, a limit of the system; a longer one throws CWin32Exception, error 111
    /// \param prefix at most 3 characters, with which the name begins; a longer one throws CArgumentException
    ///
    /// Fails with error 80 if all 65,535 names for the folder and prefix are in use.
    static std::wstring GetTempFileNameW(const std::wstring& directory, const wchar_t* prefix);

    /// Returns the path of existing files with long names instead of short 8.3 names.
    static std::wstring NormalizePath(const wchar_t* path);

    /// Converts a drive in place of a UNC share into the drive's administrative share: "\\server\C:\x" or
    /// "\\server\C%3A\x" becomes "\\server\C$\x". Any other path is returned unchanged.
    static std::wstring NormalizeUncName(const wchar_t* path);

    /// Splits at the last "\" or "/" into parent and child. The parent keeps the separator only if it is a root, such
    /// as `\` or `C:\`. It is empty for a path without a separator.
    static std::pair<std::wstring, std::wstring> SplitParentChild(std::wstring path);
};

} // namespace ZelCore::IO
