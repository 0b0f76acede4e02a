#pragma once

#include "ZelCore/Version.h"

namespace ZelWin32 {

/// Questions about the system that the process runs on.
class ZELCORE_API COperatingSystem {
public:
    COperatingSystem() = delete;

    /// Major and minor version and build, as the system reports them to this program: systems after 6.2 report 6.2
    /// to programs whose manifest does not name them. The revision is 0. Throws CWin32Exception.
    static ZelCore::CVersion GetVersion();
};

} // namespace ZelWin32
