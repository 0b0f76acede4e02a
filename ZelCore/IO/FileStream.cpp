#include "ZelCore/IO/FileStream.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/AsyncResult.h"
#include "ZelCore/IO/FileStreamOperation.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/String.h"
#include "ZelCore/Threading/IOCOmpletionCallback.h"
#include "ZelCore/Threading/ThreadPool.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/ProcessEnd.h"
#include "ZelWin32/UniqueHandle.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <new>
#include <optional>

namespace ZelCore::IO {

using ZelWin32::CheckWin32;
using ZelWin32::CWin32Exception;

namespace {

/// One system call transfers at most 4 GiB less one byte; all file systems accept pieces of this size.
constexpr std::size_t LargestPiece = 0x40000000;
constexpr std::size_t LargestOverlapped = Largest32;

DWORD LowPart(std::int64_t value) {
    return static_cast<DWORD>(static_cast<std::uint64_t>(value));
}

DWORD HighPart(std::int64_t value) {
    return static_cast<DWORD>(static_cast<std::uint64_t>(value) >> 32);
}

void CheckNotNegative(std::int64_t value, const wchar_t* name, const wchar_t* method, const wchar_t* file, int line) {
    if (value < 0) {
        throw CArgumentException(name, FormatOutOfRange(nullptr, std::to_wstring(value).c_str()).c_str(), method, file,
                                 line);
    }
}

[[noreturn]] void ThrowInvalidOperation(Message message, const wchar_t* method, const wchar_t* file, int line) {
    throw CInvalidOperationException(GetMessageText(message), method, file, line);
}

} // namespace

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // reference-counted, deletes itself

/// Shared by the stream and the code that completes the operation.
class CFileStream::CFileStreamAsyncResult final : public CAsyncResultT<std::size_t> {
public:
    CFileStreamAsyncResult(CAsyncCallback* callback, void* state, bool isRead, std::size_t count,
                           std::int64_t position) noexcept
        : CAsyncResultT(callback, state), m_isRead(isRead), m_hasCallback(callback != nullptr), m_count(count),
          m_position(position) {}

    void AddRef() noexcept {
        ++m_references;
    }
    void Release() noexcept {
        if (--m_references == 0) {
            delete this;
        }
    }

    bool IsRead() const noexcept {
        return m_isRead;
    }
    std::size_t GetCount() const noexcept {
        return m_count;
    }
    /// The position at which the operation begins.
    std::int64_t GetPosition() const noexcept {
        return m_position;
    }
    bool HasCallback() const noexcept {
        return m_hasCallback;
    }
    /// A failure for which there was no memory to keep it as an exception; 0 if there is none.
    void SetError(DWORD error) noexcept {
        m_error = error;
    }
    DWORD GetError() const noexcept {
        return m_error;
    }

private:
    ~CFileStreamAsyncResult() = default;

    std::atomic<int> m_references{1};
    bool m_isRead;
    bool m_hasCallback;
    DWORD m_error = ERROR_SUCCESS;
    std::size_t m_count;
    std::int64_t m_position;
};

#pragma GCC diagnostic pop

/// The overlapped structure of a stream. The system holds a reference while an operation is in progress, so that a
/// stream may release it at any time.
class CFileStream::CFileIOCOmpletionCallback final : private Threading::CIOCOmpletionCallback {
public:
    CFileIOCOmpletionCallback(impl& stream, const RefPtr<COutstandingOperations>& outstanding) noexcept
        : m_stream(&stream), m_outstanding(outstanding) {}

    void AddRef() noexcept {
        ++m_references;
    }
    void Release() noexcept {
        if (--m_references == 0) {
            delete this;
        }
    }

    OVERLAPPED* Start(const RefPtr<CFileStreamAsyncResult>& result, std::int64_t position) noexcept {
        static_cast<OVERLAPPED&>(*this) = OVERLAPPED{};
        Internal = static_cast<ULONG_PTR>(STATUS_PENDING); // until the system writes the result
        Offset = LowPart(position);
        OffsetHigh = HighPart(position);
        m_result = result;
        m_state = ++m_operation << StateBits | Pending;
        m_outstanding->Started();
        AddRef();
        return this;
    }

