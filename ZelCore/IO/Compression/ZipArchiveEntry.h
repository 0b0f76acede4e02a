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
    /// The source has no stream any more: it may only be destroyed or assigned to.
    ///@{
    CZipArchiveEntry(CZipArchiveEntry&& other) noexcept;
    CZipArchiveEntry& operator=(CZipArchiveEntry&& other) noexcept;
    ///@}

    /// Destroys the stream.
    ~CZipArchiveEntry();

    /// The uncompressed data, from its beginning, to be read forwards: other operations may throw
    /// CNotSupportedException whatever the stream's capabilities say. The checksum is not verified. Lives as long as
    /// the entry; every call returns the same stream.
    CStream& GetStream() const noexcept;

    /// Sizes in bytes as the archive's directory tells them, which nobody has compared with the data.
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
