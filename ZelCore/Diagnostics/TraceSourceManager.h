#pragma once

#include "ZelCore/Diagnostics/SourceSwitch.h"
#include "ZelCore/Diagnostics/TraceListener.h"

#include <memory>
#include <string>
#include <vector>

namespace ZelCore::Diagnostics {

/// The state shared by all trace sources of one configured name.
class ZELCORE_API CTraceSourceImpl {
public:
    /// Takes switch and listeners from the configured source of that name, or of its nearest configured ancestor (the
    /// name up to one of its dots). If there is none, the name is the part before the first dot, the switch is off and
    /// there are no listeners. Throws CConfigurationException and exceptions from creating the listeners.
    explicit CTraceSourceImpl(const std::wstring& sourceName);
    CTraceSourceImpl(const CTraceSourceImpl&) = delete;
    CTraceSourceImpl& operator=(const CTraceSourceImpl&) = delete;
    ~CTraceSourceImpl();

    std::wstring name;                                      ///< the configured name
    std::shared_ptr<CSourceSwitch> sourceSwitch;            ///< never null; without a name if no other source shares it
    std::vector<std::shared_ptr<CTraceListener>> listeners; ///< must not be changed while any thread traces
};

/// The sources of the process by name. An implementation lives while a source holds it. May be used from any thread.
class ZELCORE_API CTraceSourceManager {
public:
    CTraceSourceManager() = delete;

    /// Returns the existing implementation of that name or of its nearest existing ancestor, or otherwise a new one
    /// from the program's configuration. Throws CArgumentNullException and CArgumentException for "sourceName", and
    /// exceptions from creating it; the next call then tries again.
    static std::shared_ptr<CTraceSourceImpl> GetTraceSource(const wchar_t* sourceName);
};

} // namespace ZelCore::Diagnostics
