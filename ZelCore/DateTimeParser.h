#pragma once

// Private to the library: reading of date-times.

#include "ZelCore/DateTime.h"

namespace ZelCore {

/// Minutes that local time is ahead of universal time at a local instant. Throws CWin32Exception.
int GetLocalOffset(const CDateTime& value);

} // namespace ZelCore
