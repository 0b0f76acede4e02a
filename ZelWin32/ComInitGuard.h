#pragma once

#include "ZelCore/Export.h"

namespace ZelWin32 {

/// COM for the calling thread as long as the guard lives, in the multithreaded apartment; a thread that is in another
/// apartment already stays there.
///
/// Release what COM gave before the guard ends, and end it on the thread that made it.
class ZELCORE_API CComInitGuard {
public:
    /// Guards may be nested; COM ends with the outermost. Throws CComException when the system refuses.
    CComInitGuard();
    CComInitGuard(const CComInitGuard&) = delete;
    CComInitGuard& operator=(const CComInitGuard&) = delete;
    /// Ends COM on the thread, unless the guard has found it there in another apartment.
    ~CComInitGuard();

private:
    bool m_initialized;
};

} // namespace ZelWin32
