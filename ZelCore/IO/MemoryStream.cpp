#include "ZelCore/IO/MemoryStream.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZelCore::IO {

CMemoryStream::CMemoryStream() noexcept
    : m_capabilities(StreamCapabilities::CanRead | StreamCapabilities::CanSeek), m_position(0) {}

CMemoryStream::CMemoryStream(CMemoryStream&& other) noexcept
    : m_capabilities(std::exchange(other.m_capabilities, StreamCapabilities::None)), m_position(other.m_position) {}

CMemoryStream& CMemoryStream::operator=(CMemoryStream&& other) noexcept {
    if (this != &other) {
        m_capabilities = std::exchange(other.m_capabilities, StreamCapabilities::None);
        m_position = other.m_position;
    }
    return *this;
}

CMemoryStream::~CMemoryStream() = default;

void CMemoryStream::Close() {
    m_capabilities = StreamCapabilities::None;
}

void CMemoryStream::Flush() {
    ThrowIfClosed();
}

StreamCapabilities CMemoryStream::GetCapabilities() const {
    return m_capabilities;
}

std::int64_t CMemoryStream::GetPosition() const {
    ThrowIfClosed();
    return static_cast<std::int64_t>(m_position);
}

std::size_t CMemoryStream::Read(unsigned char* buffer, std::size_t count) {
    CheckNotNull(buffer, L"buffer", ZEL_SITE(L"ZelCore::IO::CMemoryStream::Read"));
    ThrowIfClosed();
    const auto length = static_cast<std::uint64_t>(GetLength());
    if (m_position >= length) { // the data of a derived class may have become shorter
        return 0;
    }
    const std::size_t read = std::min<std::size_t>(count, length - m_position);
    if (read != 0) {
        std::memcpy(buffer, GetData() + m_position, read);
    }
    m_position += read;
    return read;
}

std::int64_t CMemoryStream::Seek(std::int64_t offset, SeekOrigin origin) {
    ThrowIfClosed();
    const std::int64_t length = GetLength();
    const std::int64_t base = origin == SeekOrigin::Begin ? 0
                              : origin == SeekOrigin::End ? length
                                                          : static_cast<std::int64_t>(m_position);
    std::int64_t target = 0;
    const bool overflow = __builtin_add_overflow(base, offset, &target);
    if (overflow ? offset < 0 : target < 0) {
        throw CArgumentException(L"offset", L"Attempt to seek before the beginning of the stream",
                                 ZEL_SITE(L"ZelCore::IO::CMemoryStream::Seek"));
    }
    if (overflow || target > length) {
        throw CArgumentException(L"offset", L"Attempt to seek after the end of the stream",
                                 ZEL_SITE(L"ZelCore::IO::CMemoryStream::Seek"));
    }
    m_position = static_cast<std::uint64_t>(target);
    return target;
}

void CMemoryStream::Write(const unsigned char*, std::size_t) {
    throw CNotSupportedException(nullptr, ZEL_SITE(L"ZelCore::IO::CMemoryStream::Write"));
}

void CMemoryStream::ThrowIfClosed() const {
    if (m_capabilities == StreamCapabilities::None) {
        throw CInvalidOperationException(GetMessageText(Message::InvalidHandle),
                                         ZEL_SITE(L"ZelCore::IO::CMemoryStream::ThrowIfClosed"));
    }
}

} // namespace ZelCore::IO
