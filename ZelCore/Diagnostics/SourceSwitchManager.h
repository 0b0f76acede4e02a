#pragma once

#include "ZelCore/Diagnostics/SourceSwitch.h"

#include <memory>

namespace ZelCore::Diagnostics {

/// The switches of the process by name. A switch lives while it is in use. May be used from any thread.
class ZELCORE_API CSourceSwitchManager {
public:
    CSourceSwitchManager() = delete;

    /// Returns the existing switch of that name, or a new one from "switches" of the program's configuration. Throws
    /// CArgumentNullException for "switchName", CConfigurationException for an unknown name, and exceptions from
    /// reading the configuration.
    static std::shared_ptr<CSourceSwitch> GetSourceSwitch(const wchar_t* switchName);
};

} // namespace ZelCore::Diagnostics
