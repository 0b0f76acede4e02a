#include "ZelCore/AsyncResult.h"

#include "ZelCore/AsyncCallback.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/Messages.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/UniqueHandle.h"
#include "ZelWin32/Win32Exception.h"

#include <memory>
#include <new>
#include <utility>

namespace ZelCore {

using ZelWin32::CheckWin32;

namespace {

enum Completion { Pending = 0, Synchronous = 1, Asynchronous = 2 };

/// Failures of the layer below the library's own classes have no throw site.
[[noreturn]] void ThrowSupportFailure(HRESULT error) {
    throw ZelWin32::CWin32Exception(static_cast<unsigned long>(error), L"ATL originated", nullptr, nullptr, 0);
}

} // namespace

CAsyncResult::CAsyncResult(CAsyncCallback* callback, void* state) noexcept : m_callback(callback), m_state(state) {}

CAsyncResult::~CAsyncResult() {
    delete m_failure;
    const ZelWin32::EventHandle closing(m_waitHandle.load());
}

void* CAsyncResult::GetAsyncState() const {
    return m_state;
}

void* CAsyncResult::GetWaitHandle() const {
    if (m_callback != nullptr) {
        throw CInvalidOperationException(GetMessageText(Message::WaitHandleWithCallback),
                                         ZEL_SITE(L"ZelCore::CAsyncResult::GetWaitHandle"));
    }
    void* installed = m_waitHandle.load();
    if (installed != nullptr) {
        return installed;
    }
    ZelWin32::EventHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event) {
        ThrowSupportFailure(HRESULT_FROM_WIN32(::GetLastError()));
    }
    if (!m_waitHandle.compare_exchange_strong(installed, event.Get())) {
        return installed;
    }
    installed = event.Release();
    if (IsCompleted() && m_signalled.exchange(1) == 0) {
        CheckWin32(::SetEvent(installed), ZEL_SITE(L"ZelCore::CAsyncResult::GetWaitHandle"));
    }
    return installed;
}

bool CAsyncResult::IsCompleted() const {
    return m_completion.load() != Pending;
}

bool CAsyncResult::CompletedSynchronously() const {
    return m_completion.load() == Synchronous;
}

void CAsyncResult::SetAsCompleted(bool completedSynchronously) {
    Complete(completedSynchronously, nullptr, false);
}

void CAsyncResult::SetAsCompleted(bool completedSynchronously, const CException& error) {
    std::unique_ptr<CException> failure;
    try {
        failure.reset(error.Clone());
    } catch (const std::bad_alloc&) { // the waiting thread must be woken
        Complete(completedSynchronously, nullptr, true);
        return;
    }
    Complete(completedSynchronously, std::move(failure), false);
}

void CAsyncResult::Complete(bool completedSynchronously, std::unique_ptr<CException> failure, bool failureLost) {
    // Site: both overloads of SetAsCompleted end here.
    if (m_claimed.exchange(1) != 0) {
        throw CInvalidOperationException(GetMessageText(Message::CompletedTwice),
                                         ZEL_SITE(L"ZelCore::CAsyncResult::SetAsCompleted"));
    }
    m_failure = failure.release();
    m_failureLost = failureLost;
    m_completion.exchange(completedSynchronously ? Synchronous : Asynchronous);
    void* const waitHandle = m_waitHandle.load();
    if (waitHandle != nullptr) {
        if (m_signalled.exchange(1) == 0) {
            CheckWin32(::SetEvent(waitHandle), ZEL_SITE(L"ZelCore::CAsyncResult::SetAsCompleted"));
        }
        return;
    }
    if (m_callback != nullptr) {
        m_callback->Invoke(this); // may destroy this object: nothing follows
    }
}

void CAsyncResult::EndInvoke() {
    if (!IsCompleted() || m_waitHandle.load() != nullptr) {
        CheckWin32(::WaitForSingleObject(GetWaitHandle(), INFINITE) == WAIT_OBJECT_0,
                   ZEL_SITE(L"ZelCore::CAsyncResult::EndInvoke"));
        const ZelWin32::EventHandle closing(m_waitHandle.exchange(nullptr));
    }
    if (m_failureLost) {
        throw std::bad_alloc();
    }
    if (m_failure != nullptr) {
        m_failure->Throw();
    }
}

} // namespace ZelCore
