#include "ZelCore/Diagnostics/EventProviderTraceListener.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Diagnostics/TraceFormatter.h"
#include "ZelCore/Guid.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <cstring>

namespace ZelCore::Diagnostics {

namespace {

using Handle = std::uint64_t; // REGHANDLE
using EventRegisterFunction = ULONG(WINAPI*)(const GUID*, void*, void*, Handle*);
using EventWriteStringFunction = ULONG(WINAPI*)(Handle, UCHAR, std::uint64_t, const wchar_t*);
using EventUnregisterFunction = ULONG(WINAPI*)(Handle);

template <class Function> Function Find(const char* name) {
    // Site: called only by the constructor.
    const auto module = static_cast<HMODULE>(ZelWin32::CPEModule::Load(L"advapi32.dll"));
    const FARPROC function = ::GetProcAddress(module, name);
    ZelWin32::CheckWin32(function != nullptr,
                         ZEL_SITE(L"ZelCore::Diagnostics::CEventProviderTraceListener::impl::impl"));
    return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
}

/// Returns the level of event tracing: 1 (critical) to 5 (verbose).
UCHAR GetLevel(TraceEventType type) {
    constexpr UCHAR information = 4;
    const auto bits = static_cast<std::uint32_t>(type);
    for (UCHAR level = 1; level <= 5; ++level) {
        if (bits == 1u << (level - 1)) {
            return level;
        }
    }
    return information;
}

/// Failures of the tracing session: its buffers are full, the event does not fit into one, or its file is full.
bool IsFaultOfSession(ULONG error) {
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_MORE_DATA || error == ERROR_LOG_FILE_FULL;
}

} // namespace

class CEventProviderTraceListener::impl {
public:
    explicit impl(const CGuid& provider) {
        GUID guid;
        const std::vector<unsigned char> bytes = provider.ToByteArray();
        std::memcpy(&guid, bytes.data(), sizeof(guid));
        const ULONG error = Find<EventRegisterFunction>("EventRegister")(&guid, nullptr, nullptr, &m_handle);
        if (error != ERROR_SUCCESS) {
            throw ZelWin32::CWin32Exception(error, nullptr,
                                            ZEL_SITE(L"ZelCore::Diagnostics::CEventProviderTraceListener::impl::impl"));
        }
    }
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    ~impl() {
        m_unregister(m_handle);
    }
    ULONG Write(TraceEventType type, const wchar_t* line) const {
        return m_writeString(m_handle, GetLevel(type), 0, line);
    }

private:
    EventWriteStringFunction m_writeString = Find<EventWriteStringFunction>("EventWriteString");
    EventUnregisterFunction m_unregister = Find<EventUnregisterFunction>("EventUnregister");
    Handle m_handle = 0;
};

CEventProviderTraceListener::CEventProviderTraceListener(const wchar_t* name, const wchar_t* provider)
    : CTraceListener(name) {
    CheckNotNull(provider, L"provider",
                 ZEL_SITE(L"ZelCore::Diagnostics::CEventProviderTraceListener::CEventProviderTraceListener"));
    m_impl = std::make_unique<impl>(CGuid::Parse(provider));
}

CEventProviderTraceListener::~CEventProviderTraceListener() = default;

void CEventProviderTraceListener::TraceEvent(const TraceEventContext& context, const wchar_t*, TraceEventType type,
                                             unsigned int, const wchar_t* message) {
    constexpr std::size_t longest = 31'000; // characters; an event is limited to 64 KiB, including its headers
    std::wstring line = CTraceFormatter::Format(context, type, message);
    line.resize(std::min(line.size(), longest));
    const ULONG error = m_impl->Write(type, line.c_str());
    if (error != ERROR_SUCCESS && !IsFaultOfSession(error)) {
        throw ZelWin32::CWin32Exception(error, nullptr,
                                        ZEL_SITE(L"ZelCore::Diagnostics::CEventProviderTraceListener::TraceEvent"));
    }
}

} // namespace ZelCore::Diagnostics
