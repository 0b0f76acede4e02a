#pragma once

#include "ZelCore/Export.h"

/// Completion of overlapped operations on the system's thread pool, and the spin lock.
namespace ZelCore::Threading {

/// The thread pool that the system provides for the process.
class ZELCORE_API CThreadPool {
public:
    CThreadPool() = delete;

    /// Has the pool deliver the completion of every overlapped operation on a handle to the CIOCOmpletionCallback with
    /// which the operation was started.
    ///
    /// \param handle opened with FILE_FLAG_OVERLAPPED, borrowed; it can be bound only once. Every overlapped structure
    ///               used with it afterwards must be a CIOCOmpletionCallback.
    ///
    /// Throws CWin32Exception if the system call fails.
    static void BindHandle(void* handle);
};

} // namespace ZelCore::Threading
