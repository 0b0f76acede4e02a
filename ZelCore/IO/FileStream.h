#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>

struct _SECURITY_ATTRIBUTES;

namespace ZelCore::IO {

/// A stream over a file, opened with the parameters of CreateFileW.
///
/// Synchronous files use Read and Write. Files opened with FILE_FLAG_OVERLAPPED use BeginRead, BeginWrite, EndRead and
/// EndWrite instead, with at most one operation outstanding. Calling the wrong kind throws CInvalidOperationException.
/// A failing system call throws CWin32Exception with the system's error code.
///
/// Every operation except Close and GetName throws CInvalidOperationException "The handle is invalid" on a closed or
/// moved-from stream. This includes GetCapabilities.
///
/// Threads: one thread at a time. Asynchronous operations complete on a thread of the system's thread pool. Their
/// callback may use the stream, and may also close or destroy it. Closing, destroying or assigning to a stream outside
/// the callback while an operation is outstanding cancels the operation and waits until its callback has returned; only
/// then may the operation's buffer be released. Inside a callback these calls do not wait: the buffer of an operation
/// begun there must outlive the operation.
class ZELCORE_API CFileStream : public CStream {
public:
    /// Whether other handles may lock the same range. Any value other than Shared locks exclusively.
    enum class LockType : int {
        Shared = 0,    ///< other handles may hold Shared locks on the same range
        Exclusive = 1, ///< no other handle may lock the range
    };

    /// Opens or creates a file. The stream owns the handle; Close and the destructor close it.
    ///
    /// \param fileName      also the stream's name
    /// \param desiredAccess GENERIC_READ or FILE_READ_DATA sets CanRead, GENERIC_WRITE or FILE_WRITE_DATA sets
    ///                      CanWrite; GENERIC_ALL sets neither
    /// \param shareMode,securityAttributes,creationDisposition  see CreateFileW
    /// \param flagsAndAttributes with FILE_FLAG_OVERLAPPED the stream is asynchronous
    ///
    /// Throws CArgumentNullException or CArgumentException (if it is empty or contains a null character) for
    /// "fileName", and CWin32Exception "Could not create a file stream on '...'" if the system call fails.
    ///@{
    CFileStream(const wchar_t* fileName, unsigned long desiredAccess, unsigned long shareMode,
                _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                unsigned long flagsAndAttributes);
    CFileStream(const std::wstring& fileName, unsigned long desiredAccess, unsigned long shareMode,
                _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                unsigned long flagsAndAttributes);
    ///@}

    /// The source is left closed. An outstanding operation moves with the stream, and its result stays valid.
    /// Assignment first closes the target.
    ///@{
    CFileStream(CFileStream&& other) noexcept;
    CFileStream& operator=(CFileStream&& other) noexcept;
    ///@}

    /// Closes the stream and waits like Close.
    ~CFileStream() override;

    /// Starts to read at the current position, which advances when the operation completes. The caller must not touch
    /// the buffer until EndRead; null throws CArgumentNullException for "buffer". Throws CInvalidOperationException
    /// while another operation is outstanding.
    ///
    /// \param buffer   borrowed until the operation has ended
    /// \param count    in bytes; truncated to 4294967295
    /// \param callback invoked on a pool thread; null to wait in EndRead or on the result's handle
    /// \param state    returned by the result's GetAsyncState
    /// \return the result, owned by the stream until EndRead
    ///
    /// Reading at the end of the file fails with error 38 (ERROR_HANDLE_EOF), either here or in EndRead. After a
    /// failure no operation is outstanding.
    const IAsyncResult* BeginRead(unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                  void* state) override;

    /// Starts to write at the current position; otherwise the same as BeginRead. More than 4294967295 bytes throw
    /// CArgumentOutOfRangeException for "count". If the file system writes only part of the data, the operation
    /// completes with ERROR_DISK_FULL.
    const IAsyncResult* BeginWrite(const unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                   void* state) override;

    /// Closes the file. Cancels an outstanding operation and waits for it, unless called from its callback.
    void Close() override;

    /// Waits for the operation, destroys its result and returns the number of bytes read, or throws the operation's
    /// failure. In both cases no operation is outstanding afterwards.
    ///
    /// If the operation has a callback and has not completed yet, it throws CInvalidOperationException. The operation
    /// is then abandoned: its callback is no longer invoked, and its buffer must stay valid until the stream is closed.
    ///
    /// Throws CArgumentNullException for null, and CArgumentException for a result that does not belong to the
    /// outstanding BeginRead, both for "asyncResult". The operation then continues.
    std::size_t EndRead(const IAsyncResult* asyncResult) override;

    /// The same as EndRead, for BeginWrite. On success all bytes have been written.
    void EndWrite(const IAsyncResult* asyncResult) override;

    /// Flushes the system's buffers to disk. Requires write access.
    void Flush() override;

    /// Always includes CanSeek; CanRead and CanWrite depend on the access with which the file was opened.
    StreamCapabilities GetCapabilities() const override;

    /// Returns the current length of the file, including changes made through other handles.
    std::int64_t GetLength() const override;

    /// Returns the path that the stream was opened with. It stays available after Close and is empty after a move.
    /// Valid until the stream is destroyed, moved from or assigned to.
    const wchar_t* GetName() const override;
    std::int64_t GetPosition() const override;

    /// Reads at the position, at most 1 GiB per call; returns 0 at the end of the file. A null buffer throws
    /// CArgumentNullException for "buffer".
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// A synchronous file may be positioned beyond its end. An asynchronous file may only with write access; otherwise
    /// the position is limited to the length. A position before the beginning throws CWin32Exception for a synchronous
    /// file and CArgumentException for "offset" for an asynchronous one. Throws CInvalidOperationException while an
    /// operation is outstanding.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Writes all bytes. A full disk throws CWin32Exception with ERROR_DISK_FULL; the position is then after the bytes
    /// that were written. A null buffer throws CArgumentNullException for "buffer", also for a count of 0.
    void Write(const unsigned char* buffer, std::size_t count) override;

    /// Truncates or extends the file to `length` bytes. The position does not change and may then be beyond the end. A
    /// negative length throws CArgumentException for "length".
    void SetLength(std::int64_t length);

    /// Locks a range of bytes for this handle and waits without a time limit until it is free. Locking a range that
    /// this stream has already locked blocks forever. Synchronous files only. A negative number throws
    /// CArgumentException for "position" or "length".
    void Lock(std::int64_t position, std::int64_t length, LockType type);

    /// Releases a range that was locked with exactly the same position and length. Closing the file releases all
    /// ranges. Synchronous files only. Any other range throws CWin32Exception; negative numbers throw as in Lock.
    void Unlock(std::int64_t position, std::int64_t length);

private:
    class CFileIOCOmpletionCallback;
    class CFileStreamAsyncResult;
    class impl;

    impl& GetOpen(const wchar_t* method, const wchar_t* file, int line) const;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO
