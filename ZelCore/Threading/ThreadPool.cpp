#include "ZelCore/Threading/ThreadPool.h"

#include "ZelCore/Threading/IOCOmpletionCallback.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/PinnedModule.h"
#include "ZelWin32/Windows.h"

namespace ZelCore::Threading {

namespace {

/// Some versions of the system report an NTSTATUS instead of an error code.
DWORD ToErrorCode(DWORD error) noexcept {
    if ((error & 0x80000000) == 0) {
        return error;
    }
    using Convert = ULONG(WINAPI*)(LONG);
    static const auto convert = reinterpret_cast<Convert>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll"), "RtlNtStatusToDosError")));
    return convert != nullptr ? convert(static_cast<LONG>(error)) : error;
}

void CALLBACK OnCompletion(DWORD error, DWORD bytesTransferred, OVERLAPPED* overlapped) {
    static_cast<CIOCOmpletionCallback*>(overlapped)->OnCompleted(ToErrorCode(error), bytesTransferred);
}

} // namespace

void CThreadPool::BindHandle(void* handle) {
    static const bool pinned = ZelWin32::PinOwnModule(); // the pool's threads may run OnCompletion at any time
    if (!pinned) {
        // Unreached: the address of the library's own code is always in a loaded module.
        ZelWin32::ThrowLastError(ZEL_SITE(L"ZelCore::Threading::CThreadPool::BindHandle"));
    }
    ::SetLastError(ERROR_SUCCESS);
    if (!::BindIoCompletionCallback(handle, &OnCompletion, 0)) {
        ZelWin32::ThrowLastError(ZEL_SITE(L"ZelCore::Threading::CThreadPool::BindHandle"), ERROR_INVALID_PARAMETER);
    }
}

} // namespace ZelCore::Threading
