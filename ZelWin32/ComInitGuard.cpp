#include "ZelWin32/ComInitGuard.h"

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/ComPointer.h"

#include <objbase.h>

namespace ZelWin32 {

CComInitGuard::CComInitGuard() {
    const HRESULT hr = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    m_initialized = SUCCEEDED(hr);
    if (hr != RPC_E_CHANGED_MODE) {
        CheckComCode(hr, ZEL_SITE(L"ZelWin32::CComInitGuard::CComInitGuard"));
    }
}

CComInitGuard::~CComInitGuard() {
    if (m_initialized) {
        ::CoUninitialize();
    }
}

} // namespace ZelWin32
