#include "ZelCore/Remoting/AccessToken.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/TokenInformation.h"
#include "ZelWin32/UniqueHandle.h"
#include "ZelWin32/Win32Exception.h"

namespace ATL {

using ZelWin32::CheckWin32;

CAccessToken::~CAccessToken() {
    Attach(nullptr);
}

void CAccessToken::Attach(void* token) noexcept {
    if (m_token != nullptr && m_token != token) {
        ::CloseHandle(m_token);
    }
    m_token = token;
}

std::vector<unsigned char> CAccessToken::GetUserSid() const {
    return ZelWin32::GetTokenUserSid(m_token, ZEL_SITE(L"ATL::CAccessToken::GetUserSid"));
}

std::wstring CAccessToken::GetUserAndDomain() const {
    std::vector<unsigned char> sid = GetUserSid();
    wchar_t user[257], domain[257];
    DWORD userLength = 257, domainLength = 257;
    SID_NAME_USE use;
    CheckWin32(::LookupAccountSidW(nullptr, sid.data(), user, &userLength, domain, &domainLength, &use),
               ZEL_SITE(L"ATL::CAccessToken::GetUserAndDomain"));
    return std::wstring(domain) + L"\\" + user;
}

bool CAccessToken::IsMember(const std::vector<unsigned char>& sid) const {
    const wchar_t* const method = L"ATL::CAccessToken::IsMember";
    const auto own = const_cast<unsigned char*>(sid.data()); // the system only reads it, but takes non-const
    constexpr std::size_t smallest = 8; // an SID without sub-authorities, whose number is at its start
    if (sid.size() < smallest || !::IsValidSid(own) || ::GetLengthSid(own) != sid.size()) {
        return false;
    }
    // The system's own check supports restricted tokens and app-container tokens, which have their user's SID too.
    BOOL member = FALSE;
    if (m_token == nullptr) { // the system would use the thread's own user
        throw ZelWin32::CWin32Exception(ERROR_INVALID_HANDLE, nullptr, ZEL_SITE(method));
    }
    if (::CheckTokenMembership(m_token, own, &member)) {
        return member != FALSE;
    }
    CheckWin32(::GetLastError() == ERROR_NO_IMPERSONATION_TOKEN, ZEL_SITE(method));
    HANDLE handle = nullptr; // the token of a process must be duplicated as an impersonation token
    CheckWin32(::DuplicateToken(m_token, SecurityIdentification, &handle), ZEL_SITE(method));
    const ZelWin32::EventHandle impersonation(handle);
    CheckWin32(::CheckTokenMembership(impersonation.Get(), own, &member), ZEL_SITE(method));
    return member != FALSE;
}

} // namespace ATL
