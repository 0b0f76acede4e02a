#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <utility>

namespace ZelCore::IO {

/// Operations on the text of paths; those that ask the system say so. All static, callable from any thread.
/// A null path throws CArgumentNullException; a failing system call CWin32Exception.
class ZELCORE_API CPath {
public:
    CPath() = delete;

    /// The path with "\" at its end. An empty path stays empty.
    static std::wstring AddBackslash(const wchar_t* path);

    /// path2 below path1; path2 alone when it starts at a root or drive or when path1 is empty. Neither is looked at
    /// any further: ".." stays.
    static std::wstring Combine(const wchar_t* path1, const wchar_t* path2);

    /// What follows the last "\", "/" or ":"; the whole path when there is none.
    static std::wstring GetFileName(const wchar_t* path);

    /// The path without its last component, as PathRemoveFileSpecW cuts it: "/" does not separate there.
    static std::wstring GetDirectoryName(const wchar_t* path);

    /// The absolute form, from the process's current directory, without "." and "..". The file need not exist.
    static std::wstring GetFullPath(const wchar_t* path);

    /// The folder for temporary files, with "\" at its end. Fails for a folder of 260 characters and more.
    static std::wstring GetTempPathW();

    /// Creates an empty file with a new name in a folder and returns its path.
    ///
    /// \param directory at most 246 characters, as the system demands; a longer one throws CWin32Exception, error 111
    /// \param prefix at most 3 characters, the first ones of the name; a longer one throws CArgumentException
    ///
    /// Fails with error 80 when all 65,535 names of the folder and prefix are taken.
    static std::wstring GetTempFileNameW(const std::wstring& directory, const wchar_t* prefix);

    /// The long form of a path of existing files, without short 8.3 names.
    static std::wstring NormalizePath(const wchar_t* path);

    /// Turns a drive in the place of a UNC share into the drive's administrative share: "\\server\C:\x", or
    /// "\\server\C%3A\x", becomes "\\server\C$\x". Any other path is returned as it is.
    static std::wstring NormalizeUncName(const wchar_t* path);

    /// Splits at the last "\" or "/" into parent and child. The parent keeps the separator only where it is a root,
    /// such as `\` or `C:\`; it is empty for a path without separator.
    static std::pair<std::wstring, std::wstring> SplitParentChild(std::wstring path);
};

} // namespace ZelCore::IO
