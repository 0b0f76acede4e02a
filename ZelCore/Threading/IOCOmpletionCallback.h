#pragma once

#include "ZelCore/Export.h"

#include <windef.h>

#include <minwinbase.h>

namespace ZelCore::Threading {

/// An overlapped structure that is told when its operation is over. Pass its address to ReadFile, WriteFile or
/// their kin on a handle bound with CThreadPool::BindHandle, and keep it alive until OnCompleted.
class ZELCORE_API CIOCOmpletionCallback : public OVERLAPPED {
public:
    /// Not while an operation is under way: the system writes to the object.
    virtual ~CIOCOmpletionCallback();

    /// Called on a thread of the system's pool, once for every operation. It must not throw.
    /// \param error            a system error code; 0 for success
    /// \param bytesTransferred how many bytes were read or written
    virtual void OnCompleted(unsigned long error, unsigned long bytesTransferred) noexcept = 0;

protected:
    /// The overlapped structure is all zero: set its offset before each operation.
    CIOCOmpletionCallback() noexcept;
    CIOCOmpletionCallback(const CIOCOmpletionCallback&) = delete;
    CIOCOmpletionCallback& operator=(const CIOCOmpletionCallback&) = delete;
};

} // namespace ZelCore::Threading
