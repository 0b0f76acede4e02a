#pragma once

#include "ZelCore/Export.h"

namespace ZelCore {

class IAsyncResult;

/// Notified when an asynchronous operation has completed. The caller of the Begin method owns the object and keeps it
/// alive until it has been invoked, or until the operation was abandoned (see CFileStream::EndRead).
///
/// One object may serve several operations. It is then invoked once for each of them, possibly on several threads at
/// the same time.
class ZELCORE_API CAsyncCallback {
public:
    virtual ~CAsyncCallback();

    /// Called once, on the thread that completed the operation; usually it calls the End method.
    /// CAsyncResult::SetAsCompleted passes an exception thrown here on to its caller. CFileStream discards it, because
    /// there is no caller to report it to.
    ///
    /// \param result the value that the Begin method returns; the Begin method may still be running on its thread
    virtual void Invoke(const IAsyncResult* result) = 0;

    CAsyncCallback();
};

} // namespace ZelCore
