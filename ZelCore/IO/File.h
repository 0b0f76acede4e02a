#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

namespace ZelCore::IO {

/// Operations on whole files by path. All functions are static and may be called from any thread.
///
/// A null path throws CArgumentNullException, an empty one CArgumentException "Cannot be empty". A failing system call
/// throws CWin32Exception with the system's code. Relative paths are relative to the current directory of the process.
class ZELCORE_API CFile {
public:
    CFile() = delete;

    /// Whether the path names an existing file that is not a directory; false for an empty path and for a drive that is
    /// not ready. Throws if this cannot be determined (for example access denied, or an unknown server).
    static bool Exists(const wchar_t* filePath);

    /// Returns the size in bytes. A missing file throws CWin32Exception.
    static std::int64_t GetSize(const wchar_t* filePath);

    /// Copies contents and attributes. Without `overwrite` an existing destination fails with error 80. A read-only
    /// destination is never overwritten.
    static void Copy(const wchar_t* source, const wchar_t* destination, bool overwrite);

    /// Renames or moves a file, and returns after the change has been written to disk. A move to another volume
    /// requires `allowCopy` and is done by copying. Without `overwrite` an existing destination fails with error 183.
    static void Move(const wchar_t* source, const wchar_t* destination, bool overwrite, bool allowCopy);

    /// Deletes a file permanently. A missing file, or a missing folder in its path, is an error only with
    /// `throwIfMissing`.
    static void Delete(const wchar_t* filePath, bool throwIfMissing);
};

} // namespace ZelCore::IO