    /// Distinguishes the successive operations of this structure.
    std::uint64_t GetOperation() const noexcept {
        return m_operation;
    }

    /// Detaches it from the stream. Returns false if the completion has already begun, which then continues.
    bool Retire() noexcept {
        return Leave(m_state.load() >> StateBits, Retired);
    }

    /// Retires an operation that the system refused to start. If the system has written a result, as some versions do
    /// for a full disk, the operation is still reported; the system's reference is then released only after a while,
    /// otherwise at once. Returns false if the report has already arrived and the operation counts as started.
    bool Abandon(std::uint64_t operation) noexcept;

    void OnCompleted(unsigned long error, unsigned long bytesTransferred) noexcept override;

private:
    enum State : std::uint64_t { Idle, Pending, Completing, Retired, Abandoned };
    static constexpr int StateBits = 3;

    ~CFileIOCOmpletionCallback() override = default;

    static constexpr ULONGLONG GracePeriod = 60'000; // milliseconds
    static SRWLOCK s_abandonedLock;
    static CFileIOCOmpletionCallback* s_oldestAbandoned;
    static CFileIOCOmpletionCallback** s_abandonedEnd;

    /// The only exit from the pending state. Of the pool, the stream and its End method exactly one succeeds.
    bool Leave(std::uint64_t operation, State state) noexcept {
        std::uint64_t expected = operation << StateBits | Pending;
        return m_state.compare_exchange_strong(expected, operation << StateBits | state);
    }

    static bool TakeFromAbandoned(const CFileIOCOmpletionCallback* completion) noexcept;
    void Deliver(CFileStreamAsyncResult& result, DWORD error, DWORD bytesTransferred) noexcept;

    std::atomic<int> m_references{1};
    std::uint64_t m_operation = 0;
    std::atomic<std::uint64_t> m_state{Idle}; ///< the operation's number and its State
    impl* m_stream;
    RefPtr<COutstandingOperations> m_outstanding;
    RefPtr<CFileStreamAsyncResult> m_result;
    CFileIOCOmpletionCallback* m_nextAbandoned = nullptr;
    ULONGLONG m_abandonedAt = 0;
};

SRWLOCK CFileStream::CFileIOCOmpletionCallback::s_abandonedLock = SRWLOCK_INIT;
CFileStream::CFileIOCOmpletionCallback* CFileStream::CFileIOCOmpletionCallback::s_oldestAbandoned = nullptr;
CFileStream::CFileIOCOmpletionCallback** CFileStream::CFileIOCOmpletionCallback::s_abandonedEnd = &s_oldestAbandoned;

class CFileStream::impl {
public:
    impl(const wchar_t* fileName, DWORD desiredAccess, DWORD shareMode, SECURITY_ATTRIBUTES* securityAttributes,
         DWORD creationDisposition, DWORD flagsAndAttributes);
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    ~impl() {
        Close();
    }

    template <class Transfer>
    const IAsyncResult* Begin(bool isRead, std::size_t count, CAsyncCallback* callback, void* state, Transfer transfer,
                              const wchar_t* method, const wchar_t* file, int line);
    std::size_t End(const IAsyncResult* asyncResult, bool isRead, const wchar_t* method, const wchar_t* file, int line);
    void CompleteIOCallback(CFileStreamAsyncResult& result, DWORD error, DWORD bytesTransferred);
    void Close() noexcept;

    void CheckSynchronous(const wchar_t* method, const wchar_t* file, int line) const {
        if (asynchronous) {
            ThrowInvalidOperation(Message::SynchronousOnOverlapped, method, file, line);
        }
    }
    void CheckIdle(const wchar_t* method, const wchar_t* file, int line) const {
        if (pending) {
            ThrowInvalidOperation(Message::OperationInProgress, method, file, line);
        }
    }

