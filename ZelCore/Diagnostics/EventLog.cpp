#include "ZelCore/Diagnostics/EventLog.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Environment.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::Diagnostics {

class CEventLog::impl {
public:
    impl(const wchar_t* source, const wchar_t* server) {
        const wchar_t* const method = L"ZelCore::Diagnostics::CEventLog::impl::impl";
        CheckNotEmpty(source, L"source", ZEL_SITE(method));
        const HANDLE handle = ::RegisterEventSourceW(server, source);
        ZelWin32::CheckWin32(handle != nullptr && handle != INVALID_HANDLE_VALUE, ZEL_SITE(method));
        m_handle = handle;
    }
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    ~impl() {
        if (m_handle != nullptr) {
            ::DeregisterEventSource(m_handle);
        }
    }

    void WriteEntry(const std::vector<std::wstring>& strings, EventLogEntryType type, std::uint32_t eventId,
                    std::uint16_t category) const {
        const wchar_t* const method = L"ZelCore::Diagnostics::CEventLog::impl::WriteEntry";
        CheckAtMost(strings.size(), 0xFFFF, L"strings", ZEL_SITE(method));
        std::vector<const wchar_t*> texts;
        texts.reserve(strings.size());
        for (const std::wstring& text : strings) {
            texts.push_back(text.c_str());
        }
        std::vector<unsigned char> sid = CEnvironment::GetUserSid();
        ZelWin32::CheckWin32(::ReportEventW(m_handle, static_cast<WORD>(type), category, eventId, sid.data(),
                                            static_cast<WORD>(texts.size()), 0, texts.data(), nullptr),
                             ZEL_SITE(method));
    }

private:
    HANDLE m_handle = nullptr;
};

CEventLog::CEventLog(const wchar_t* source, const wchar_t* server) : m_impl(std::make_unique<impl>(source, server)) {}

CEventLog::~CEventLog() = default;

void CEventLog::WriteEntry(const std::vector<std::wstring>& strings, EventLogEntryType type, std::uint32_t eventId,
                           std::uint16_t category) const {
    m_impl->WriteEntry(strings, type, eventId, category);
}

} // namespace ZelCore::Diagnostics
