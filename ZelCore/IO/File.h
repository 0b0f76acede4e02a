#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

namespace ZelCore::IO {

/// Operations on whole files by path. All static, callable from any thread.
///
/// A null path throws CArgumentNullException, an empty one CArgumentException "Cannot be empty", a failing system
/// call CWin32Exception with the system's code. Relative paths count from the current directory of the process.
class ZELCORE_API CFile {
public:
    CFile() = delete;

    /// Whether the path names an existing file that is no directory; false for an empty path and for a drive that is
    /// not ready. What cannot be told (access denied, no such server) throws.
    static bool Exists(const wchar_t* filePath);

    /// The size in bytes. A missing file throws, as every failing call does.
    static std::int64_t GetSize(const wchar_t* filePath);

    /// Copies contents and attributes. Without `overwrite` an existing destination fails with error 80; a file that is
    /// read-only is not overwritten either.
    static void Copy(const wchar_t* source, const wchar_t* destination, bool overwrite);

    /// Renames or moves, and returns when it is on the disk. Only with `allowCopy` to another volume, by a copy.
    /// Without `overwrite` an existing destination fails with error 183.
    static void Move(const wchar_t* source, const wchar_t* destination, bool overwrite, bool allowCopy);

    /// Deletes for good. A missing file, or folder on the way to it, is an error only with `throwIfMissing`.
    static void Delete(const wchar_t* filePath, bool throwIfMissing);
};

} // namespace ZelCore::IO
