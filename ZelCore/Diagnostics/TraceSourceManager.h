#pragma once

#include "ZelCore/Diagnostics/SourceSwitch.h"
#include "ZelCore/Diagnostics/TraceListener.h"

#include <memory>
#include <string>
#include <vector>

namespace ZelCore::Diagnostics {

/// What all trace sources of one configured name share.
class ZELCORE_API CTraceSourceImpl {
public:
    /// Takes switch and listeners from the configured source of the name or of what stands before one of its dots,
    /// from right to left. Without such a source the name is what stands before the first dot, the switch is off and
    /// there are no listeners. Throws CConfigurationException and what making the listeners throws.
    explicit CTraceSourceImpl(const std::wstring& sourceName);
    CTraceSourceImpl(const CTraceSourceImpl&) = delete;
    CTraceSourceImpl& operator=(const CTraceSourceImpl&) = delete;
    ~CTraceSourceImpl();

    std::wstring name;                                      ///< the configured one
    std::shared_ptr<CSourceSwitch> sourceSwitch;            ///< never null; without a name if no other source shares it
    std::vector<std::shared_ptr<CTraceListener>> listeners; ///< changed only while nobody traces
};

/// The sources of the process by name. An implementation lives as long as a source holds it. Any thread.
class ZELCORE_API CTraceSourceManager {
public:
    CTraceSourceManager() = delete;

    /// The live implementation registered under the name, or under what stands before one of its dots; otherwise a new
    /// one from the program's configuration. Throws CArgumentNullException and CArgumentException for "sourceName",
    /// and what making it throws: then the next call tries again.
    static std::shared_ptr<CTraceSourceImpl> GetTraceSource(const wchar_t* sourceName);
};

} // namespace ZelCore::Diagnostics
