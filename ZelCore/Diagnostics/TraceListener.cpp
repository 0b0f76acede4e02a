#include "ZelCore/Diagnostics/TraceListener.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"

namespace ZelCore::Diagnostics {

CTraceListener::CTraceListener(const wchar_t* name) : m_name(name != nullptr ? name : L"") {
    CheckNotNull(name, L"name", ZEL_SITE(L"ZelCore::Diagnostics::CTraceListener::CTraceListener"));
}

CTraceListener::~CTraceListener() = default;

void CTraceListener::Flush() {}

} // namespace ZelCore::Diagnostics
