#pragma once

#include "ZelCore/IO/Stream.h"

namespace ZelCore::IO {

/// A read-only, seekable stream over a block of memory, which the derived class provides.
///
/// Open until Close. On a closed stream Flush, GetPosition, Read and Seek throw CInvalidOperationException
/// "The handle is invalid"; GetCapabilities returns none.
///
/// To write a class of your own, implement GetData and GetLength. They are asked anew for each Read: what they tell may
/// change in between.
class ZELCORE_API CMemoryStream : public CStream {
public:
    /// Leaves the memory alone, as Close does. Pure, so that only derived classes have objects.
    ~CMemoryStream() override = 0;

    /// Leaves the memory alone.
    void Close() override;
    /// There is nothing to hand on.
    void Flush() override;
    /// CanRead and CanSeek; none once closed.
    StreamCapabilities GetCapabilities() const override;
    std::int64_t GetPosition() const override;
    /// Copies what is left, at most `count` bytes, and moves on behind it; 0 at the end. A null buffer throws
    /// CArgumentNullException for "buffer", also for a count of 0.
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// The position may become anything from 0 to the length; beyond, CArgumentException for "offset" is thrown and the
    /// position stays where it was. An unknown origin counts as Current.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Throws CNotSupportedException, on a closed stream too.
    void Write(const unsigned char* buffer, std::size_t count) override;

protected:
    /// Open, at position 0.
    CMemoryStream() noexcept;
    /// Take over the position; the source is left closed.
    ///@{
    CMemoryStream(CMemoryStream&& other) noexcept;
    CMemoryStream& operator=(CMemoryStream&& other) noexcept;
    ///@}

    /// The first byte of the data, of which GetLength tells the size; not asked for data of size 0.
    virtual const unsigned char* GetData() const = 0;

private:
    void ThrowIfClosed() const;

    StreamCapabilities m_capabilities;
    std::uint64_t m_position;
};

} // namespace ZelCore::IO
