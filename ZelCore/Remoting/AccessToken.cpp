#include "ZelCore/Remoting/AccessToken.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/TokenInformation.h"

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
    const auto equals = [&](PSID other) {
        return ::GetLengthSid(other) == sid.size() &&
               ::EqualSid(other, const_cast<unsigned char*>(sid.data())) != FALSE;
    };
    const std::vector<unsigned char> user =
        ZelWin32::GetTokenBytes(m_token, TokenUser, ZEL_SITE(L"ATL::CAccessToken::IsMember"));
    const SID_AND_ATTRIBUTES& own = reinterpret_cast<const TOKEN_USER*>(user.data())->User;
    if ((own.Attributes & SE_GROUP_USE_FOR_DENY_ONLY) == 0 && equals(own.Sid)) {
        return true;
    }
    const std::vector<unsigned char> bytes =
        ZelWin32::GetTokenBytes(m_token, TokenGroups, ZEL_SITE(L"ATL::CAccessToken::IsMember"));
    const auto* const groups = reinterpret_cast<const TOKEN_GROUPS*>(bytes.data());
    for (DWORD i = 0; i < groups->GroupCount; ++i) {
        const SID_AND_ATTRIBUTES& group = groups->Groups[i];
        constexpr DWORD denied = SE_GROUP_USE_FOR_DENY_ONLY;
        if ((group.Attributes & SE_GROUP_ENABLED) != 0 && (group.Attributes & denied) == 0 && equals(group.Sid)) {
            return true;
        }
    }
    return false;
}

} // namespace ATL
