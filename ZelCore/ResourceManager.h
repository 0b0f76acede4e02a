#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>

namespace ZelCore {

/// The resources of a loaded module: texts by number, and data of any type as a stream.
/// The module stays loaded as long as the manager and its streams are used.
class ZELCORE_API CResourceManager {
public:
    /// \param module the handle of a loaded module, borrowed; null for the running program
    explicit CResourceManager(void* module) noexcept;

    /// The text of a string resource. Throws CWin32Exception when there is none of that number.
    std::wstring GetString(unsigned id) const;

    /// A read-only stream over the resource's bytes in the module. Name and type as for FindResourceW, a number
    /// as "#123". Throws CWin32Exception when there is no such resource.
    std::unique_ptr<IO::CStream> GetStream(const wchar_t* name, const wchar_t* type) const;

private:
    void* m_module;
};

} // namespace ZelCore
