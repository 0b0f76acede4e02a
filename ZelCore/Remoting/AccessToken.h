#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <utility>
#include <vector>

// ATL declares a class of the same name; include <atlsecurity.h> first to use that one.
#ifndef __ATLSECURITY_H__

/// The namespace in which programs that also build with ATL expect the access token class; it contains nothing else.
namespace ATL {

/// Owns an access token, which identifies the calling user and the groups to which the user belongs. All queries throw
/// CWin32Exception if the system call fails, also for an empty object. Several threads may query concurrently.
class ZELCORE_API CAccessToken {
public:
    /// An empty object.
    CAccessToken() noexcept = default;
    CAccessToken(const CAccessToken&) = delete;
    CAccessToken& operator=(const CAccessToken&) = delete;
    /// Closes the handle.
    ~CAccessToken();

    /// Takes ownership of a handle, or of null for none. The previous handle is closed.
    void Attach(void* token) noexcept;
    /// Releases ownership of the handle: the caller closes it, and the object becomes empty.
    void* Detach() noexcept {
        return std::exchange(m_token, nullptr);
    }
    /// Returns the handle, borrowed; null if the object is empty.
    void* GetHandle() const noexcept {
        return m_token;
    }

    /// Returns the user's security identifier (SID), in binary form.
    std::vector<unsigned char> GetUserSid() const;
    /// Returns the user's name with its domain: "DOMAIN\user".
    std::wstring GetUserAndDomain() const;
    /// Whether the token is granted the access that is granted to this SID: it is the user's SID or that of an enabled
    /// group that is not deny-only. For restricted tokens and app-container tokens the SID must also be among the
    /// restricting SIDs. False for bytes that are not a SID. The token of a process must have been opened with
    /// TOKEN_DUPLICATE (2) as well.
    bool IsMember(const std::vector<unsigned char>& sid) const;

private:
    void* m_token = nullptr;
};

} // namespace ATL

#endif
