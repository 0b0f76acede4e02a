#pragma once

#include "ZelCore/Export.h"

namespace ZelCore {

/// The state of an operation started by a Begin method. The Begin method returns it; the matching End method takes it
/// back and ends its lifetime. It must not be deleted otherwise.
///
/// There are three ways to learn of completion: pass a callback to the Begin method, wait on GetWaitHandle, or call the
/// End method, which waits.
///
/// Threads: all functions may be called from any thread until the End method is called.
class ZELCORE_API IAsyncResult {
public:
    /// Returns the pointer that the caller passed to the Begin method. It is never dereferenced.
    virtual void* GetAsyncState() const = 0;

    /// Returns a manual-reset event (a HANDLE) that is signalled on completion. It is borrowed and valid until the End
    /// method. Throws CInvalidOperationException if the operation has a callback, and CWin32Exception if the system
    /// cannot create an event.
    virtual void* GetWaitHandle() const = 0;

    /// Whether the operation has completed, successfully or not. Once true, it stays true.
    virtual bool IsCompleted() const = 0;

    /// Whether the operation had already completed when the Begin method returned; false while it is in progress.
    virtual bool CompletedSynchronously() const = 0;

protected:
    ~IAsyncResult() = default; // a result is destroyed as its own type by its creator
};

} // namespace ZelCore
