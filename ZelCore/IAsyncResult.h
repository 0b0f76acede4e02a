#pragma once

#include "ZelCore/Export.h"

namespace ZelCore {

/// The state of an operation that a Begin method has started. The Begin method returns it, the matching End
/// method takes it back and ends its life; nobody else deletes it.
///
/// Learn of completion in one of three ways: give the Begin method a callback; wait on GetWaitHandle; or just
/// call the End method, which waits.
///
/// Threads: all operations may be called from any thread until End.
class ZELCORE_API IAsyncResult {
public:
    /// The pointer that the caller gave to the Begin method; nobody looks at what is there.
    virtual void* GetAsyncState() const = 0;

    /// A manual-reset event (a HANDLE) that is signalled on completion. It is borrowed and dies in the End method.
    /// Throws CInvalidOperationException when the operation has a callback, CWin32Exception when the system
    /// has no event to give.
    virtual void* GetWaitHandle() const = 0;

    /// Whether the operation is over, with success or without. It never becomes false again.
    virtual bool IsCompleted() const = 0;

    /// Whether the operation was already over when the Begin method returned; false while it is under way.
    virtual bool CompletedSynchronously() const = 0;

protected:
    ~IAsyncResult() = default; // results are destroyed as what they are, by those who made them
};

} // namespace ZelCore
