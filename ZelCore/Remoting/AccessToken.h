#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <utility>
#include <vector>

// Compilers with ATL have the class there; include <atlsecurity.h> first to use that one.
#ifndef __ATLSECURITY_H__

namespace ATL {

/// Owns an access token: who calls, and what he belongs to. All questions throw CWin32Exception when the system has no
/// answer, also for an empty object.
class ZELCORE_API CAccessToken {
public:
    CAccessToken() noexcept = default;
    CAccessToken(const CAccessToken&) = delete;
    CAccessToken& operator=(const CAccessToken&) = delete;
    ~CAccessToken();

    /// Takes over a handle in place of the one it has, which is closed.
    void Attach(void* token) noexcept;
    /// Gives the handle away.
    void* Detach() noexcept {
        return std::exchange(m_token, nullptr);
    }
    void* GetHandle() const noexcept {
        return m_token;
    }

    /// The user's security identifier (SID).
    std::vector<unsigned char> GetUserSid() const;
    /// The user's name with its domain: "DOMAIN\user".
    std::wstring GetUserAndDomain() const;
    /// Whether the user or one of the enabled groups of the token has this SID.
    bool IsMember(const std::vector<unsigned char>& sid) const;

private:
    void* m_token = nullptr;
};

} // namespace ATL

#endif
