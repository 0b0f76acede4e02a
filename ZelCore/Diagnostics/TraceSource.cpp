#include "ZelCore/Diagnostics/TraceSource.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Diagnostics/TraceSourceManager.h"
#include "ZelCore/String.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/CriticalSection.h"

#include <exception>
#include <mutex>

namespace ZelCore::Diagnostics {

CTraceSource::CTraceSource(const wchar_t* name)
    : m_lock(std::make_unique<ZelWin32::CCriticalSection>()), m_name(name != nullptr ? name : L"") {
    CheckNotNull(name, L"name", ZEL_SITE(L"ZelCore::Diagnostics::CTraceSource::CTraceSource"));
}

CTraceSource::~CTraceSource() = default;

CTraceSourceImpl& CTraceSource::GetImpl() const {
    if (!m_initialized.load(std::memory_order_acquire)) {
        const std::lock_guard<ZelWin32::CCriticalSection> guard(*m_lock);
        if (!m_initialized.load(std::memory_order_relaxed)) {
            m_impl = CTraceSourceManager::GetTraceSource(m_name.c_str());
            m_initialized.store(true, std::memory_order_release);
        }
    }
    return *m_impl;
}

void CTraceSource::TraceEvent(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                              const wchar_t* message) const {
    const CTraceSourceImpl& impl = GetImpl();
    if (!impl.sourceSwitch->ShouldTrace(type)) {
        return;
    }
    const auto orEmpty = [](const wchar_t* text) { return text != nullptr ? text : L""; };
    const TraceEventContext context{orEmpty(function), orEmpty(file), line,
                                    static_cast<unsigned>(::GetCurrentThreadId()), CDateTime::UtcNow()};
    std::exception_ptr failure;
    for (const std::shared_ptr<CTraceListener>& listener : impl.listeners) {
        try {
            listener->Deliver(context, m_name.c_str(), type, 0, orEmpty(message));
        } catch (...) {
            failure = failure ? failure : std::current_exception();
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void CTraceSource::TraceEventFormat(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                                    const wchar_t* format, ...) const {
    struct Arguments {
        va_list list;
        ~Arguments() {
            va_end(list);
        }
    } arguments;
    va_start(arguments.list, format);
    TraceEventV(function, file, line, type, format, arguments.list);
}

void CTraceSource::TraceEventV(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                               const wchar_t* format, va_list arguments) const {
    TraceEvent(function, file, line, type, CString::FormatV(format, arguments).c_str());
}

const CSourceSwitch& CTraceSource::GetSourceSwitch() const {
    return *GetImpl().sourceSwitch;
}

CSourceSwitch& CTraceSource::GetSourceSwitch() {
    return *GetImpl().sourceSwitch;
}

void CTraceSource::AddTraceListener(const std::shared_ptr<CTraceListener>& listener) {
    CheckNotNull(listener.get(), L"listener", ZEL_SITE(L"ZelCore::Diagnostics::CTraceSource::AddTraceListener"));
    GetImpl().listeners.push_back(listener);
}

void CTraceSource::RemoveAllListeners() {
    GetImpl().listeners.clear();
}

} // namespace ZelCore::Diagnostics
