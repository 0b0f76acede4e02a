#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <vector>

namespace ZelCore {

/// Information about the environment of the process. All functions throw CWin32Exception if the system cannot provide
/// it. All functions are static, query the system on each call and may be called from any thread. Results may differ
/// between threads that impersonate different users.
class ZELCORE_API CEnvironment {
public:
    CEnvironment() = delete;

    /// Returns the name of the user in whose security context the thread runs, without the domain.
    static std::wstring GetUserNameW();

    /// Returns the security identifier (SID) of that user, in binary form.
    static std::vector<unsigned char> GetUserSid();

    /// Returns the computer's name: format 0 is its NetBIOS name, 1 its DNS host name, 3 its fully qualified DNS name.
    /// See GetComputerNameEx, which fails for unknown formats.
    static std::wstring GetMachineName(int format);

    /// Replaces "%NAME%" by the value of the environment variable. Unknown names are kept. Null throws
    /// CArgumentNullException for "text"; a result of 32,766 characters or more throws CWin32Exception with 111
    /// (ERROR_BUFFER_OVERFLOW).
    static std::wstring ExpandEnvironmentVariables(const wchar_t* text);
};

} // namespace ZelCore
