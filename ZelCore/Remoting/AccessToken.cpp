#include "ZelCore/Remoting/AccessToken.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

namespace ATL {

using ZelWin32::CheckWin32;

namespace {

std::vector<unsigned char> GetInformation(HANDLE token, TOKEN_INFORMATION_CLASS what, const wchar_t* method,
                                          const wchar_t* file, int line) {
    DWORD size = 0;
    if (!::GetTokenInformation(token, what, nullptr, 0, &size)) {
        CheckWin32(::GetLastError() == ERROR_INSUFFICIENT_BUFFER, method, file, line);
    }
    std::vector<unsigned char> bytes(size);
    CheckWin32(::GetTokenInformation(token, what, bytes.data(), size, &size), method, file, line);
    return bytes;
}

} // namespace

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
    const std::vector<unsigned char> user =
        GetInformation(m_token, TokenUser, ZEL_SITE(L"ATL::CAccessToken::GetUserSid"));
    const PSID sid = reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
    const auto* const bytes = static_cast<const unsigned char*>(sid);
    return {bytes, bytes + ::GetLengthSid(sid)};
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
        GetInformation(m_token, TokenUser, ZEL_SITE(L"ATL::CAccessToken::IsMember"));
    const SID_AND_ATTRIBUTES& own = reinterpret_cast<const TOKEN_USER*>(user.data())->User;
    if ((own.Attributes & SE_GROUP_USE_FOR_DENY_ONLY) == 0 && equals(own.Sid)) {
        return true;
    }
    const std::vector<unsigned char> bytes =
        GetInformation(m_token, TokenGroups, ZEL_SITE(L"ATL::CAccessToken::IsMember"));
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