    std::wstring name;
    ZelWin32::FileHandle handle;
    StreamCapabilities capabilities = StreamCapabilities::CanSeek;
    bool asynchronous;
    std::int64_t position = 0;
    RefPtr<CFileIOCOmpletionCallback> completion;
    RefPtr<CFileStreamAsyncResult> pending;
    RefPtr<COutstandingOperations> outstanding;
    std::atomic<bool> closing{false};
};

bool CFileStream::CFileIOCOmpletionCallback::TakeFromAbandoned(const CFileIOCOmpletionCallback* completion) noexcept {
    ::AcquireSRWLockExclusive(&s_abandonedLock);
    CFileIOCOmpletionCallback** link = &s_oldestAbandoned;
    while (*link != nullptr && *link != completion) {
        link = &(*link)->m_nextAbandoned;
    }
    const bool found = *link != nullptr;
    if (found) {
        *link = completion->m_nextAbandoned;
        if (*link == nullptr) {
            s_abandonedEnd = link;
        }
    }
    ::ReleaseSRWLockExclusive(&s_abandonedLock);
    return found;
}

bool CFileStream::CFileIOCOmpletionCallback::Abandon(std::uint64_t operation) noexcept {
    if (!Leave(operation, Abandoned)) {
        return false;
    }
    m_result = {};
    m_outstanding->NotStarted();
    if (Internal == static_cast<ULONG_PTR>(STATUS_PENDING)) {
        Release();
        return true;
    }
    m_abandonedAt = ::GetTickCount64();
    CFileIOCOmpletionCallback* expired = nullptr;
    CFileIOCOmpletionCallback** expiredEnd = &expired;
    ::AcquireSRWLockExclusive(&s_abandonedLock);
    *s_abandonedEnd = this;
    s_abandonedEnd = &m_nextAbandoned;
    while (s_oldestAbandoned->m_abandonedAt + GracePeriod < m_abandonedAt) { // ends at this one at the latest
        *expiredEnd = s_oldestAbandoned;
        expiredEnd = &s_oldestAbandoned->m_nextAbandoned;
        s_oldestAbandoned = s_oldestAbandoned->m_nextAbandoned;
    }
    *expiredEnd = nullptr;
    ::ReleaseSRWLockExclusive(&s_abandonedLock);
    while (expired != nullptr) {
        std::exchange(expired, expired->m_nextAbandoned)->Release();
    }
    return true;
}

void CFileStream::CFileIOCOmpletionCallback::OnCompleted(unsigned long error, unsigned long bytesTransferred) noexcept {
    const std::uint64_t operation = m_state.load() >> StateBits;
    const bool claimed = Leave(operation, Completing);
    if (!claimed && m_state.load() == (operation << StateBits | Abandoned)) {
        if (TakeFromAbandoned(this)) {
            Release();
        }
        return;
    }
    const RefPtr<CFileIOCOmpletionCallback> systemsReference(this);
    const RefPtr<COutstandingOperations> operations = m_outstanding;
    const RefPtr<CFileStreamAsyncResult> result = std::move(m_result);
    COutstandingOperations::Delivery delivery{};
    operations->BeginDelivery(delivery);
    if (claimed) {
        Deliver(*result.Get(), error, bytesTransferred);
    }
    operations->EndDelivery(delivery);
}

void CFileStream::CFileIOCOmpletionCallback::Deliver(CFileStreamAsyncResult& result, DWORD error,
                                                     DWORD bytesTransferred) noexcept {
    try {
        m_stream->CompleteIOCallback(result, error, bytesTransferred);
    } catch (...) { // thrown by the callback; there is no caller to report it to
    }
}

CFileStream::impl::impl(const wchar_t* fileName, DWORD desiredAccess, DWORD shareMode,
                        SECURITY_ATTRIBUTES* securityAttributes, DWORD creationDisposition, DWORD flagsAndAttributes)
    : name(fileName), handle(::CreateFileW(fileName, desiredAccess, shareMode, securityAttributes, creationDisposition,
                                           flagsAndAttributes, nullptr)),
      asynchronous((flagsAndAttributes & FILE_FLAG_OVERLAPPED) != 0) {
    // Site: opens the file for the constructor.
    if (!handle) {
        const DWORD error = ::GetLastError();
        throw CWin32Exception(error, CString::Format(GetMessageText(Message::CannotCreateFileStream), fileName).c_str(),
                              ZEL_SITE(L"ZelCore::IO::CFileStream::CFileStream"));
    }
    if ((desiredAccess & (GENERIC_READ | FILE_READ_DATA)) != 0) {
        capabilities |= StreamCapabilities::CanRead;
    }
    if ((desiredAccess & (GENERIC_WRITE | FILE_WRITE_DATA)) != 0) {
        capabilities |= StreamCapabilities::CanWrite;
    }
    if (asynchronous) {
        outstanding = RefPtr<COutstandingOperations>(new COutstandingOperations);
        Threading::CThreadPool::BindHandle(handle.Get());
    }
}

template <class Transfer>
const IAsyncResult* CFileStream::impl::Begin(bool isRead, std::size_t count, CAsyncCallback* callback, void* state,
                                             Transfer transfer, const wchar_t* method, const wchar_t* file, int line) {
    if (closing) { // a callback that keeps reading would block Close
        ThrowInvalidOperation(Message::InvalidHandle, method, file, line);
    }
    CheckIdle(method, file, line);
    if (!completion) {
        completion = RefPtr<CFileIOCOmpletionCallback>(new CFileIOCOmpletionCallback(*this, outstanding));
    }
    pending = RefPtr<CFileStreamAsyncResult>(new CFileStreamAsyncResult(callback, state, isRead, count, position));
    // The callback may end the operation and destroy the stream before the system call has returned.
    CFileStreamAsyncResult* const result = pending.Get();
    const RefPtr<CFileIOCOmpletionCallback> started = completion;
    OVERLAPPED* const overlapped = started->Start(pending, position);
    const std::uint64_t operation = started->GetOperation();
    const bool isInCallback = outstanding->IsDeliveringHere(); // a thread that destroys the stream waits for it
    if (!transfer(handle.Get(), static_cast<DWORD>(count), overlapped)) {
        const DWORD error = ::GetLastError();
        if (error != ERROR_IO_PENDING && started->Abandon(operation)) {
            completion = {};
            pending = {};
            throw CWin32Exception(error, nullptr, method, file, line);
        }
        if (isInCallback && closing) { // Close had nothing to cancel yet
            ::CancelIoEx(handle.Get(), overlapped);
        }
    }
    return result;
}

std::size_t CFileStream::impl::End(const IAsyncResult* asyncResult, bool isRead, const wchar_t* method,
                                   const wchar_t* file, int line) {
    // Site: throws the failure that CompleteIOCallback could not keep as an exception.
    CheckNotNull(asyncResult, L"asyncResult", method, file, line);
    if (asyncResult != pending.Get() || pending->IsRead() != isRead) {
        throw CArgumentException(L"asyncResult", GetMessageText(Message::ForeignAsyncResult), method, file, line);
    }
    try {
        pending->EndInvoke();
    } catch (...) {
        const RefPtr<CFileStreamAsyncResult> ended = std::move(pending);
        if (!ended->IsCompleted() && !ended->HasCallback()) {
            // The system cannot create an event to wait for. The system uses the caller's buffer until the operation
            // has ended.
            ::CancelIoEx(handle.Get(), nullptr);
            while (!ended->IsCompleted()) {
                ::Sleep(1);
            }
            position = ended->GetPosition(); // the number of bytes read or written is lost
            throw;
        }
        if (!ended->IsCompleted()) {
            // EndInvoke refused to wait. The operation continues without reporting to anyone, unless the report is
            // already in progress: then it completes at once and is valid.
            if (completion->Retire()) {
                completion = {};
                throw;
            }
            while (!ended->IsCompleted()) {
                ::SwitchToThread();
            }
            ended->EndInvoke();
            return ended->GetResult();
        }
        throw;
    }
    const RefPtr<CFileStreamAsyncResult> ended = std::move(pending);
    if (ended->GetError() != ERROR_SUCCESS) { // there was no memory to record the exception
        throw CWin32Exception(ended->GetError(), nullptr, ZEL_SITE(L"ZelCore::IO::CFileStream::CompleteIOCallback"));
    }
    return ended->GetResult();
}

void CFileStream::impl::CompleteIOCallback(CFileStreamAsyncResult& result, DWORD error, DWORD bytesTransferred) {
    // Site: published as a method of the stream itself.
    if (error == ERROR_SUCCESS && !result.IsRead() && bytesTransferred < result.GetCount()) {
        error = ERROR_DISK_FULL;
        position += bytesTransferred;
    }
    if (error == ERROR_SUCCESS) {
        position += bytesTransferred;
        result.SetResult(bytesTransferred);
        result.SetAsCompleted(false);
        return;
    }
    std::optional<CWin32Exception> failure;
    try {
        failure.emplace(error, nullptr, ZEL_SITE(L"ZelCore::IO::CFileStream::CompleteIOCallback"));
    } catch (const std::bad_alloc&) { // the waiting thread must be woken; the End method throws from the code
        result.SetError(error);
        result.SetAsCompleted(false);
        return;
    }
    result.SetAsCompleted(false, *failure);
}

void CFileStream::impl::Close() noexcept {
    closing = true;
    if (asynchronous && ZelWin32::IsProcessEnding()) { // the threads that could report have ended
        if (completion) {
            completion->Retire();
        }
    } else if (asynchronous) {
        if (handle) {
            ::CancelIoEx(handle.Get(), nullptr);
        }
        if (outstanding->IsDeliveringHere()) {
            // An operation that the callback has begun is no longer reported from here on.
            if (completion) {
                completion->Retire();
            }
            outstanding->WaitForOtherDeliveries();
        } else {
            outstanding->WaitUntilDelivered(); // also if a callback has closed the stream and not returned yet
        }
    }
    handle.Reset();
}

CFileStream::CFileStream(const wchar_t* fileName, unsigned long desiredAccess, unsigned long shareMode,
                         _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                         unsigned long flagsAndAttributes) {
    CheckNotNull(fileName, L"fileName", ZEL_SITE(L"ZelCore::IO::CFileStream::CFileStream"));
    if (*fileName == L'\0') {
        throw CArgumentException(L"fileName", nullptr, ZEL_SITE(L"ZelCore::IO::CFileStream::CFileStream"));
    }
    m_impl = std::make_unique<impl>(fileName, desiredAccess, shareMode, securityAttributes, creationDisposition,
                                    flagsAndAttributes);
}

CFileStream::CFileStream(const std::wstring& fileName, unsigned long desiredAccess, unsigned long shareMode,
                         _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                         unsigned long flagsAndAttributes)
    : CFileStream(fileName.find(L'\0') == std::wstring::npos ? fileName.c_str() : L"", // rejected
                  desiredAccess, shareMode, securityAttributes, creationDisposition, flagsAndAttributes) {}

CFileStream::CFileStream(CFileStream&& other) noexcept : m_impl(std::move(other.m_impl)) {}

CFileStream& CFileStream::operator=(CFileStream&& other) noexcept {
    if (this != &other) {
        CFileStream::Close(); // the callback of an outstanding operation still sees this stream
        m_impl = std::move(other.m_impl);
    }
    return *this;
}

CFileStream::~CFileStream() {
    CFileStream::Close();
}

CFileStream::impl& CFileStream::GetOpen(const wchar_t* method, const wchar_t* file, int line) const {
    if (!m_impl || !m_impl->handle) {
        ThrowInvalidOperation(Message::InvalidHandle, method, file, line);
    }
    return *m_impl;
}

const IAsyncResult* CFileStream::BeginRead(unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                           void* state) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::BeginRead"));
    if (!stream.asynchronous) {
        ThrowInvalidOperation(Message::AsynchronousOnSynchronous, ZEL_SITE(L"ZelCore::IO::CFileStream::BeginRead"));
    }
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CFileStream::BeginRead"));
    return stream.Begin(
        true, std::min(count, LargestOverlapped), callback, state,
        [buffer](HANDLE handle, DWORD size, OVERLAPPED* overlapped) {
            return ::ReadFile(handle, buffer, size, nullptr, overlapped);
        },
        ZEL_SITE(L"ZelCore::IO::CFileStream::BeginRead"));
}

