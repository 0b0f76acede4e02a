#pragma once

#include "ZelCore/Export.h"

#include <string>

namespace ZelWin32 {

/// Information about the modules loaded into the process. Module handles are borrowed and never released: they are
/// valid while the module stays loaded. All functions are static and may be called from any thread.
class ZELCORE_API CPEModule {
public:
    CPEModule() = delete;

    /// Returns the handle of the module that contains an address of code or static data, or null if there is none. A
    /// null address returns the handle of the running program.
    static void* GetModuleHandleOf(const void* address) noexcept;

    /// Returns the handle of a module that is already loaded; null is the running program. It loads nothing. Throws
    /// CWin32Exception with the name if there is no such module.
    static void* Load(const wchar_t* name);

    /// Returns the full path of a loaded module; a null handle is the running program. Throws CWin32Exception for a
    /// handle that is not a module.
    static std::wstring GetModuleFileNameW(void* module);
};

} // namespace ZelWin32
