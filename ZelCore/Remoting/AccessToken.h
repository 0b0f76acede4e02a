#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <utility>
#include <vector>

// Compilers with ATL have the class there; include <atlsecurity.h> first to use that one.
#ifndef __ATLSECURITY_H__

/// Where programs that also build with ATL look for its access token: nothing else is here.
namespace ATL {

/// Owns an access token: which user calls, and which groups the user belongs to. All questions throw CWin32Exception
/// when the system has no answer, also for an empty object. Several threads may ask at a time.
class ZELCORE_API CAccessToken {
public:
    /// Without a token.
    CAccessToken() noexcept = default;
    CAccessToken(const CAccessToken&) = delete;
    CAccessToken& operator=(const CAccessToken&) = delete;
    /// Closes the handle.
    ~CAccessToken();

    /// Takes over a handle, or null for none, in place of the one it has, which is closed.
    void Attach(void* token) noexcept;
    /// Gives the handle away: the caller closes it, the object is empty.
    void* Detach() noexcept {
        return std::exchange(m_token, nullptr);
    }
    /// The handle, borrowed; null where there is none.
    void* GetHandle() const noexcept {
        return m_token;
    }

    /// The user's security identifier (SID), as the system's functions take it.
    std::vector<unsigned char> GetUserSid() const;
    /// The user's name with its domain: "DOMAIN\user".
    std::wstring GetUserAndDomain() const;
    /// Whether the system grants the token what is granted to this SID: it is the user's, or that of an enabled group,
    /// and does not only deny. In tokens that are restricted or of an app container the SID has to be among those that
    /// these are restricted to as well. False for bytes that are no SID. The token of a process has to be opened with
    /// TOKEN_DUPLICATE (2) too.
    bool IsMember(const std::vector<unsigned char>& sid) const;

private:
    void* m_token = nullptr;
};

} // namespace ATL

#endif
