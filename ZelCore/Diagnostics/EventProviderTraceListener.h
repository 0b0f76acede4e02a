#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <memory>

namespace ZelCore::Diagnostics {

/// Writes each event's line as a string event of Event Tracing for Windows (ETW). The five levels map to the levels of
/// ETW, and activity types map to information.
class ZELCORE_API CEventProviderTraceListener : public CTraceListener {
public:
    /// Registers the provider until the listener is destroyed.
    ///
    /// \param name     null throws CArgumentNullException
    /// \param provider the provider's GUID, with or without braces; other text throws CArgumentException, null throws
    ///                 CArgumentNullException
    ///
    /// Throws CWin32Exception if the system has no event tracing or rejects the provider.
    CEventProviderTraceListener(const wchar_t* name, const wchar_t* provider);
    /// Unregisters the provider.
    ~CEventProviderTraceListener() override;

    /// Lines are truncated to 31,000 characters. It is not a failure if no session is listening, if the buffers of the
    /// session are full or too small (8, 234), or if its file is full (1502): the event is then lost. Throws
    /// CWin32Exception for other failures.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Diagnostics
