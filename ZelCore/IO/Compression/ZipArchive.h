#pragma once

#include "ZelCore/IO/Compression/ZipArchiveEntry.h"
#include "ZelCore/IO/Stream.h"

#include <memory>
#include <string>
#include <vector>

namespace ZelCore::IO::Compression {

/// What a CZipArchive is opened for. Any other value acts as Update.
enum class ZipArchiveMode : int {
    Read = 0,   ///< an existing file, which others may read too
    Create = 1, ///< a new file; an existing one is emptied at once
    Update = 2, ///< an existing file, to be rewritten
};

/// A ZIP archive in a file: entries stored or deflated, sizes, offsets and the archive below 4 GiB, at most 65,535
/// entries, one disk, no encryption.
///
///     const unsigned char text[] = "nothing happened";
///     {
///         CZipArchive archive(L"logs.zip", ZipArchiveMode::Create);
///         archive.AddEntry(L"logs/today.txt", text, sizeof text, true); // or a stream
///     }                                    // the destructor writes the archive, and throws what fails
///
/// Changes are staged in a folder below the temporary path. The destructor writes the whole file anew from there. Flush
/// does so earlier; the destructor then does it again. Changes cannot be given up: an exception that ends the block
/// leaves an archive of what was done so far.
///
/// In Update mode the room that the new archive needs is taken before anything is overwritten: a full disk, like every
/// other failure before the rewrite, leaves the file as it was. A failure during the rewrite leaves the file truncated,
/// and so may the end of the process. To be safe from that, write under another name, or change a copy, and rename.
///
/// The destructor throws what the rewrite fails with: let the object end inside the try block. While another exception
/// is on its way it does not throw; the failure is then an event of type Error of the trace source
/// "ZelCore.IO.Compression" that names the archive. In every case it closes the file and removes the staging folder.
/// Owners whose destructors are noexcept, such as std::unique_ptr, std::optional and std::vector, end the process with
/// std::terminate when the rewrite fails: call Flush before they end.
///
/// Names are wide strings, written as UTF-8 and read as UTF-8 whatever the archive says; the letters A to Z match
/// in either case. Names come as the archive has them: check them before you use them as paths. A null name throws
/// CArgumentNullException, an empty one CArgumentException for "entryName".
///
/// In Read mode every change, Flush too, throws CInvalidOperationException; so does every call on an archive that was
/// moved from. One thread at a time.
class ZELCORE_API CZipArchive {
public:
    /// Opens an archive. The file stays open until the destructor; others may read it meanwhile, except in Create mode,
    /// and in Update mode only if they share it for writing, which this class does not.
    ///
    /// Throws CInvalidOperationException "Invalid ZIP archive" for a file that is none; for Update also when the
    /// rewrite would lose entries: when two share a name (Read finds the first), when the directory goes on after the
    /// last entry that is counted, or when it reaches into the end record. What opening the file and creating the
    /// staging folder fail with passes through.
    CZipArchive(const wchar_t* path, ZipArchiveMode mode);

    /// The source is left closed. Assignment first ends the target as its destructor does, and may throw as that
    /// does; the target has taken over the source then all the same.
    ///@{
    CZipArchive(CZipArchive&& other) noexcept;
    CZipArchive& operator=(CZipArchive&& other); // NOLINT(performance-noexcept-move-constructor): it saves the old one
    ///@}

    /// Writes the archive unless it was opened for Read, also after a Flush; see above for what it may throw.
    ~CZipArchive() noexcept(false);

    /// Whether a file begins like a ZIP archive; false for a missing file. It looks at four bytes only. Null throws
    /// CArgumentNullException for "filePath", a file that cannot be read CWin32Exception.
    static bool IsArchive(const wchar_t* filePath);

    /// All names in case-insensitive order, with the changes that are not written yet.
    std::vector<std::wstring> GetEntryNames() const;

    /// Opens an entry for reading; null when there is none of that name. Throws CInvalidOperationException
    /// "Invalid ZIP entry '...'" when its header is damaged. Entries with a method other than stored are read as
    /// deflated; entries whose header does not tell their size read as empty.
    ///
    /// \return the caller's; to be destroyed before the archive
    std::unique_ptr<CZipArchiveEntry> GetEntry(const wchar_t* entryName) const;

    /// Adds an entry with the current time (UTC) and the rest of a stream, or a buffer of `size` bytes, as data.
    ///
    /// \param data     borrowed for the call; a null buffer of a size throws CArgumentNullException
    /// \param compress deflate the data, or store it as it is
    ///
    /// Throws CArgumentException for "entryName" when there is such an entry already or the name is longer than
    /// 65,535 bytes of UTF-8 or has half of a surrogate pair, CInvalidOperationException beyond the limits of the
    /// format. After a failure the archive is as it was.
    ///@{
    void AddEntry(const wchar_t* entryName, CStream& data, bool compress);
    void AddEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size, bool compress);
    ///@}

    /// Replaces data, time and the spelling of the name, keeps stored or deflated. A missing entry throws
    /// CArgumentException for "entryName". After a failure the entry is as it was; otherwise as AddEntry.
    ///@{
    void UpdateEntry(const wchar_t* entryName, CStream& data);
    void UpdateEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size);
    ///@}

    /// Removes an entry. A missing one throws CArgumentException for "entryName".
    void DeleteEntry(const wchar_t* entryName);

    /// Writes the archive now. In Create mode a second Flush, and the destructor after a Flush, write the archive
    /// once more behind the first copy; readers find the last one.
    void Flush();

private:
    class impl;

    impl& GetOpen(const wchar_t* method, const wchar_t* file, int line) const;

    std::unique_ptr<impl> m_impl;
};

} // namespace ZelCore::IO::Compression
