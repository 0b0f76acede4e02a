#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>

namespace ZelCore::IO::Compression {

/// One entry of a CZipArchive, open for reading. It borrows from the archive and must not outlive it.
///
/// Entries of one archive share its file position: read one entry to its end before you open the next, and make
/// no other call to the archive in between.
class ZELCORE_API CZipArchiveEntry {
public:
    CZipArchiveEntry(CZipArchiveEntry&& other) noexcept;
    CZipArchiveEntry& operator=(CZipArchiveEntry&& other) noexcept;
    ~CZipArchiveEntry();

    /// The uncompressed data, from its beginning. The checksum is not verified. Lives as long as the entry.
    CStream& GetStream() const noexcept;

    /// Sizes in bytes as the archive's directory tells them.
    std::uint32_t GetCompressedSize() const noexcept;
    std::uint32_t GetUncompressedSize() const noexcept;

private:
    friend class CZipArchive;

    CZipArchiveEntry(std::unique_ptr<CStream> stream, std::uint32_t compressedSize,
                     std::uint32_t uncompressedSize) noexcept;

    std::unique_ptr<CStream> m_stream;
    std::uint32_t m_compressedSize;
    std::uint32_t m_uncompressedSize;
};

} // namespace ZelCore::IO::Compression
