#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>

/// Deflate streams and ZIP archives.
namespace ZelCore::IO::Compression {

/// The direction of a CDeflateStream.
enum class CompressionMode : int {
    Compress = 0,   ///< data written to the stream is compressed
    Decompress = 1, ///< data read from the stream is decompressed
};

/// Compresses the data written to it into another stream, or decompresses the data read from it out of another stream.
/// The format is raw deflate data (RFC 1951) or one gzip member (RFC 1952), at zlib's default level.
///
///     CFileStream file(L"notes.txt.gz", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
///     CDeflateStream gzip(file, CompressionMode::Compress, true);
///     const unsigned char text[] = "the same again, the same again";
///     gzip.Write(text, sizeof text);
///     gzip.Close();                        // writes the end of the data and reports what fails
///
/// Always close a compressing stream explicitly. The destructor closes it too, but an exception that Close throws there
/// ends the process. After a failed Write, every further Write of at least one byte throws the same exception, and
/// Close and the destructor only release resources.
///
/// A failure of zlib throws CIOException with zlib's code (-3 for damaged data, -5 for data that ends early).
/// Exceptions of the other stream pass through.
///
/// Uses one buffer of 16 KiB besides zlib's state, independent of the size of the data. Not thread-safe: one thread at
/// a time.
class ZELCORE_API CDeflateStream : public CStream {
public:
    /// Borrows the other stream, which must outlive this object. Neither constructor takes over closing or flushing it.
    ///
    /// \param stream must have CanWrite to compress and CanRead to decompress, otherwise CArgumentException for "mode"
    /// \param mode   the direction; any other value throws CArgumentOutOfRangeException for "mode"
    /// \param gzip   true for a gzip member, false for raw deflate data
    CDeflateStream(CStream& stream, CompressionMode mode, bool gzip);

    /// Shares ownership of the other stream. A null pointer throws CArgumentNullException for "stream".
    CDeflateStream(const std::shared_ptr<CStream>& stream, CompressionMode mode, bool gzip);

    /// The source is left closed. Assignment first closes the target, as the destructor does.
    ///@{
    CDeflateStream(CDeflateStream&& other) noexcept;
    CDeflateStream& operator=(CDeflateStream&& other) noexcept;
    ///@}

    /// Closes the stream. An exception thrown by Close ends the process.
    ~CDeflateStream() noexcept override;

    /// When compressing, writes the rest of the data. The stream is closed afterwards even if this throws.
    void Close() override;

    /// Does nothing: zlib keeps pending data until Close. Throws CInvalidOperationException on a closed stream.
    void Flush() override;

    /// Returns CanRead or CanWrite depending on the mode, or None once the stream is closed.
    StreamCapabilities GetCapabilities() const override;

    /// Throws CNotSupportedException: the length is not known before all data has been processed.
    std::int64_t GetLength() const override;

    /// Always returns the empty string; the other stream has the name.
    const wchar_t* GetName() const override;

    /// Throws CNotSupportedException.
    std::int64_t GetPosition() const override;

    /// Reads until the buffer is full or the data ends; returns 0 after the end. Bytes that follow the end of the
    /// compressed data are not returned, but may have been consumed from the other stream.
    ///
    /// Throws CInvalidOperationException on a closed or a compressing stream, and CArgumentNullException for "buffer"
    /// unless the count is 0. After an exception the buffer may hold bytes that were decompressed before the failure;
    /// their number is not reported.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// Throws CNotSupportedException.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Compresses `count` bytes. Compressed data is passed to the other stream in blocks of at most 16 KiB.
    ///
    /// Throws CInvalidOperationException on a closed or a decompressing stream, and CArgumentNullException for "data"
    /// unless the count is 0.
    void Write(const unsigned char* data, std::size_t count) override;

private:
    class impl;

    bool IsOpen() const noexcept;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO::Compression
