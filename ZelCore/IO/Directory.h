#pragma once

#include "ZelCore/Export.h"

struct _SECURITY_ATTRIBUTES;

namespace ZelCore::IO {

/// Operations on directories by path. All functions are static and may be called from any thread.
///
/// A null path throws CArgumentNullException, an empty one CArgumentException "Cannot be empty". A failing system call
/// throws CWin32Exception with the system's code.
class ZELCORE_API CDirectory {
public:
    CDirectory() = delete;

    /// Whether the path names an existing directory; false for an empty path. Throws if this cannot be determined.
    static bool Exists(const wchar_t* directoryPath);

    /// Creates a directory and all missing parent directories. Existing ones are not an error. The exception names the
    /// directory that could not be created; those created before it stay.
    ///
    /// An existing file or UNC share in place of one of the directories counts as existing. If the file is the last
    /// component, the call therefore succeeds. The bare name of a UNC server throws CArgumentException for
    /// "directoryPath".
    ///
    /// \param directoryPath components separated by `\` or `/`
    /// \param securityAttributes applied to every directory that is created; null for the system's default
    static void Create(const wchar_t* directoryPath, _SECURITY_ATTRIBUTES* securityAttributes);

    /// Deletes a directory permanently: an empty one, or with `recursive` also its contents. A missing directory is an
    /// error only with `throwIfMissing`. A file is always an error (267, ERROR_DIRECTORY).
    ///
    /// A recursive deletion that fails leaves the rest in place; its error code may be specific to the shell. Links to
    /// other folders are removed, their targets are not. Paths with the wildcards "*" or "?" throw CArgumentException
    /// for "directoryPath" in a recursive deletion.
    static void Delete(const wchar_t* directoryPath, bool recursive, bool throwIfMissing);
};

} // namespace ZelCore::IO
