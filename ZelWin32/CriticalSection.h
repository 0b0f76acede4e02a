#pragma once

// Private to the library: the system's lock between the threads of a process.

#include "ZelCore/ThrowSite.h"
#include "ZelWin32/ComException.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

/// Recursive; can be used with std::lock_guard.
class CCriticalSection {
public:
    /// Throws CComException with the HRESULT of the last error.
    CCriticalSection() {
        constexpr DWORD spinCount = 4000;
        if (!::InitializeCriticalSectionAndSpinCount(&m_section, spinCount)) {
            throw CComException(HRESULT_FROM_WIN32(::GetLastError()), nullptr,
                                ZEL_SITE(L"ZelWin32::CCriticalSection::CCriticalSection"));
        }
    }
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;
    ~CCriticalSection() {
        ::DeleteCriticalSection(&m_section);
    }

    void lock() noexcept {
        ::EnterCriticalSection(&m_section);
    }
    void unlock() noexcept {
        ::LeaveCriticalSection(&m_section);
    }

private:
    CRITICAL_SECTION m_section;
};

} // namespace ZelWin32
