#pragma once

#include "ZelCore/IO/MemoryStream.h"

namespace ZelCore::IO {

/// A CMemoryStream over a buffer of the caller, who keeps it alive and unchanged as long as the stream lives.
class ZELCORE_API CReadOnlyRefMemoryStream : public CMemoryStream {
public:
    /// \param bufferSize in bytes; a null buffer of size 0 is an empty stream
    /// A null buffer of another size throws CArgumentException for "bufferSize".
    CReadOnlyRefMemoryStream(const unsigned char* buffer, std::size_t bufferSize);
    ~CReadOnlyRefMemoryStream() override;

    /// The size of the buffer, also after Close.
    std::int64_t GetLength() const override;

protected:
    const unsigned char* GetData() const override;

private:
    const unsigned char* m_buffer;
    std::size_t m_bufferSize;
};

} // namespace ZelCore::IO
