#include "ZelWin32/LastError.h"

#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

void ThrowLastError(const wchar_t* method, const wchar_t* file, int line, unsigned long whenNone) {
    const DWORD error = ::GetLastError();
    throw CWin32Exception(error != ERROR_SUCCESS ? error : whenNone, nullptr, method, file, line);
}

} // namespace ZelWin32
