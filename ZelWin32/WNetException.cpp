#include "ZelWin32/WNetException.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

std::wstring CWNetException::FormatMessageW(int error) {
    if (error == ERROR_EXTENDED_ERROR) {
        DWORD providerError = 0;
        wchar_t text[256] = {};
        wchar_t provider[256] = {};
        if (::WNetGetLastErrorW(&providerError, text, static_cast<DWORD>(std::size(text)), provider,
                                static_cast<DWORD>(std::size(provider))) == NO_ERROR) {
            return ZelCore::CString::Format(ZelCore::GetMessageText(ZelCore::Message::ProviderError), provider,
                                            providerError, text);
        }
    }
    return CWin32Exception::FormatMessageW(static_cast<unsigned long>(error));
}

} // namespace ZelWin32
