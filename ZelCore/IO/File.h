#pragma once

#include "ZelCore/Export.h"

#include <cstdint>

namespace ZelCore::IO {

/// Operations on whole files by path. All static, callable from any thread.
///
/// A null path throws CArgumentNullException, an empty one CArgumentException "Cannot be empty", a failing system
/// call CWin32Exception with the system's code.
class ZELCORE_API CFile {
public:
    CFile() = delete;

    /// Whether the path names an existing file that is no directory; false for an empty path. What cannot be
    /// told (access denied, no such server) throws.
    static bool Exists(const wchar_t* filePath);

    /// The size in bytes.
    static std::int64_t GetSize(const wchar_t* filePath);

    /// Copies contents and attributes. Without `overwrite` an existing destination fails with error 80.
    static void Copy(const wchar_t* source, const wchar_t* destination, bool overwrite);

    /// Renames or moves, and returns when it is on the disk. Only with `allowCopy` to another volume, by a copy.
    static void Move(const wchar_t* source, const wchar_t* destination, bool overwrite, bool allowCopy);

    /// Deletes for good. A missing file is an error only with `throwIfMissing`.
    static void Delete(const wchar_t* filePath, bool throwIfMissing);
};

} // namespace ZelCore::IO
