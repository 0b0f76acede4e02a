#pragma once

#include "ZelCore/Export.h"

namespace ZelCore {

class IAsyncResult;

/// Told when an asynchronous operation is over. The caller of the Begin method owns it and keeps it alive
/// until it has been invoked, or the operation was abandoned (see CFileStream::EndRead).
///
/// One object may serve several operations. It is then invoked for each of them, by several threads at a time where
/// they complete at the same time.
class ZELCORE_API CAsyncCallback {
public:
    virtual ~CAsyncCallback();

    /// Called once, on the thread that completed the operation, usually to call the End method. What it throws leaves
    /// CAsyncResult::SetAsCompleted; CFileStream drops it, since there is nobody to report it to.
    ///
    /// \param result what the Begin method returned, or will return: it may still be running on its thread
    virtual void Invoke(const IAsyncResult* result) = 0;

    CAsyncCallback();
};

} // namespace ZelCore
