#pragma once

#include "ZelCore/Export.h"

#include <string>
#include <vector>

namespace ZelCore {

/// Questions about the process's surroundings. All throw CWin32Exception when the system has no answer. All static,
/// asked anew each time, callable from any thread; the answers may differ between threads that act for different users.
class ZELCORE_API CEnvironment {
public:
    CEnvironment() = delete;

    /// The name of the user on whose behalf the thread runs, without the domain.
    static std::wstring GetUserNameW();

    /// The security identifier (SID) of that user, as the system's functions take it.
    static std::vector<unsigned char> GetUserSid();

    /// The computer's name: format 0 its NetBIOS name, 1 its DNS host name, 3 its fully qualified DNS name, as of
    /// GetComputerNameEx, which refuses formats that it does not know.
    static std::wstring GetMachineName(int format);

    /// The text with "%NAME%" replaced by the environment's variables; unknown names stay. Null throws
    /// CArgumentNullException for "text", a result of 32,766 characters or more CWin32Exception
    /// with 111 (ERROR_BUFFER_OVERFLOW).
    static std::wstring ExpandEnvironmentVariables(const wchar_t* text);
};

} // namespace ZelCore
