#pragma once

#include "ZelCore/IO/Stream.h"
#include "ZelCore/Security/Cryptography/ICryptoTransform.h"

#include <cstdint>
#include <memory>

namespace ZelCore::Security::Cryptography {

/// The direction of a CCryptoStream.
enum class CryptoStreamMode : std::uint32_t {
    Read = 0,  ///< what is read was read from the other stream and transformed
    Write = 1, ///< what is written is transformed and written to the other stream
};

/// Encrypts or decrypts what is written to another stream, or read from it.
///
///     CFileStream file(L"secret", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
///     CAes aes;
///     const auto encryptor = aes.CreateEncryptor();
///     CCryptoStream stream(file, *encryptor, CryptoStreamMode::Write);
///     const unsigned char text[] = "attack at dawn";
///     stream.Write(text, sizeof text);
///     stream.Close();                      // writes the last block and reports what fails
///
/// Always close a writing stream: the destructor closes it too, but an exception has no way out of there and ends the
/// process. After an operation failed in the transform or the other stream, the destructor writes nothing more.
///
/// An exception of the caller's own between two writes is no such failure: the destructor, which runs as the exception
/// passes, then completes the message as if it were meant to end there, and nothing in the cipher text shows that it
/// was truncated. Write the length or an end mark into the message, or write to a file of another name and rename that
/// after Close.
///
/// What the transform and the other stream throw passes through. A wrong key or damaged data mostly shows only in the
/// last block, by CWin32Exception with NTE_BAD_DATA, and sometimes not at all. Cipher text that was truncated throws
/// CArgumentException for "inputCount" from the transform where the last block is not whole, CWin32Exception where
/// the rest does not look padded, and nothing where it happens to. Answer a sender of cipher text in the same way and
/// time for all of them: from the difference he can decrypt messages without the key. Verify a signature first.
///
/// Holds at most 3 MiB of buffers, those of the library's ciphers included, whatever the size of the data, except for
/// what the other stream failed to take, and wipes them. One thread at a time.
class ZELCORE_API CCryptoStream : public IO::CStream {
public:
    /// Borrows both, which must outlive this stream. Neither constructor ever closes or flushes the other stream.
    ///
    /// \param stream    needs CanRead to read and CanWrite to write, otherwise CArgumentException for "stream"
    /// \param transform at the beginning of its message; blocks of 2 GiB throw CArgumentOutOfRangeException
    /// \param mode      the direction; any other value throws CArgumentOutOfRangeException for "mode"
    CCryptoStream(IO::CStream& stream, ICryptoTransform& transform, CryptoStreamMode mode);

    /// Shares ownership of both. A null pointer throws CArgumentNullException for "stream" or "transform".
    CCryptoStream(const std::shared_ptr<IO::CStream>& stream, const std::shared_ptr<ICryptoTransform>& transform,
                  CryptoStreamMode mode);

    /// The source is left closed. Assignment first closes the target, as its destructor would.
    ///@{
    CCryptoStream(CCryptoStream&& other) noexcept;
    CCryptoStream& operator=(CCryptoStream&& other) noexcept;
    ///@}

    /// Closes the stream, but writes nothing after a failure. What Close throws ends the process.
    ~CCryptoStream() noexcept override;

    /// Writing, writes the last block, unless the transform has failed before. The stream is closed afterwards even if
    /// that throws.
    void Close() override;

    /// Does nothing: incomplete blocks wait for more data until Close. On a closed stream it throws
    /// CInvalidOperationException.
    void Flush() override;

    /// CanRead or CanWrite, by the mode; none once closed.
    IO::StreamCapabilities GetCapabilities() const override;

    /// Throws CNotSupportedException: there is no telling without going through the data.
    std::int64_t GetLength() const override;

    /// Throws CNotSupportedException.
    std::int64_t GetPosition() const override;

    /// Fills the buffer unless the data ends before; 0 after the end. When the other stream throws, what was ready is
    /// kept for the next Read, which goes on there; when the transform throws, so does every further Read of
    /// more than was ready before.
    ///
    /// Throws CInvalidOperationException on a closed or a writing stream, CArgumentNullException for "buffer" unless
    /// the count is 0.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// Throws CNotSupportedException.
    std::int64_t Seek(std::int64_t offset, IO::SeekOrigin origin) override;

    /// Transforms whole blocks and writes them on; the rest of less than a block waits for more.
    ///
    /// When the other stream throws, all bytes have been taken all the same: those that it did not take are kept and
    /// written first by the next Write of anything, or by Close. When the transform throws, so does every further
    /// Write. Throws CInvalidOperationException on a closed or a reading stream, CArgumentNullException for "buffer"
    /// unless the count is 0.
    void Write(const unsigned char* buffer, std::size_t count) override;

private:
    class impl;
    bool IsOpen() const noexcept;
    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::Security::Cryptography
