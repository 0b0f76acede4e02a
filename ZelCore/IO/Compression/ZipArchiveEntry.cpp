#include "ZelCore/IO/Compression/ZipArchiveEntry.h"

#include <utility>

namespace ZelCore::IO::Compression {

CZipArchiveEntry::CZipArchiveEntry(std::unique_ptr<CStream> stream, std::uint32_t compressedSize,
                                   std::uint32_t uncompressedSize) noexcept
    : m_stream(std::move(stream)), m_compressedSize(compressedSize), m_uncompressedSize(uncompressedSize) {}

CZipArchiveEntry::CZipArchiveEntry(CZipArchiveEntry&&) noexcept = default;

CZipArchiveEntry& CZipArchiveEntry::operator=(CZipArchiveEntry&&) noexcept = default;

CZipArchiveEntry::~CZipArchiveEntry() = default;

CStream& CZipArchiveEntry::GetStream() const noexcept {
    return *m_stream;
}

std::uint32_t CZipArchiveEntry::GetCompressedSize() const noexcept {
    return m_compressedSize;
}

std::uint32_t CZipArchiveEntry::GetUncompressedSize() const noexcept {
    return m_uncompressedSize;
}

} // namespace ZelCore::IO::Compression
