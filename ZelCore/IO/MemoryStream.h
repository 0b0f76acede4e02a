#pragma once

#include "ZelCore/IO/Stream.h"

namespace ZelCore::IO {

/// A read-only, seekable stream over a block of memory that the derived class provides.
///
/// The stream is open until Close. On a closed stream Flush, GetPosition, Read and Seek throw
/// CInvalidOperationException "The handle is invalid", and GetCapabilities returns None.
///
/// Derived classes implement GetData and GetLength. Both are called again for each Read, so their results may change in
/// between.
class ZELCORE_API CMemoryStream : public CStream {
public:
    /// Does not release the memory; neither does Close. Pure virtual, so that the class is abstract.
    ~CMemoryStream() override = 0;

    /// Does not release the memory.
    void Close() override;
    /// Does nothing: there is no buffered data.
    void Flush() override;
    /// Returns CanRead and CanSeek, or None once the stream is closed.
    StreamCapabilities GetCapabilities() const override;
    std::int64_t GetPosition() const override;
    /// Copies the remaining data, at most `count` bytes, and advances the position; returns 0 at the end. A null buffer
    /// throws CArgumentNullException for "buffer", also for a count of 0.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// Accepts any position from 0 to the length. Any other position throws CArgumentException for "offset" and leaves
    /// the position unchanged. An unknown origin counts as Current.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Throws CNotSupportedException, also on a closed stream.
    void Write(const unsigned char* buffer, std::size_t count) override;

protected:
    /// Open, at position 0.
    CMemoryStream() noexcept;
    /// Take over the position. The source is left closed.
    ///@{
    CMemoryStream(CMemoryStream&& other) noexcept;
    CMemoryStream& operator=(CMemoryStream&& other) noexcept;
    ///@}

    /// Returns the first byte of the data, whose size GetLength returns. Not called for data of size 0.
    virtual const unsigned char* GetData() const = 0;

private:
    void ThrowIfClosed() const;

    StreamCapabilities m_capabilities;
    std::uint64_t m_position;
};

} // namespace ZelCore::IO
