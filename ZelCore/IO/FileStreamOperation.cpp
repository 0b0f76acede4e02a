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

bool COutstandingOperations::IsDeliveringHere() noexcept {
    const ExclusiveLock lock(m_lock);
    return CountDeliveries(true) != 0;
}

void COutstandingOperations::WaitUntilDelivered() noexcept {
    const ExclusiveLock lock(m_lock);
    while (m_count != 0) {
        ::SleepConditionVariableSRW(&m_changed, &m_lock, INFINITE, 0);
    }
}

void COutstandingOperations::WaitForOtherDeliveries() noexcept {
    const ExclusiveLock lock(m_lock);
    while (CountDeliveries(false) != 0) {
        ::SleepConditionVariableSRW(&m_changed, &m_lock, INFINITE, 0);
    }
}

int COutstandingOperations::CountDeliveries(bool here) const noexcept {
    int count = 0;
    for (const Delivery* delivery = m_deliveries; delivery != nullptr; delivery = delivery->next) {
        count += (delivery->thread == ::GetCurrentThreadId()) == here ? 1 : 0;
    }
    return count;
}

} // namespace ZelCore::IO
