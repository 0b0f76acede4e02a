#include "ZelCore/IO/FileStreamOperation.h"

namespace ZelCore::IO {

namespace {

class ExclusiveLock {
public:
    explicit ExclusiveLock(SRWLOCK& lock) noexcept : m_lock(lock) {
        ::AcquireSRWLockExclusive(&m_lock);
    }
    ExclusiveLock(const ExclusiveLock&) = delete;
    ExclusiveLock& operator=(const ExclusiveLock&) = delete;
    ~ExclusiveLock() {
        ::ReleaseSRWLockExclusive(&m_lock);
    }

private:
    SRWLOCK& m_lock;
};

} // namespace

void COutstandingOperations::Started() noexcept {
    const ExclusiveLock lock(m_lock);
    ++m_count;
}

void COutstandingOperations::NotStarted() noexcept {
    const ExclusiveLock lock(m_lock);
    --m_count;
    ::WakeAllConditionVariable(&m_changed);
}

void COutstandingOperations::BeginDelivery(Delivery& delivery) noexcept {
    const ExclusiveLock lock(m_lock);
    delivery.thread = ::GetCurrentThreadId();
    delivery.next = std::exchange(m_deliveries, &delivery);
}

void COutstandingOperations::EndDelivery(const Delivery& delivery) noexcept {
    const ExclusiveLock lock(m_lock);
    Delivery** link = &m_deliveries;
    while (*link != &delivery) {
        link = &(*link)->next;
    }
    *link = delivery.next;
    --m_count;
    ::WakeAllConditionVariable(&m_changed);
}

void COutstandingOperations::WaitUntilDelivered() noexcept {
    const ExclusiveLock lock(m_lock);
    while (m_count != 0 && !IsDeliveringHere()) {
        ::SleepConditionVariableSRW(&m_changed, &m_lock, INFINITE, 0);
    }
}

bool COutstandingOperations::IsDeliveringHere() const noexcept {
    for (const Delivery* delivery = m_deliveries; delivery != nullptr; delivery = delivery->next) {
        if (delivery->thread == ::GetCurrentThreadId()) {
            return true;
        }
    }
    return false;
}

} // namespace ZelCore::IO
