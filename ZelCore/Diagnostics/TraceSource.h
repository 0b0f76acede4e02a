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
/// The section "system.diagnostics" of the program's configuration file ("program.exe.config" in the folder of
/// "program.exe") defines which events are traced and where to. It is read with the first event of the process. A
/// source is silent if neither it nor an ancestor ("App" for "App.Tcp") is configured.
///
/// A source joins its nearest ancestor that has already been used in the process, and shares its switch and listeners,
/// whatever the file defines for the source itself. After "App", a later "App.Tcp" is "App"; the same happens after
/// "App.Db" if the file contains neither of the two. Therefore either configure and trace at only one level of a
/// family, or let the sources with their own elements trace first.
///
/// The first event may throw exceptions caused by an invalid configuration; the next event then tries again. It loads
/// modules, uses COM and opens files, so it must not come from DllMain or while the thread impersonates another user.
/// Later events throw exceptions of a listener after all listeners have received the event; a listener configured with
/// countFailures="true" counts its failures instead. Events may be traced from any thread; listeners must not be added
/// or removed meanwhile. An event that the switch rejects costs a few nanoseconds.
class ZELCORE_API CTraceSource {
public:
    /// Does not read the configuration yet. Null throws CArgumentNullException for "name"; an empty name fails with the
    /// first event.
    explicit CTraceSource(const wchar_t* name);
    CTraceSource(const CTraceSource&) = delete;
    CTraceSource& operator=(const CTraceSource&) = delete;
    /// Releases switch and listeners, which are destroyed with the last source that shares them.
    ~CTraceSource();

    /// Passes the event to every listener, first to the configured ones in the order of their names and then to added
    /// ones, unless the switch rejects this type. All listeners receive the same time.
    ///
    /// \param function,file where the event occurs; null counts as empty
    /// \param line     the line in that file
    /// \param type     one of the types
    /// \param message  null counts as empty
    void TraceEvent(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                    const wchar_t* message) const;

    /// The same with a message formatted by CString::Format, also for an event that is rejected. Throws the exceptions
    /// of CString::Format, also for a null "format".
    ///@{
    void TraceEventFormat(const wchar_t* function, const wchar_t* file, int line, TraceEventType type,
                          const wchar_t* format, ...) const;
    void TraceEventV(const wchar_t* function, const wchar_t* file, int line, TraceEventType type, const wchar_t* format,
                     va_list arguments) const;
    ///@}

    /// Returns the switch, which is shared with every source that has joined the same ancestor, as are the listeners.
    /// Valid while the source lives. If no event came before, it throws the exceptions of the first event.
    ///@{
    const CSourceSwitch& GetSourceSwitch() const;
    CSourceSwitch& GetSourceSwitch();
    ///@}

    /// Adds a listener after the others, for all sources that share them; they keep it alive. Null throws
    /// CArgumentNullException for "listener". Must not be called while any thread traces. Throws the exceptions of the
    /// first event.
    void AddTraceListener(const std::shared_ptr<CTraceListener>& listener);

    /// Removes the listeners of all sources that share them. Must not be called while any thread traces. Throws the
    /// exceptions of the first event.
    void RemoveAllListeners();

    /// Returns the name given to the constructor, even if the configuration contains only an ancestor. Valid while the
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