const IAsyncResult* CFileStream::BeginWrite(const unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                            void* state) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::BeginWrite"));
    if (!stream.asynchronous) {
        ThrowInvalidOperation(Message::AsynchronousOnSynchronous, ZEL_SITE(L"ZelCore::IO::CFileStream::BeginWrite"));
    }
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CFileStream::BeginWrite"));
    CheckAtMost(count, Largest32, L"count", ZEL_SITE(L"ZelCore::IO::CFileStream::BeginWrite"));
    return stream.Begin(
        false, count, callback, state,
        [buffer](HANDLE handle, DWORD size, OVERLAPPED* overlapped) {
            return ::WriteFile(handle, buffer, size, nullptr, overlapped);
        },
        ZEL_SITE(L"ZelCore::IO::CFileStream::BeginWrite"));
}

void CFileStream::Close() {
    if (m_impl) {
        m_impl->Close();
    }
}

std::size_t CFileStream::EndRead(const IAsyncResult* asyncResult) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::EndRead"));
    return stream.End(asyncResult, true, ZEL_SITE(L"ZelCore::IO::CFileStream::EndRead"));
}

void CFileStream::EndWrite(const IAsyncResult* asyncResult) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::EndWrite"));
    stream.End(asyncResult, false, ZEL_SITE(L"ZelCore::IO::CFileStream::EndWrite"));
}

