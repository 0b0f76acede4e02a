#pragma once

#include "ZelCore/Export.h"

namespace ZelWin32 {

/// Initializes COM for the calling thread while the guard lives, in the multithreaded apartment. A thread that is
/// already in another apartment stays there.
///
/// Release all COM objects before the guard is destroyed, and destroy the guard on the thread that created it.
class ZELCORE_API CComInitGuard {
public:
    /// Guards may be nested; the outermost one uninitializes COM. Throws CComException if the system call fails.
    CComInitGuard();
    CComInitGuard(const CComInitGuard&) = delete;
    CComInitGuard& operator=(const CComInitGuard&) = delete;
    /// Uninitializes COM on the thread, unless the thread was already in another apartment.
    ~CComInitGuard();

private:
    bool m_initialized;
};

} // namespace ZelWin32
