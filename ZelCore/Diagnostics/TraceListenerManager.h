#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Diagnostics {

/// The listeners of the process by name. A listener lives while it is in use. May be used from any thread.
class ZELCORE_API CTraceListenerManager {
public:
    CTraceListenerManager() = delete;

    /// Returns the existing listener of that name, or a new one from "sharedListeners" of the program's configuration.
    /// Throws CArgumentNullException for "listenerName", CConfigurationException for an unknown name, and the
    /// exceptions of the other overload.
    static std::shared_ptr<CTraceListener> GetTraceListener(const wchar_t* listenerName);

    /// Returns the existing listener of that name, whatever its values, or a new one with these values.
    ///
    /// \param listenerType   "FileLog" for a CLogWriterTraceListener, "EventProvider" for a
    ///                       CEventProviderTraceListener, any other text for a CConsoleTraceListener
    /// \param initializeData the file name, the provider's GUID, or empty text
    /// \param maximumFileSize,maximumNumberOfFiles  as for CLogWriterTraceListener; checked for every type
    ///
    /// Throws CArgumentNullException for "listenerName", "listenerType" or "initializeData",
    /// CArgumentOutOfRangeException for "maximumFileSizem" (below 1 and not -1) or "maximumNumberOfFiles" (0), and
    /// exceptions of the listener's constructor.
    static std::shared_ptr<CTraceListener> GetTraceListener(const wchar_t* listenerName, const wchar_t* listenerType,
                                                            const wchar_t* initializeData, std::int64_t maximumFileSize,
                                                            std::uint32_t maximumNumberOfFiles);
};

} // namespace ZelCore::Diagnostics
