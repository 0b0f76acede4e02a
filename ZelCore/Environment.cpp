#include "ZelCore/Environment.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/TokenInformation.h"
#include "ZelWin32/UniqueHandle.h"
#include "ZelWin32/Win32Exception.h"

namespace ZelCore {

using ZelWin32::CheckWin32;

namespace {

constexpr DWORD LargestExpansion = 0x7FFF; // characters with the null; some systems truncate there silently

} // namespace

std::wstring CEnvironment::GetUserNameW() {
    constexpr DWORD longestName = 257; // UNLEN and the terminating null
    std::wstring name(longestName, L'\0');
    DWORD length = longestName;
    CheckWin32(::GetUserNameW(name.data(), &length), ZEL_SITE(L"ZelCore::CEnvironment::GetUserNameW"));
    name.resize(length - 1);
    return name;
}

std::vector<unsigned char> CEnvironment::GetUserSid() {
    const wchar_t* const method = L"ZelCore::CEnvironment::GetUserSid";
    HANDLE handle = nullptr;
    if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, &handle)) {
        CheckWin32(::GetLastError() == ERROR_NO_TOKEN, ZEL_SITE(method));
        CheckWin32(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &handle), ZEL_SITE(method));
    }
    const ZelWin32::EventHandle token(handle);
    return ZelWin32::GetTokenUserSid(token.Get(), ZEL_SITE(method));
}

std::wstring CEnvironment::GetMachineName(int format) {
    const wchar_t* const method = L"ZelCore::CEnvironment::GetMachineName";
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        auto length = static_cast<DWORD>(name.size());
        if (::GetComputerNameExW(static_cast<COMPUTER_NAME_FORMAT>(format), name.data(), &length)) {
            name.resize(length);
            return name;
        }
        CheckWin32(::GetLastError() == ERROR_MORE_DATA && length > name.size(), ZEL_SITE(method));
        name.resize(length);
    }
}

std::wstring CEnvironment::ExpandEnvironmentVariables(const wchar_t* text) {
    const wchar_t* const method = L"ZelCore::CEnvironment::ExpandEnvironmentVariables";
    CheckNotNull(text, L"text", ZEL_SITE(method));
    std::wstring expanded(MAX_PATH, L'\0');
    for (;;) { // a variable may grow between two calls
        const DWORD length = ::ExpandEnvironmentStringsW(text, expanded.data(), static_cast<DWORD>(expanded.size()));
        CheckWin32(length != 0, ZEL_SITE(method));
        if (length >= LargestExpansion) {
            throw ZelWin32::CWin32Exception(ERROR_BUFFER_OVERFLOW, L"The expanded text is too long", ZEL_SITE(method));
        }
        if (length <= expanded.size()) {
            expanded.resize(length - 1);
            return expanded;
        }
        expanded.resize(length);
    }
}

} // namespace ZelCore
