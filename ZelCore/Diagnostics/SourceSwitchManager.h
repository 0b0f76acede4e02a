#pragma once

#include "ZelCore/Diagnostics/SourceSwitch.h"

#include <memory>

namespace ZelCore::Diagnostics {

/// The switches of the process by name. A switch lives as long as somebody holds it. Any thread.
class ZELCORE_API CSourceSwitchManager {
public:
    CSourceSwitchManager() = delete;

    /// The live switch of the name, or a new one from "switches" of the program's configuration. Throws
    /// CArgumentNullException for "switchName", CConfigurationException for a name that is not there, and what reading
    /// the configuration throws.
    static std::shared_ptr<CSourceSwitch> GetSourceSwitch(const wchar_t* switchName);
};

} // namespace ZelCore::Diagnostics
