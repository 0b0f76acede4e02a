#include "ZelCore/Diagnostics/TraceListener.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics {

CTraceListener::CTraceListener(const wchar_t* name) : m_name(name != nullptr ? name : L"") {
    CheckNotNull(name, L"name", ZEL_SITE(L"ZelCore::Diagnostics::CTraceListener::CTraceListener"));
}

CTraceListener::~CTraceListener() = default;

void CTraceListener::Flush() {}

void CTraceListener::Deliver(const TraceEventContext& context, const wchar_t* source, TraceEventType type,
                             unsigned int id, const wchar_t* message) {
    // Reset before the call, so that only one of several threads reports it.
    const std::uint64_t lost = m_lost.load(std::memory_order_relaxed) != 0 ? m_lost.exchange(0) : 0;
    try {
        if (lost == 0) {
            TraceEvent(context, source, type, id, message);
            return;
        }
        const std::wstring text =
            L"(" + std::to_wstring(lost) +
            (lost == 1 ? L" event before this one was lost) " : L" events before this one were lost) ") +
            (message != nullptr ? message : L"");
        TraceEvent(context, source, type, id, text.c_str());
    } catch (...) {
        const bool counts = m_countsFailures;
        m_lost += lost + (counts ? 1 : 0);
        if (!counts) {
            throw;
        }
    }
}

} // namespace ZelCore::Diagnostics
