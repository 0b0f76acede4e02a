#pragma once

#include "ZelCore/Export.h"

#include <windef.h>

#include <minwinbase.h>

namespace ZelCore::Threading {

/// An overlapped structure that is notified when its operation has completed. Pass its address to ReadFile, WriteFile
/// or similar functions on a handle bound with CThreadPool::BindHandle, and keep it alive until OnCompleted.
class ZELCORE_API CIOCOmpletionCallback : public OVERLAPPED {
public:
    /// Must not be called while an operation is in progress, because the system writes to the object.
    virtual ~CIOCOmpletionCallback();

    /// Called on a thread of the system's thread pool, once per operation. It must not throw.
    /// \param error            a system error code; 0 for success
    /// \param bytesTransferred the number of bytes read or written
    virtual void OnCompleted(unsigned long error, unsigned long bytesTransferred) noexcept = 0;

protected:
    /// The overlapped structure is initialized to zero. Set its offset before each operation.
    CIOCOmpletionCallback() noexcept;
    CIOCOmpletionCallback(const CIOCOmpletionCallback&) = delete;
    CIOCOmpletionCallback& operator=(const CIOCOmpletionCallback&) = delete;
};

} // namespace ZelCore::Threading
