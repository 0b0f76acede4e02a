#pragma once

#include "ZelCore/IO/Stream.h"
#include "ZelCore/Security/Cryptography/ICryptoTransform.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Security::Cryptography {

/// The direction of a CCryptoStream.
enum class CryptoStreamMode : std::uint32_t {
    Read = 0,  ///< reads from the other stream and returns the transformed data
    Write = 1, ///< transforms the written data and writes it to the other stream
};

/// Encrypts or decrypts the data written to another stream, or read from it.
///
///     CFileStream file(L"secret", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
///     CAes aes;
///     const auto encryptor = aes.CreateEncryptor();
///     CCryptoStream stream(file, *encryptor, CryptoStreamMode::Write);
///     const unsigned char text[] = "attack at dawn";
///     stream.Write(text, sizeof text);
///     stream.Close();                      // writes the last block and reports what fails
///
/// Always close a writing stream explicitly. The destructor closes it too, but an exception that Close throws there
/// ends the process. After an operation failed in the transform or the other stream, the destructor writes nothing
/// more.
///
/// An exception in the caller's own code between two writes is not such a failure: during stack unwinding the
/// destructor completes the message as if it were meant to end there, and the cipher text does not show that the
/// message was truncated. Write the length or an end mark into the message, or write to a file of another name and
/// rename it after Close.
///
/// Exceptions of the transform and the other stream pass through. A wrong key or damaged data is usually detected only
/// in the last block, by CWin32Exception with NTE_BAD_DATA, and sometimes not at all. For truncated cipher text the
/// transform throws CArgumentException for "inputCount" if the last block is incomplete, and CWin32Exception if the
/// padding is invalid; if the padding is valid by chance, nothing is thrown. Respond to the sender of cipher text in
/// the same way and after the same time in all of these cases: otherwise he can decrypt messages without the key.
/// Verify a signature first.
///
/// Uses at most 3 MiB of buffers, including those of the library's ciphers, independent of the size of the data. Data
/// that the other stream failed to write is kept in addition. All buffers are wiped. Not thread-safe: one thread at a
/// time.
class ZELCORE_API CCryptoStream : public IO::CStream {
public:
    /// Borrows both, which must outlive this stream. Neither constructor takes over closing or flushing the other
    /// stream.
    ///
    /// \param stream    must have CanRead to read and CanWrite to write, otherwise CArgumentException for "stream"
    /// \param transform must be at the beginning of a message; a block size of 2 GiB throws
    ///                  CArgumentOutOfRangeException
    /// \param mode      the direction; any other value throws CArgumentOutOfRangeException for "mode"
    CCryptoStream(IO::CStream& stream, ICryptoTransform& transform, CryptoStreamMode mode);

    /// Shares ownership of both. A null pointer throws CArgumentNullException for "stream" or "transform".
    CCryptoStream(const std::shared_ptr<IO::CStream>& stream, const std::shared_ptr<ICryptoTransform>& transform,
                  CryptoStreamMode mode);

    /// The source is left closed. Assignment first closes the target, as the destructor does.
    ///@{
    CCryptoStream(CCryptoStream&& other) noexcept;
    CCryptoStream& operator=(CCryptoStream&& other) noexcept;
    ///@}

    /// Closes the stream, but writes nothing after a failure. An exception thrown by Close ends the process.
    ~CCryptoStream() noexcept override;

    /// When writing, writes the last block, unless the transform has failed before. The stream is closed afterwards
    /// even if this throws.
    void Close() override;

    /// Does nothing: an incomplete block is kept until more data is written or until Close. Throws
    /// CInvalidOperationException on a closed stream.
    void Flush() override;

    /// Returns CanRead or CanWrite depending on the mode, or None once the stream is closed.
    IO::StreamCapabilities GetCapabilities() const override;

    /// Throws CNotSupportedException: the length is not known before all data has been processed.
    std::int64_t GetLength() const override;

    /// Throws CNotSupportedException.
    std::int64_t GetPosition() const override;

    /// Reads until the buffer is full or the data ends; returns 0 after the end. If the other stream throws, the bytes
    /// that are already transformed are kept, and the next Read continues with them. If the transform throws, every
    /// further Read that needs more than these bytes throws the same exception.
    ///
    /// Throws CInvalidOperationException on a closed or a writing stream, and CArgumentNullException for "buffer"
    /// unless the count is 0.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// Throws CNotSupportedException.
    std::int64_t Seek(std::int64_t offset, IO::SeekOrigin origin) override;

    /// Transforms whole blocks and writes them to the other stream. An incomplete block is kept for the next call.
    ///
    /// If the other stream throws, all bytes have been accepted nevertheless: those that it did not take are kept and
    /// are written first by the next Write of at least one byte, or by Close. If the transform throws, every further
    /// Write throws the same exception. Throws CInvalidOperationException on a closed or a reading stream, and
    /// CArgumentNullException for "buffer" unless the count is 0.
    void Write(const unsigned char* buffer, std::size_t count) override;

private:
    class impl;
    bool IsOpen() const noexcept;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Security::Cryptography
