#pragma once

// Private to the library: the trace configuration of the running program.

#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"

namespace ZelCore::Diagnostics::Configuration {

/// The section "system.diagnostics" of the program's configuration file, read by the first call that succeeds and kept
/// as long as the process lives. Without such a file or section it is empty. Throws as reading a configuration does.
CSystemDiagnosticsSection& GetDiagnosticsConfiguration();

} // namespace ZelCore::Diagnostics::Configuration
