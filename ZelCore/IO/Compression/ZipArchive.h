#pragma once

#include "ZelCore/IO/Compression/ZipArchiveEntry.h"
#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>
#include <vector>

namespace ZelCore::IO::Compression {

/// How a CZipArchive opens its file. Any other value is treated as Update.
enum class ZipArchiveMode : int {
    Read = 0,   ///< an existing file; others may open it for reading too
    Create = 1, ///< a new file; an existing one is truncated at once
    Update = 2, ///< an existing file that is rewritten
};

/// A ZIP archive in a file. Entries are stored or deflated. Limits: sizes, offsets and the archive below 4 GiB, at most
/// 65,535 entries, a single disk, no encryption.
///
///     const unsigned char text[] = "nothing happened";
///     {
///         CZipArchive archive(L"logs.zip", ZipArchiveMode::Create);
///         archive.AddEntry(L"logs/today.txt", text, sizeof text, true); // or a stream
///     }                                    // the destructor writes the archive, and throws what fails
///
/// Changes are staged in a folder inside the temporary folder. The destructor rewrites the whole file from there. Flush
/// does so earlier, and the destructor then does it again. Changes cannot be rolled back: if an exception leaves the
/// block, the archive is written with the changes made so far.
///
/// In Update mode the disk space for the new archive is allocated before anything is overwritten. A full disk, like
/// every other failure before the rewrite, leaves the file unchanged. A failure during the rewrite leaves the file
/// truncated; the end of the process during the rewrite may do so too. To be safe against this, write to another name,
/// or update a copy, and rename it.
///
/// The destructor throws the exception with which the rewrite failed, so the object has to be destroyed inside the try
/// block. During stack unwinding it does not throw; it traces the failure as an event of type Error of the trace source
/// "ZelCore.IO.Compression", which names the archive. In every case it closes the file and removes the staging folder.
/// Owners with a noexcept destructor, such as std::unique_ptr, std::optional and std::vector, end the process by
/// std::terminate if the rewrite fails: call Flush before they are destroyed.
///
/// Names are wide strings. They are written as UTF-8, and read as UTF-8 whatever encoding the archive declares. Lookup
/// ignores the case of the letters A to Z. Names are returned as they are in the archive: validate them before using
/// them as paths. A null name throws CArgumentNullException, an empty one CArgumentException for "entryName".
///
/// In Read mode every change, including Flush, throws CInvalidOperationException. So does every call on a moved-from
/// archive. Not thread-safe: one thread at a time.
class ZELCORE_API CZipArchive {
public:
    /// Opens an archive. The file stays open until the destructor. Others may read it meanwhile, except in Create mode;
    /// in Update mode only if they share it for writing, which this class does not do.
    ///
    /// Throws CInvalidOperationException "Invalid ZIP archive" for a file that is not a ZIP archive. In Update mode it
    /// also throws this if the rewrite would lose entries: if two entries share a name (Read finds the first), if the
    /// central directory goes on after the last entry that is counted, or if it overlaps the end-of-central-directory
    /// record. Exceptions from opening the file and from creating the staging folder pass through.
    CZipArchive(const wchar_t* path, ZipArchiveMode mode);

    /// The source is left closed. Assignment first ends the target as its destructor does, and may throw the same
    /// exceptions; even then the target has taken over the source.
    ///@{
    CZipArchive(CZipArchive&& other) noexcept;
    CZipArchive& operator=(CZipArchive&& other); // NOLINT(performance-noexcept-move-constructor): writes the target
    ///@}

    /// Writes the archive unless it was opened for Read, also after a Flush. See above for the exceptions that it may
    /// throw.
    ~CZipArchive() noexcept(false);

    /// Whether the first four bytes of a file are those of a ZIP archive; false for a missing file. Null throws
    /// CArgumentNullException for "filePath"; a file that cannot be read throws CWin32Exception.
    static bool IsArchive(const wchar_t* filePath);

    /// Returns all names in case-insensitive order, including changes that are not written yet.
    std::vector<std::wstring> GetEntryNames() const;

    /// Opens an entry for reading. Returns null if there is no entry of that name. Throws CInvalidOperationException
    /// "Invalid ZIP entry '...'" if its header is damaged. Any compression method other than stored is read as deflate.
    /// An entry whose header does not contain its size is read as empty.
    ///
    /// \return the entry, owned by the caller; it must be destroyed before the archive
    std::unique_ptr<CZipArchiveEntry> GetEntry(const wchar_t* entryName) const;

    /// Adds an entry with the current time (UTC). The data is the rest of a stream, or a buffer of `size` bytes.
    ///
    /// \param data     borrowed for the call; null with a size other than 0 throws CArgumentNullException
    /// \param compress true to deflate the data, false to store it
    ///
    /// Throws CArgumentException for "entryName" if the entry already exists, or if the name is longer than 65,535
    /// bytes of UTF-8 or contains an unpaired surrogate; CInvalidOperationException beyond the limits of the format.
    /// After a failure the archive is unchanged.
    ///@{
    void AddEntry(const wchar_t* entryName, CStream& data, bool compress);
    void AddEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size, bool compress);
    ///@}

    /// Replaces the data, the time and the spelling of the name; the method (stored or deflated) stays. A missing entry
    /// throws CArgumentException for "entryName". After a failure the entry is unchanged. Otherwise the same as
    /// AddEntry.
    ///@{
    void UpdateEntry(const wchar_t* entryName, CStream& data);
    void UpdateEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size);
    ///@}

    /// Removes an entry. A missing one throws CArgumentException for "entryName".
    void DeleteEntry(const wchar_t* entryName);

    /// Writes the archive now. In Create mode a second Flush, or the destructor after a Flush, appends the archive once
    /// more after the first copy; readers find the last one.
    void Flush();

private:
    class impl;

    impl& GetOpen(const wchar_t* method, const wchar_t* file, int line) const;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO::Compression
