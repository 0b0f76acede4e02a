#pragma once

// Private to the library: queries of access tokens.

#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

#include <vector>

namespace ZelWin32 {

/// Returns a structure of GetTokenInformation together with the data that it points to. Throws CWin32Exception.
inline std::vector<unsigned char> GetTokenBytes(HANDLE token, TOKEN_INFORMATION_CLASS what, const wchar_t* method,
                                                const wchar_t* file, int line) {
    DWORD size = 0;
    if (!::GetTokenInformation(token, what, nullptr, 0, &size)) {
        CheckWin32(::GetLastError() == ERROR_INSUFFICIENT_BUFFER, method, file, line);
    }
    std::vector<unsigned char> bytes(size);
    CheckWin32(::GetTokenInformation(token, what, bytes.data(), size, &size), method, file, line);
    return bytes;
}

/// Returns the security identifier (SID) of the token's user. Throws CWin32Exception.
inline std::vector<unsigned char> GetTokenUserSid(HANDLE token, const wchar_t* method, const wchar_t* file, int line) {
    const std::vector<unsigned char> user = GetTokenBytes(token, TokenUser, method, file, line);
    const PSID sid = reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid;
    const auto* const bytes = static_cast<const unsigned char*>(sid);
    return {bytes, bytes + ::GetLengthSid(sid)};
}

} // namespace ZelWin32