void CFileStream::Flush() {
    const impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Flush"));
    CheckWin32(::FlushFileBuffers(stream.handle.Get()), ZEL_SITE(L"ZelCore::IO::CFileStream::Flush"));
}

StreamCapabilities CFileStream::GetCapabilities() const {
    return GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::GetCapabilities")).capabilities;
}

std::int64_t CFileStream::GetLength() const {
    const impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::GetLength"));
    LARGE_INTEGER length{};
    CheckWin32(::GetFileSizeEx(stream.handle.Get(), &length), ZEL_SITE(L"ZelCore::IO::CFileStream::GetLength"));
    return length.QuadPart;
}

const wchar_t* CFileStream::GetName() const {
    return m_impl ? m_impl->name.c_str() : L"";
}

std::int64_t CFileStream::GetPosition() const {
    return GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::GetPosition")).position;
}

std::size_t CFileStream::Read(unsigned char* buffer, std::size_t count) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Read"));
    stream.CheckSynchronous(ZEL_SITE(L"ZelCore::IO::CFileStream::Read"));
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CFileStream::Read"));
    DWORD read = 0;
    CheckWin32(
        ::ReadFile(stream.handle.Get(), buffer, static_cast<DWORD>(std::min(count, LargestPiece)), &read, nullptr),
        ZEL_SITE(L"ZelCore::IO::CFileStream::Read"));
    stream.position += read;
    return read;
}

