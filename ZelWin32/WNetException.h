#pragma once

#include "ZelCore/Export.h"

#include <string>

namespace ZelWin32 {

/// Error texts of network providers. It is never thrown or constructed.
class ZELCORE_API CWNetException {
public:
    CWNetException() = delete;

    /// The text for the result of a WNet function. For 1208 (ERROR_EXTENDED_ERROR) it asks the network
    /// provider that failed last on this thread; every other code has the system's text, as of
    /// CWin32Exception::FormatMessageW.
    static std::wstring FormatMessageW(int error);
};

} // namespace ZelWin32
