#pragma once

#include "ZelCore/Version.h"

namespace ZelWin32 {

/// Information about the operating system.
class ZELCORE_API COperatingSystem {
public:
    COperatingSystem() = delete;

    /// Returns the major and minor version and the build as the system reports them to this program; the revision is 0.
    /// Systems after version 6.2 report 6.2 to programs whose manifest does not list them. Throws CWin32Exception.
    static ZelCore::CVersion GetVersion();
};

} // namespace ZelWin32
