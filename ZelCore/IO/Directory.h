#pragma once

#include "ZelCore/Export.h"

struct _SECURITY_ATTRIBUTES;

namespace ZelCore::IO {

/// Operations on directories by path. All static, callable from any thread.
///
/// A null path throws CArgumentNullException, an empty one CArgumentException "Cannot be empty", a failing system
/// call CWin32Exception with the system's code.
class ZELCORE_API CDirectory {
public:
    CDirectory() = delete;

    /// Whether the path names an existing directory; false for an empty path. What cannot be told throws.
    static bool Exists(const wchar_t* directoryPath);

    /// Creates a directory and every missing one above it; existing ones are fine. A failure names the level that
    /// could not be made and leaves the levels made before.
    ///
    /// A file in the place of a level counts as existing: for the last level that goes unnoticed. So does a UNC share.
    /// The bare name of a UNC server throws CArgumentException for "directoryPath".
    ///
    /// \param directoryPath levels separated by `\` or `/`
    /// \param securityAttributes for every level that is created; null for the system's default
    static void Create(const wchar_t* directoryPath, _SECURITY_ATTRIBUTES* securityAttributes);

    /// Deletes a directory for good: an empty one, or with `recursive` with all that it holds. A missing directory
    /// is an error only with `throwIfMissing`, a file always (267, ERROR_DIRECTORY).
    ///
    /// A recursive deletion that fails leaves what it has not deleted yet; its code may be one of the shell's own.
    /// Links to other folders go, what they lead to stays. It refuses paths with wildcards, "*" and "?", with
    /// CArgumentException for "directoryPath".
    static void Delete(const wchar_t* directoryPath, bool recursive, bool throwIfMissing);
};

} // namespace ZelCore::IO
