#pragma once

#include "ZelCore/IO/Stream.h"

#include <memory>

namespace ZelCore::IO::Compression {

/// One entry of a CZipArchive, open for reading. It references the archive and must not outlive it.
///
/// All entries of one archive share its file position. Read an entry to its end before you open the next one, and make
/// no other call to the archive in between.
class ZELCORE_API CZipArchiveEntry {
public:
    /// The source loses its stream; afterwards it may only be destroyed or assigned to.
    ///@{
    CZipArchiveEntry(CZipArchiveEntry&& other) noexcept;
    CZipArchiveEntry& operator=(CZipArchiveEntry&& other) noexcept;
    ///@}

    /// Destroys the stream.
    ~CZipArchiveEntry();

    /// Returns the uncompressed data, from its beginning, for sequential reading. Other operations may throw
    /// CNotSupportedException whatever the stream's capabilities are. The CRC-32 is not verified. The stream lives as
    /// long as the entry; every call returns the same one.
    CStream& GetStream() const noexcept;

    /// Sizes in bytes as recorded in the central directory. They are not compared with the data.
    ///@{
    std::uint32_t GetCompressedSize() const noexcept;
    std::uint32_t GetUncompressedSize() const noexcept;
    ///@}

private:
    friend class CZipArchive;

    CZipArchiveEntry(std::unique_ptr<CStream> stream, std::uint32_t compressedSize,
                     std::uint32_t uncompressedSize) noexcept;

    std::unique_ptr<CStream> m_stream;
    std::uint32_t m_compressedSize;
    std::uint32_t m_uncompressedSize;
};

} // namespace ZelCore::IO::Compression
