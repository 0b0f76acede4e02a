#pragma once

// Private to the library: the trace configuration of the running program.

#include "ZelCore/Diagnostics/Configuration/SystemDiagnosticsSection.h"

namespace ZelCore::Diagnostics::Configuration {

/// Returns the section "system.diagnostics" of the program's configuration file. The first successful call reads it,
/// and it is kept until the process ends. It is empty if there is no such file or section. Throws the exceptions of
/// reading a configuration.
CSystemDiagnosticsSection& GetDiagnosticsConfiguration();

} // namespace ZelCore::Diagnostics::Configuration