std::int64_t CFileStream::Seek(std::int64_t offset, SeekOrigin origin) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Seek"));
    if (!stream.asynchronous) {
        LARGE_INTEGER distance{};
        LARGE_INTEGER position{};
        distance.QuadPart = offset;
        CheckWin32(::SetFilePointerEx(stream.handle.Get(), distance, &position, static_cast<DWORD>(origin)),
                   ZEL_SITE(L"ZelCore::IO::CFileStream::Seek"));
        return stream.position = position.QuadPart;
    }
    stream.CheckIdle(ZEL_SITE(L"ZelCore::IO::CFileStream::Seek"));
    const std::int64_t base = origin == SeekOrigin::Begin ? 0
                              : origin == SeekOrigin::End ? GetLength()
                                                          : stream.position;
    std::int64_t target = 0;
    const bool overflow = __builtin_add_overflow(base, offset, &target);
    if (overflow ? offset < 0 : target < 0) {
        throw CArgumentException(L"offset", L"Attempt to seek before the beginning of the stream",
                                 ZEL_SITE(L"ZelCore::IO::CFileStream::Seek"));
    }
    if ((stream.capabilities & StreamCapabilities::CanWrite) == StreamCapabilities::None) {
        const std::int64_t length = GetLength();
        target = overflow ? length : std::min(target, length);
    } else if (overflow) {
        throw CArgumentException(L"offset", L"Attempt to seek after the end of the stream",
                                 ZEL_SITE(L"ZelCore::IO::CFileStream::Seek"));
    }
    return stream.position = target;
}

