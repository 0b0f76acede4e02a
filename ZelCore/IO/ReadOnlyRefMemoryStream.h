#pragma once

#include "ZelCore/IO/MemoryStream.h"

namespace ZelCore::IO {

/// A CMemoryStream over a buffer of the caller. The caller keeps the buffer alive and unchanged while the stream is in
/// use.
class ZELCORE_API CReadOnlyRefMemoryStream : public CMemoryStream {
public:
    /// \param buffer     borrowed; may be null only for a size of 0, otherwise CArgumentException for "bufferSize"
    /// \param bufferSize in bytes; 0 makes an empty stream
    CReadOnlyRefMemoryStream(const unsigned char* buffer, std::size_t bufferSize);
    /// Take over the buffer and the position. The source is left closed.
    ///@{
    CReadOnlyRefMemoryStream(CReadOnlyRefMemoryStream&& other) noexcept;
    CReadOnlyRefMemoryStream& operator=(CReadOnlyRefMemoryStream&& other) noexcept;
    ///@}
    ~CReadOnlyRefMemoryStream() override;

    /// Returns the size of the buffer, also after Close.
    std::int64_t GetLength() const override;

protected:
    /// Returns the buffer given to the constructor.
    const unsigned char* GetData() const override;

private:
    const unsigned char* m_buffer;
    std::size_t m_bufferSize;
};

} // namespace ZelCore::IO
