#pragma once

#include "ZelCore/Export.h"

#include <string>

namespace ZelWin32 {

/// Questions about the executable files loaded into the process. Module handles are borrowed, never released: they are
/// valid as long as somebody else keeps the module loaded. All static, callable from any thread.
class ZELCORE_API CPEModule {
public:
    CPEModule() = delete;

    /// The handle of the module that an address of code or static data belongs to; null when there is none.
    /// A null address gives the running program.
    static void* GetModuleHandleOf(const void* address) noexcept;

    /// The handle of a module that is loaded already; of the running program for null. It loads nothing. Throws
    /// CWin32Exception with the name when there is none.
    static void* Load(const wchar_t* name);

    /// The full path of a loaded module; of the running program for a null handle.
    /// Throws CWin32Exception for a handle that is no module.
    static std::wstring GetModuleFileNameW(void* module);
};

} // namespace ZelWin32
