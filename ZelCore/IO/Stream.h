#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <cstdint>

namespace ZelCore {

class CAsyncCallback;
class IAsyncResult;

/// Byte streams, files, directories and paths.
namespace IO {

/// The capabilities of a stream; a set of flags.
enum class StreamCapabilities : unsigned {
    None = 0,       ///< none: a closed stream
    CanRead = 1,    ///< Read and BeginRead
    CanWrite = 2,   ///< Write and BeginWrite
    CanSeek = 4,    ///< Seek, GetLength and GetPosition
    CanTimeout = 8, ///< the four timeout accessors
};

/// Bitwise operators.
///@{
constexpr StreamCapabilities operator|(StreamCapabilities a, StreamCapabilities b) noexcept {
    return static_cast<StreamCapabilities>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr StreamCapabilities operator&(StreamCapabilities a, StreamCapabilities b) noexcept {
    return static_cast<StreamCapabilities>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}
constexpr StreamCapabilities operator~(StreamCapabilities a) noexcept {
    return static_cast<StreamCapabilities>(~static_cast<unsigned>(a));
}
constexpr StreamCapabilities& operator|=(StreamCapabilities& a, StreamCapabilities b) noexcept {
    return a = a | b;
}
constexpr StreamCapabilities& operator&=(StreamCapabilities& a, StreamCapabilities b) noexcept {
    return a = a & b;
}
///@}

/// Whether at least one of the wanted flags is set in the capabilities.
constexpr bool Includes(StreamCapabilities capabilities, StreamCapabilities wanted) noexcept {
    return (capabilities & wanted) != StreamCapabilities::None;
}

/// The reference point of the offset in Seek.
enum class SeekOrigin : int {
    Begin = 0,   ///< the first byte
    Current = 1, ///< the current position
    End = 2,     ///< after the last byte
};

/// The interface of all byte streams: files, memory, and decorators that compress or encrypt another stream.
///
/// A stream reports failures by exceptions only. Functions that take a stream by reference borrow it for the call.
/// Decorators take a reference (the caller keeps the inner stream alive) or a shared pointer, and never close the inner
/// stream.
///
/// A stream class of your own implements the pure virtual operations. The other operations throw by default. There is
/// no fallback that runs a synchronous operation on another thread.
///
/// Threads: one thread uses a stream at a time. Streams cannot be copied. Counts, lengths and positions are in bytes.
class ZELCORE_API CStream {
public:
    /// Each derived class documents what its destructor does with a stream that is still open.
    virtual ~CStream();

    /// Starts to read up to `count` bytes; see CFileStream. The base class throws CNotSupportedException.
    virtual const IAsyncResult* BeginRead(unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                          void* state);

    /// Starts to write `count` bytes; see CFileStream. The base class throws CNotSupportedException.
    virtual const IAsyncResult* BeginWrite(const unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                           void* state);

    /// Ends the use of the stream and releases its resources. Idempotent.
    virtual void Close() = 0;

    /// Waits for a BeginRead and returns the number of bytes read. The base class throws CNotSupportedException.
    virtual std::size_t EndRead(const IAsyncResult* result);

    /// Waits for a BeginWrite. The base class throws CNotSupportedException.
    virtual void EndWrite(const IAsyncResult* result);

    /// Passes buffered data on to the destination. Classes that keep data until Close say so.
    virtual void Flush() = 0;

    /// Returns the current capabilities. A closed stream returns None; a closed CFileStream throws
    /// CInvalidOperationException.
    virtual StreamCapabilities GetCapabilities() const = 0;

    /// Returns the length in bytes. A stream that cannot seek may throw CNotSupportedException.
    virtual std::int64_t GetLength() const = 0;

    /// Returns the name of the stream, for example a path. The base class returns the empty string. Valid while the
    /// stream lives.
    virtual const wchar_t* GetName() const;

    /// Returns the position in bytes from the beginning. A stream that cannot seek may throw CNotSupportedException.
    virtual std::int64_t GetPosition() const = 0;

    /// Timeouts in milliseconds. The base class throws CInvalidOperationException from all four accessors.
    ///@{
    virtual int GetReadTimeout() const;
    virtual int GetWriteTimeout() const;
    ///@}

    /// Reads up to `count` bytes and returns their number. Returns 0 only at the end of the data or for a count of 0.
    virtual std::size_t Read(unsigned char* buffer, std::size_t count) = 0;

    /// Moves the position and returns the new one, in bytes from the beginning. How far beyond the end it may move
    /// depends on the class. After a failure the position is unchanged.
    virtual std::int64_t Seek(std::int64_t offset, SeekOrigin origin) = 0;

    /// Timeouts for operations that begin after the call. The base class throws CInvalidOperationException.
    ///@{
    virtual void SetReadTimeout(int milliseconds);
    virtual void SetWriteTimeout(int milliseconds);
    ///@}

    /// Writes all `count` bytes or throws. After an exception some of them may have been written.
    virtual void Write(const unsigned char* buffer, std::size_t count) = 0;

    /// Reads until `count` bytes have been read or the stream ends, and returns the number of bytes. A null buffer
    /// throws CArgumentNullException for "buffer". If a Read throws, the buffer holds the bytes read before; their
    /// number is not reported.
    std::size_t GreedyRead(unsigned char* buffer, std::size_t count);

protected:
    CStream() = default;
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;
};

} // namespace IO
} // namespace ZelCore
