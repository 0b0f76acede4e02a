#pragma once

#include "ZelCore/Export.h"

/// Completion of overlapped operations on the system's thread pool, and the spin lock.
namespace ZelCore::Threading {

/// The process's thread pool, which belongs to the system.
class ZELCORE_API CThreadPool {
public:
    CThreadPool() = delete;

    /// Has the pool deliver the end of every overlapped operation on a handle to the CIOCOmpletionCallback that
    /// the operation was started with.
    ///
    /// \param handle opened with FILE_FLAG_OVERLAPPED, borrowed; it can be bound once. Every overlapped structure that
    ///               is used with it from then on has to be a CIOCOmpletionCallback.
    ///
    /// Throws CWin32Exception when the system refuses.
    static void BindHandle(void* handle);
};

} // namespace ZelCore::Threading
