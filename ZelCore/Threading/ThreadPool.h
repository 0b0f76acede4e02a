#pragma once

#include "ZelCore/Export.h"

namespace ZelCore::Threading {

/// The process's thread pool, which belongs to the system.
class ZELCORE_API CThreadPool {
public:
    CThreadPool() = delete;

    /// Has the pool deliver the end of every overlapped operation on a handle to the CIOCOmpletionCallback that
    /// the operation was started with.
    ///
    /// \param handle opened with FILE_FLAG_OVERLAPPED; it can be bound once
    /// Throws CWin32Exception when the system refuses.
    static void BindHandle(void* handle);
};

} // namespace ZelCore::Threading
