#pragma once

#include "ZelCore/Diagnostics/SourceSwitch.h"
#include "ZelCore/Diagnostics/TraceListener.h"

#include <atomic>
#include <cstdarg>
#include <memory>
#include <string>

namespace ZelWin32 {
class CCriticalSection;
}

/// Trace sources with switches and listeners, the event log, and the stopwatch.
namespace ZelCore::Diagnostics {

class CTraceSourceImpl;

/// Traces the events of one part of a program.
///
///     static const CTraceSource g_trace(L"App.Tcp");
///     g_trace.TraceEventFormat(L"Connect", L"" __FILE__, __LINE__, TraceEventType::Warning, L"%d tries", 3);
///
/// Which events go where, the section "system.diagnostics" of the program's configuration file tells:
/// "program.exe.config" beside "program.exe". It is read with the first event of the process. A source that is not
/// configured there, and whose ancestors ("App" for "App.Tcp") are not, is silent.
///
/// A source joins the nearest of its ancestors that has been used before in the process, and shares its switch and
/// listeners, whatever the file says of itself: after "App", or after an "App.Db" when the file knows neither of the
/// two, a later "App.Tcp" is "App". So either configure and trace only at one level of a family, or let the sources
/// with elements of their own trace first.
///
/// The first event may throw what is wrong with the configuration; the next event then tries again. It loads modules,
/// uses COM and opens files, so it must not come from DllMain or while the thread impersonates somebody. Otherwise
/// events throw what a listener throws, after all listeners got the event; a listener whose configuration says
/// countFailures="true" counts its failures instead. Events may be traced from any thread; listeners
/// must not be added or removed meanwhile. An event that the switch rejects costs a few nanoseconds.
class ZELCORE_API CTraceSource {
public:
    /// Reads nothing yet. Null throws CArgumentNullException for "name"; an empty name fails with the first event.
    explicit CTraceSource(const wchar_t* name);
    CTraceSource(const CTraceSource&) = delete;
    CTraceSource& operator=(const CTraceSource&) = delete;
    /// Lets go of switch and listeners, which end with the last source that shares them.
    ~CTraceSource();

    /// Tells every listener, the configured ones in the order of their names and then those that were added, unless the
    /// switch rejects events of this type. The time is taken once for all of them.
    ///
    /// \param function,file where the event happens; null counts as empty
    /// \param line     the line in that file
    /// \param type     one of the types
    /// \param message  null counts as empty
    void TraceEvent(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                    const wchar_t* message) const;

    /// The same with a message as of CString::Format, which is formatted also for an event that is rejected. Throws as
    /// CString::Format does, also for a null "format".
    ///@{
    void TraceEventFormat(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                          const wchar_t* format, ...) const;
    void TraceEventV(const wchar_t* function, const wchar_t* file, int line, TraceEventType type, const wchar_t* format,
                     va_list arguments) const;
    ///@}

    /// The switch, shared with every source that has joined the same one, as are the listeners. Valid while the source
    /// lives. Throws as the first event does where it comes before that.
    ///@{
    const CSourceSwitch& GetSourceSwitch() const;
    CSourceSwitch& GetSourceSwitch();
    ///@}

    /// Adds a listener behind the others, for all sources that share them; they keep it alive. Null throws
    /// CArgumentNullException for "listener". Not while anybody traces; throws as the first event does.
    void AddTraceListener(const std::shared_ptr<CTraceListener>& listener);

    /// Leaves all sources that share the listeners without any. Not while anybody traces; throws as the first event
    /// does.
    void RemoveAllListeners();

    /// The name that the source was made with, also where the configuration has an ancestor of it. Valid while the
    /// source lives.
    const std::wstring& GetName() const noexcept {
        return m_name;
    }

private:
    CTraceSourceImpl& GetImpl() const;

    mutable std::atomic<bool> m_initialized{false};
    std::unique_ptr<ZelWin32::CCriticalSection> m_lock;
    std::wstring m_name;
    mutable std::shared_ptr<CTraceSourceImpl> m_impl;
};

} // namespace ZelCore::Diagnostics
