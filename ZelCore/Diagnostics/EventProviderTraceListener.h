#pragma once

#include "ZelCore/Diagnostics/TraceListener.h"

#include <memory>

namespace ZelCore::Diagnostics {

/// Writes each event's line as a string event of event tracing for Windows (ETW). The five levels become those of
/// event tracing, the activity types become information.
class ZELCORE_API CEventProviderTraceListener : public CTraceListener {
public:
    /// Registers the provider until the listener ends.
    ///
    /// \param name     null throws CArgumentNullException
    /// \param provider the provider's GUID: "{...}" or without braces; CArgumentException for other text, and
    ///                 CArgumentNullException for null
    ///
    /// Throws CWin32Exception when the system has no event tracing or refuses the provider.
    CEventProviderTraceListener(const wchar_t* name, const wchar_t* provider);
    /// Unregisters the provider.
    ~CEventProviderTraceListener() override;

    /// Lines are cut after 31,000 characters. It is no failure that nobody listens, that the buffers of the listening
    /// session are full or too small (8, 234), or that its file is full (1502): the event is lost there. Throws
    /// CWin32Exception for other failures.
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned int id,
                    const wchar_t* message) override;

private:
    class impl;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Diagnostics
