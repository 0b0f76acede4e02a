#pragma once

#include "ZelCore/IO/MemoryStream.h"

namespace ZelCore::IO {

/// A CMemoryStream over a buffer of the caller, who keeps it alive and unchanged as long as the stream lives.
class ZELCORE_API CReadOnlyRefMemoryStream : public CMemoryStream {
public:
    /// \param buffer     borrowed; null only for a size of 0, otherwise CArgumentException for "bufferSize"
    /// \param bufferSize in bytes; 0 makes an empty stream
    CReadOnlyRefMemoryStream(const unsigned char* buffer, std::size_t bufferSize);
    /// Take over buffer and position; the source is left closed.
    ///@{
    CReadOnlyRefMemoryStream(CReadOnlyRefMemoryStream&& other) noexcept;
    CReadOnlyRefMemoryStream& operator=(CReadOnlyRefMemoryStream&& other) noexcept;
    ///@}
    ~CReadOnlyRefMemoryStream() override;

    /// The size of the buffer, also after Close.
    std::int64_t GetLength() const override;

protected:
    /// The buffer of the constructor.
    const unsigned char* GetData() const override;

private:
    const unsigned char* m_buffer;
    std::size_t m_bufferSize;
};

} // namespace ZelCore::IO
