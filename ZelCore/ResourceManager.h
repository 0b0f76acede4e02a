#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>

namespace ZelCore {

/// The resources of a loaded module: texts by number, and data of any type as a stream.
/// The module stays loaded as long as the manager and its streams are used: its owner sees to that. May be used from
/// several threads.
class ZELCORE_API CResourceManager {
public:
    /// Looks at nothing yet.
    /// \param module the handle of a loaded module, borrowed; null for the running program
    explicit CResourceManager(void* module) noexcept;

    /// A copy of the text of a string resource. Throws CWin32Exception when there is none of that number; an empty text
    /// counts as none.
    std::wstring GetString(unsigned id) const;

    /// A read-only stream over the resource's bytes in the module, which are not copied.
    ///
    /// \param name,type as for FindResourceW, but always text: a number is "#123", never MAKEINTRESOURCEW(123), and
    ///                  the type RT_RCDATA is "#10"
    ///
    /// Throws CArgumentNullException for either, CArgumentException where it is empty, and CWin32Exception when there
    /// is no such resource.
    std::unique_ptr<IO::CStream> GetStream(const wchar_t* name, const wchar_t* type) const;

private:
    void* m_module;
};

} // namespace ZelCore
