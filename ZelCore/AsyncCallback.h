#pragma once

#include "ZelCore/Export.h"

namespace ZelCore {

class IAsyncResult;

/// Told when an asynchronous operation is over. The caller of the Begin method owns it and keeps it alive
/// until it has been invoked.
class ZELCORE_API CAsyncCallback {
public:
    virtual ~CAsyncCallback();

    /// Called once, on the thread that completed the operation, usually to call the End method. What it throws
    /// is dropped by the library: there is nobody to report it to.
    virtual void Invoke(const IAsyncResult* result) = 0;

    CAsyncCallback();
};

} // namespace ZelCore
