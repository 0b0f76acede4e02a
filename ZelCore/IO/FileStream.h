#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>

struct _SECURITY_ATTRIBUTES;

namespace ZelCore::IO {

/// A stream over a file, opened with the parameters of CreateFileW.
///
/// Synchronous files use Read and Write; files opened with FILE_FLAG_OVERLAPPED use BeginRead, BeginWrite, EndRead
/// and EndWrite instead, with at most one operation outstanding. The wrong kind of call throws
/// CInvalidOperationException. A failing system call throws CWin32Exception with the system's error code.
///
/// Every operation but Close and GetName throws CInvalidOperationException "The handle is invalid" on a closed or
/// moved-from stream; GetCapabilities too.
///
/// Threads: one thread at a time. Asynchronous operations complete on a thread of the system's pool, and their
/// callback may use the stream, even close or destroy it. Closing, destroying or assigning to a stream elsewhere
/// while an operation is outstanding cancels the operation and waits until its callback has returned; only then
/// may the operation's buffer be released. Inside a callback nothing waits: the buffer of an operation begun there must
/// outlive the operation.
class ZELCORE_API CFileStream : public CStream {
public:
    /// Whether other holders of a lock may share the range. Any value but Shared locks exclusively.
    enum class LockType : int {
        Shared = 0,    ///< other holders of Shared may lock the same range
        Exclusive = 1, ///< nobody else may
    };

    /// Opens or creates a file. The handle is the stream's own, closed by Close and by the destructor.
    ///
    /// \param fileName      kept as the stream's name
    /// \param desiredAccess GENERIC_READ or FILE_READ_DATA give CanRead, GENERIC_WRITE or FILE_WRITE_DATA give
    ///                      CanWrite; GENERIC_ALL gives neither of them
    /// \param shareMode,securityAttributes,creationDisposition  as of CreateFileW
    /// \param flagsAndAttributes with FILE_FLAG_OVERLAPPED the stream is asynchronous
    ///
    /// Throws CArgumentNullException or CArgumentException (empty, or with a
    /// character of the value 0) for "fileName", CWin32Exception "Could not create a
    /// file stream on '...'" when the system refuses.
    ///@{
    CFileStream(const wchar_t* fileName, unsigned long desiredAccess, unsigned long shareMode,
                _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                unsigned long flagsAndAttributes);
    CFileStream(const std::wstring& fileName, unsigned long desiredAccess, unsigned long shareMode,
                _SECURITY_ATTRIBUTES* securityAttributes, unsigned long creationDisposition,
                unsigned long flagsAndAttributes);
    ///@}

    /// The source is left closed. An outstanding operation moves along; its result stays valid. Assignment first closes
    /// the target.
    ///@{
    CFileStream(CFileStream&& other) noexcept;
    CFileStream& operator=(CFileStream&& other) noexcept;
    ///@}

    /// Closes the stream, and waits as Close does.
    ~CFileStream() override;

    /// Starts to read at the current position, which moves when the operation completes. The buffer stays untouched by
    /// the caller until EndRead; null throws CArgumentNullException for "buffer". While an operation is outstanding it
    /// throws CInvalidOperationException.
    ///
    /// \param buffer   borrowed until the operation is over
    /// \param count    in bytes; more than 4294967295 are cut to that
    /// \param callback told on a pool thread; null to wait in EndRead or on the result's handle
    /// \param state    returned by the result's GetAsyncState
    /// \return the result, which the stream owns until EndRead
    ///
    /// Reading at the end of the file fails with error 38 (ERROR_HANDLE_EOF), here or in EndRead. After a failure
    /// the stream is idle.
    const IAsyncResult* BeginRead(unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                  void* state) override;

    /// Starts to write at the current position; as BeginRead. More than 4294967295 bytes throw
    /// CArgumentOutOfRangeException for "count"; a file system that takes only a part of them completes the
    /// operation with ERROR_DISK_FULL.
    const IAsyncResult* BeginWrite(const unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                   void* state) override;

    /// Closes the file. An outstanding operation is cancelled and waited for, unless this is called from its callback.
    void Close() override;

    /// Waits for the operation, ends its life and returns the bytes read, or throws what the operation failed
    /// with; the stream is idle afterwards in either case.
    ///
    /// For an operation with a callback that has not completed yet it throws CInvalidOperationException: the
    /// operation is then abandoned, its callback is not invoked any more, and its buffer must stay valid until
    /// the stream is closed.
    ///
    /// Throws CArgumentNullException for null and CArgumentException for a result that is not that of the outstanding
    /// BeginRead, both for "asyncResult"; the operation then goes on.
    std::size_t EndRead(const IAsyncResult* asyncResult) override;

    /// The same for a BeginWrite, which has then written everything.
    void EndWrite(const IAsyncResult* asyncResult) override;

    /// Writes the system's buffers to the disk. Needs write access.
    void Flush() override;

    /// CanSeek always, CanRead and CanWrite by the access that the file was opened with.
    StreamCapabilities GetCapabilities() const override;

    /// The length of the file as the system has it now, whoever writes it.
    std::int64_t GetLength() const override;

    /// The path that the stream was opened with; also after Close, but empty after a move. Valid until the stream ends,
    /// moves or is assigned to.
    const wchar_t* GetName() const override;
    std::int64_t GetPosition() const override;

    /// Reads at the position, at most 1 GiB with one call; 0 at the end of the file. A null buffer throws
    /// CArgumentNullException for "buffer".
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// A synchronous file may be positioned beyond its end; an asynchronous one only with write access, otherwise
    /// its position is cut back to the length. Before the beginning a synchronous file throws CWin32Exception, an
    /// asynchronous one CArgumentException for "offset". While an operation is outstanding CInvalidOperationException.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Writes all bytes; a full disk throws CWin32Exception with ERROR_DISK_FULL, the position behind what was written.
    /// A null buffer throws CArgumentNullException for "buffer", also for a count of 0.
    void Write(const unsigned char* buffer, std::size_t count) override;

    /// Cuts or extends the file to `length` bytes. The position stays where it was, beyond the end if need be.
    /// A negative length throws CArgumentException for "length".
    void SetLength(std::int64_t length);

    /// Locks a range of bytes for this handle and waits without limit until it is free. Locking a range that
    /// this stream has locked already waits for ever. Synchronous files only. A negative number throws
    /// CArgumentException for "position" or "length".
    void Lock(std::int64_t position, std::int64_t length, LockType type);

    /// Releases a range, exactly as it was locked; closing the file releases all. Synchronous files only. Another range
    /// throws CWin32Exception, a negative number as of Lock.
    void Unlock(std::int64_t position, std::int64_t length);

private:
    class CFileIOCOmpletionCallback;
    class CFileStreamAsyncResult;
    class impl;

    impl& GetOpen(const wchar_t* method, const wchar_t* file, int line) const;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO
