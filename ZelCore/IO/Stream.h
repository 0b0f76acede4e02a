#pragma once

#include "ZelCore/Export.h"

#include <cstddef>
#include <cstdint>

namespace ZelCore {

class CAsyncCallback;
class IAsyncResult;

/// Byte streams, files, directories and paths.
namespace IO {

/// What a stream can do: a set of flags.
enum class StreamCapabilities : unsigned {
    None = 0,       ///< nothing: a stream that is closed
    CanRead = 1,    ///< Read and BeginRead
    CanWrite = 2,   ///< Write and BeginWrite
    CanSeek = 4,    ///< Seek, GetLength and GetPosition
    CanTimeout = 8, ///< the four timeout accessors
};

/// Bit by bit, as with the numbers.
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

/// Whether one of the wanted flags is among the capabilities.
constexpr bool Includes(StreamCapabilities capabilities, StreamCapabilities wanted) noexcept {
    return (capabilities & wanted) != StreamCapabilities::None;
}

/// Where the offset of a Seek counts from.
enum class SeekOrigin : int {
    Begin = 0,   ///< the first byte
    Current = 1, ///< the position
    End = 2,     ///< behind the last byte
};

/// The contract of every byte stream: files, memory, and decorators that compress or encrypt another stream.
///
/// A stream reports failures by exceptions only. Functions take a stream by reference to borrow it for the
/// call; decorators take a reference (the caller keeps the inner stream alive) or a shared pointer, and never
/// close the inner stream.
///
/// To write a stream of your own, implement the pure operations; the others have a base behaviour that
/// refuses. There is no fallback that runs a synchronous operation on another thread.
///
/// Threads: one thread uses a stream at a time. Streams are not copied. Counts, lengths and positions are in bytes.
class ZELCORE_API CStream {
public:
    /// Each class tells what its destructor does with a stream that is still open.
    virtual ~CStream();

    /// Starts to read up to `count` bytes; see CFileStream. The base throws CNotSupportedException.
    virtual const IAsyncResult* BeginRead(unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                          void* state);

    /// Starts to write `count` bytes; see CFileStream. The base throws CNotSupportedException.
    virtual const IAsyncResult* BeginWrite(const unsigned char* buffer, std::size_t count, CAsyncCallback* callback,
                                           void* state);

    /// Ends the use of the stream and releases what it holds. Closing again does nothing.
    virtual void Close() = 0;

    /// Waits for a BeginRead and returns the number of bytes read. The base throws CNotSupportedException.
    virtual std::size_t EndRead(const IAsyncResult* result);

    /// Waits for a BeginWrite. The base throws CNotSupportedException.
    virtual void EndWrite(const IAsyncResult* result);

    /// Hands buffered data on to where the stream writes; classes that keep data for Close say so.
    virtual void Flush() = 0;

    /// What the stream can do as it is now. Of a closed stream: none, or CInvalidOperationException in CFileStream.
    virtual StreamCapabilities GetCapabilities() const = 0;

    /// The length in bytes. A stream that cannot seek may throw CNotSupportedException.
    virtual std::int64_t GetLength() const = 0;

    /// What the stream is about, a path say; the base has the empty string. Valid while the stream lives.
    virtual const wchar_t* GetName() const;

    /// The position in bytes from the beginning. A stream that cannot seek may throw CNotSupportedException.
    virtual std::int64_t GetPosition() const = 0;

    /// Timeouts in milliseconds. The base throws CInvalidOperationException from all four accessors.
    ///@{
    virtual int GetReadTimeout() const;
    virtual int GetWriteTimeout() const;
    ///@}

    /// Reads up to `count` bytes and returns how many; 0 only at the end of the data (or for a count of 0).
    virtual std::size_t Read(unsigned char* buffer, std::size_t count) = 0;

    /// Moves the position and returns the new one, in bytes from the beginning. How far beyond the end it may move
    /// differs from class to class; after a failure it is where it was.
    virtual std::int64_t Seek(std::int64_t offset, SeekOrigin origin) = 0;

    /// For the operations that begin from now on. The base throws CInvalidOperationException.
    ///@{
    virtual void SetReadTimeout(int milliseconds);
    virtual void SetWriteTimeout(int milliseconds);
    ///@}

    /// Writes all `count` bytes or throws; some of them may then have been written.
    virtual void Write(const unsigned char* buffer, std::size_t count) = 0;

    /// Reads until `count` bytes have arrived or the stream ends; returns how many arrived. A null buffer throws
    /// CArgumentNullException for "buffer". If a Read throws, the bytes read before it are in the buffer, uncounted.
    std::size_t GreedyRead(unsigned char* buffer, std::size_t count);

protected:
    CStream() = default;
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;
};

} // namespace IO
} // namespace ZelCore