void CFileStream::Write(const unsigned char* buffer, std::size_t count) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Write"));
    stream.CheckSynchronous(ZEL_SITE(L"ZelCore::IO::CFileStream::Write"));
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CFileStream::Write"));
    do { // a count of 0 also makes one call
        DWORD written = 0;
        CheckWin32(::WriteFile(stream.handle.Get(), buffer, static_cast<DWORD>(std::min(count, LargestPiece)), &written,
                               nullptr),
                   ZEL_SITE(L"ZelCore::IO::CFileStream::Write"));
        if (written == 0 && count != 0) {
            throw CWin32Exception(ERROR_DISK_FULL, nullptr, ZEL_SITE(L"ZelCore::IO::CFileStream::Write"));
        }
        stream.position += written;
        buffer += written;
        count -= written;
    } while (count != 0);
}

void CFileStream::SetLength(std::int64_t length) {
    impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::SetLength"));
    CheckNotNegative(length, L"length", ZEL_SITE(L"ZelCore::IO::CFileStream::SetLength"));
    const auto move = [&stream](std::int64_t position) {
        LARGE_INTEGER target{};
        target.QuadPart = position;
        return ::SetFilePointerEx(stream.handle.Get(), target, nullptr, FILE_BEGIN);
    };
    // Always, because an append moves the file pointer.
    CheckWin32(move(length), ZEL_SITE(L"ZelCore::IO::CFileStream::SetLength"));
    DWORD error = ::SetEndOfFile(stream.handle.Get()) ? ERROR_SUCCESS : ::GetLastError();
    if (!stream.asynchronous && !move(stream.position)) { // asynchronous operations contain their position
        error = error != ERROR_SUCCESS ? error : ::GetLastError();
        stream.position = length; // the actual position
    }
    if (error != ERROR_SUCCESS) {
        throw CWin32Exception(error, nullptr, ZEL_SITE(L"ZelCore::IO::CFileStream::SetLength"));
    }
}

void CFileStream::Lock(std::int64_t position, std::int64_t length, LockType type) {
    const impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Lock"));
    stream.CheckSynchronous(ZEL_SITE(L"ZelCore::IO::CFileStream::Lock"));
    CheckNotNegative(position, L"position", ZEL_SITE(L"ZelCore::IO::CFileStream::Lock"));
    CheckNotNegative(length, L"length", ZEL_SITE(L"ZelCore::IO::CFileStream::Lock"));
    OVERLAPPED range{};
    range.Offset = LowPart(position);
    range.OffsetHigh = HighPart(position);
    CheckWin32(::LockFileEx(stream.handle.Get(), type == LockType::Shared ? 0 : LOCKFILE_EXCLUSIVE_LOCK, 0,
                            LowPart(length), HighPart(length), &range),
               ZEL_SITE(L"ZelCore::IO::CFileStream::Lock"));
}

void CFileStream::Unlock(std::int64_t position, std::int64_t length) {
    const impl& stream = GetOpen(ZEL_SITE(L"ZelCore::IO::CFileStream::Unlock"));
    stream.CheckSynchronous(ZEL_SITE(L"ZelCore::IO::CFileStream::Unlock"));
    CheckNotNegative(position, L"position", ZEL_SITE(L"ZelCore::IO::CFileStream::Unlock"));
    CheckNotNegative(length, L"length", ZEL_SITE(L"ZelCore::IO::CFileStream::Unlock"));
    OVERLAPPED range{};
    range.Offset = LowPart(position);
    range.OffsetHigh = HighPart(position);
    CheckWin32(::UnlockFileEx(stream.handle.Get(), 0, LowPart(length), HighPart(length), &range),
               ZEL_SITE(L"ZelCore::IO::CFileStream::Unlock"));
}

} // namespace ZelCore::IO
