#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>

namespace ZelCore {

/// The resources of a loaded module: strings by number, and data of any type as a stream. The owner of the module keeps
/// it loaded while the manager and its streams are in use. May be used from several threads.
class ZELCORE_API CResourceManager {
public:
    /// Does not access the module yet.
    /// \param module the handle of a loaded module, borrowed; null for the running program
    explicit CResourceManager(void* module) noexcept;

    /// Returns a copy of a string resource. Throws CWin32Exception if there is no string of that number; an empty
    /// string counts as missing.
    std::wstring GetString(unsigned id) const;

    /// Returns a read-only stream over the bytes of the resource in the module, without copying them.
    ///
    /// \param name,type as in FindResourceW, but always as text: a number is "#123", never MAKEINTRESOURCEW(123), and
    ///                  the type RT_RCDATA is "#10"
    ///
    /// Throws CArgumentNullException for a null argument, CArgumentException for an empty one, and CWin32Exception if
    /// there is no such resource.
    std::unique_ptr<IO::CStream> GetStream(const wchar_t* name, const wchar_t* type) const;

private:
    void* m_module;
};

} // namespace ZelCore
