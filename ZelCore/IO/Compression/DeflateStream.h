#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>

/// Deflate streams and ZIP archives.
namespace ZelCore::IO::Compression {

/// The direction of a CDeflateStream.
enum class CompressionMode : int {
    Compress = 0,   ///< what is written goes out compressed
    Decompress = 1, ///< what is read comes in compressed
};

/// Compresses what is written to it into another stream, or decompresses what is read from it out of another
/// stream: raw deflate data (RFC 1951) or one gzip member (RFC 1952), at zlib's default level.
///
///     CFileStream file(L"notes.txt.gz", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
///     CDeflateStream gzip(file, CompressionMode::Compress, true);
///     const unsigned char text[] = "the same again, the same again";
///     gzip.Write(text, sizeof text);
///     gzip.Close();                        // writes the end of the data and reports what fails
///
/// Always close a compressing stream: the destructor closes it too, but an exception has no way out of there and
/// ends the process. After a failed Write, further ones of any data throw the same, and Close and the destructor
/// only release the stream.
///
/// Failures of zlib throw CIOException with zlib's code (-3 for damaged data, -5 for data that ends early); what
/// the other stream throws passes through.
///
/// Owns one buffer of 16 KiB beside zlib's state, whatever the size of the data. One thread at a time.
class ZELCORE_API CDeflateStream : public CStream {
public:
    /// Borrows the other stream, which must outlive this one. Neither constructor ever closes or flushes it.
    ///
    /// \param stream needs CanWrite to compress and CanRead to decompress, otherwise CArgumentException for "mode"
    /// \param mode   the direction; any other value throws CArgumentOutOfRangeException for "mode"
    /// \param gzip   true for a gzip member, false for raw deflate data
    CDeflateStream(CStream& stream, CompressionMode mode, bool gzip);

    /// Shares ownership of the other stream. A null pointer throws CArgumentNullException for "stream".
    CDeflateStream(const std::shared_ptr<CStream>& stream, CompressionMode mode, bool gzip);

    /// The source is left closed. Assignment first closes the target, as its destructor would.
    ///@{
    CDeflateStream(CDeflateStream&& other) noexcept;
    CDeflateStream& operator=(CDeflateStream&& other) noexcept;
    ///@}

    /// Closes the stream. What Close throws ends the process.
    ~CDeflateStream() noexcept override;

    /// Compressing, writes the rest of the data. The stream is closed afterwards even if that throws.
    void Close() override;

    /// Does nothing: compressed data waits in zlib for more until Close. On a closed stream it throws
    /// CInvalidOperationException.
    void Flush() override;

    /// CanRead or CanWrite, by the mode; none once closed.
    StreamCapabilities GetCapabilities() const override;

    /// Throws CNotSupportedException: there is no telling without going through the data.
    std::int64_t GetLength() const override;

    /// Always empty; the other stream has the name.
    const wchar_t* GetName() const override;

    /// Throws CNotSupportedException.
    std::int64_t GetPosition() const override;

    /// Fills the buffer unless the data ends before; 0 after the end. What follows the end of the compressed data
    /// in the other stream is not returned, and may have been read from there.
    ///
    /// Throws CInvalidOperationException on a closed or a compressing stream, CArgumentNullException for "buffer"
    /// unless the count is 0. If it throws on the way, the bytes before are in the buffer, uncounted.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// Throws CNotSupportedException.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Compresses `count` bytes; pieces of at most 16 KiB reach the other stream as they become ready.
    ///
    /// Throws CInvalidOperationException on a closed or a decompressing stream, CArgumentNullException for "data"
    /// unless the count is 0.
    void Write(const unsigned char* data, std::size_t count) override;

private:
    class impl;

    bool IsOpen() const noexcept;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO::Compression
