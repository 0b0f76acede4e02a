#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Diagnostics {

/// The listeners of the process by name. A listener lives as long as somebody holds it. Any thread.
class ZELCORE_API CTraceListenerManager {
public:
    CTraceListenerManager() = delete;

    /// The live listener of the name, or a new one from "sharedListeners" of the program's configuration. Throws
    /// CArgumentNullException for "listenerName", CConfigurationException for a name that is not there, and as the
    /// other form does.
    static std::shared_ptr<CTraceListener> GetTraceListener(const wchar_t* listenerName);

    /// The live listener of the name, whatever its values, or a new one of these values.
    ///
    /// \param listenerType   "FileLog" for a CLogWriterTraceListener, "EventProvider" for a
    ///                       CEventProviderTraceListener, anything else for a CConsoleTraceListener
    /// \param initializeData the file name, the provider's GUID, or empty text
    /// \param maximumFileSize,maximumNumberOfFiles  as of CLogWriterTraceListener; checked for every type
    ///
    /// Throws CArgumentNullException for "listenerName", "listenerType" or "initializeData",
    /// CArgumentOutOfRangeException for "maximumFileSizem" (below 1 and not -1) or "maximumNumberOfFiles" (0), and what
    /// the listener throws when it is made.
    static std::shared_ptr<CTraceListener> GetTraceListener(const wchar_t* listenerName, const wchar_t* listenerType,
                                                            const wchar_t* initializeData, std::int64_t maximumFileSize,
                                                            std::uint32_t maximumNumberOfFiles);
};

} // namespace ZelCore::Diagnostics
