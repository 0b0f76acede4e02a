#pragma once

#include "ZelCore/Export.h"

#include <string>

namespace ZelWin32 {

/// Error texts of network providers. The class is never thrown or constructed.
class ZELCORE_API CWNetException {
public:
    CWNetException() = delete;

    /// Returns the text for the result of a WNet function. For 1208 (ERROR_EXTENDED_ERROR) it is the text of the
    /// network provider that failed last on this thread. Every other code has the system's text, see
    /// CWin32Exception::FormatMessageW.
    static std::wstring FormatMessageW(int error);
};

} // namespace ZelWin32
