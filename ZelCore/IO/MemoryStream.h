#pragma once

#include "ZelCore/IO/Stream.h"

namespace ZelCore::IO {

/// A read-only, seekable stream over a block of memory, which the derived class provides.
///
/// Open until Close. On a closed stream Flush, GetPosition, Read and Seek throw CInvalidOperationException
/// "The handle is invalid"; GetCapabilities returns none.
class ZELCORE_API CMemoryStream : public CStream {
public:
    ~CMemoryStream() override = 0;

    /// Leaves the memory alone.
    void Close() override;
    void Flush() override;
    StreamCapabilities GetCapabilities() const override;
    std::int64_t GetPosition() const override;
    std::size_t Read(unsigned char* buffer, std::size_t count) override;

    /// The position may become anything from 0 to the length; beyond, it throws CArgumentException for "offset"
    /// and stays where it was. An unknown origin counts as Current.
    std::int64_t Seek(std::int64_t offset, SeekOrigin origin) override;

    /// Throws CNotSupportedException.
    void Write(const unsigned char* buffer, std::size_t count) override;

protected:
    CMemoryStream() noexcept;

    /// The first byte of the data, of which GetLength tells the size.
    virtual const unsigned char* GetData() const = 0;

private:
    void ThrowIfClosed() const;

    StreamCapabilities m_capabilities;
    std::uint64_t m_position;
};

} // namespace ZelCore::IO
