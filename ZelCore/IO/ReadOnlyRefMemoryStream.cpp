#include "ZelCore/IO/ReadOnlyRefMemoryStream.h"

#include "ZelCore/ArgumentException.h"

namespace ZelCore::IO {

CReadOnlyRefMemoryStream::CReadOnlyRefMemoryStream(const unsigned char* buffer, std::size_t bufferSize)
    : m_buffer(buffer), m_bufferSize(bufferSize) {
    if (buffer == nullptr && bufferSize != 0) {
        throw CArgumentException(L"bufferSize", L"bufferSize must be 0 when buffer is null",
                                 ZEL_SITE(L"ZelCore::IO::CReadOnlyRefMemoryStream::CReadOnlyRefMemoryStream"));
    }
}

CReadOnlyRefMemoryStream::CReadOnlyRefMemoryStream(CReadOnlyRefMemoryStream&&) noexcept = default;

CReadOnlyRefMemoryStream& CReadOnlyRefMemoryStream::operator=(CReadOnlyRefMemoryStream&&) noexcept = default;

CReadOnlyRefMemoryStream::~CReadOnlyRefMemoryStream() = default;

std::int64_t CReadOnlyRefMemoryStream::GetLength() const {
    return static_cast<std::int64_t>(m_bufferSize);
}

const unsigned char* CReadOnlyRefMemoryStream::GetData() const {
    return m_buffer;
}

} // namespace ZelCore::IO
