#include "ZelCore/IO/Compression/ZipArchive.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Guid.h"
#include "ZelCore/IO/Compression/DeflateStream.h"
#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/IO/FileStream.h"
#include "ZelCore/IO/LongPath.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/InvalidOperationException.h"
#include "ZelCore/NotSupportedException.h"
#include "ZelCore/String.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <new>
#include <span>
#include <utility>
#include <zlib.h>

namespace ZelCore::IO::Compression {

namespace {

constexpr unsigned Utf8 = 65001;
constexpr std::size_t CopySize = 4096;
constexpr std::size_t ReadAheadSize = 65536;
constexpr std::uint64_t Largest32 = 0xFFFFFFFF;
constexpr std::size_t Largest16 = 0xFFFF;
constexpr std::uint16_t Stored = 0;
constexpr std::uint16_t Deflated = 8;
constexpr std::uint16_t IsEncrypted = 1u << 0;
constexpr std::uint16_t HasDataDescriptor = 1u << 3;

using Bytes = std::vector<unsigned char>;

[[noreturn]] void ThrowInvalidArchive(const wchar_t* method, const wchar_t* file, int line) {
    throw CInvalidOperationException(L"Invalid ZIP archive", method, file, line);
}

[[noreturn]] void ThrowInvalidEntry(const std::wstring& entryName, const wchar_t* method, const wchar_t* file,
                                    int line) {
    throw CInvalidOperationException(CString::Format(L"Invalid ZIP entry '%s'", entryName.c_str()).c_str(), method,
                                     file, line);
}

[[noreturn]] void ThrowTooLarge(const wchar_t* format, const std::wstring& entryName, const wchar_t* method,
                                const wchar_t* file, int line) {
    throw CInvalidOperationException(CString::Format(format, entryName.c_str()).c_str(), method, file, line);
}

/// Reads the little-endian fields of a record one after the other.
class CFieldReader {
public:
    explicit CFieldReader(const unsigned char* record) : m_next(record) {}
    CFieldReader& operator>>(std::uint16_t& field) {
        field = static_cast<std::uint16_t>(Take(2));
        return *this;
    }
    CFieldReader& operator>>(std::uint32_t& field) {
        field = Take(4);
        return *this;
    }

private:
    std::uint32_t Take(int size) {
        std::uint32_t value = 0;
        for (int i = 0; i < size; ++i) {
            value |= static_cast<std::uint32_t>(*m_next++) << (8 * i);
        }
        return value;
    }
    const unsigned char* m_next;
};

class CFieldWriter {
public:
    explicit CFieldWriter(unsigned char* record) : m_next(record) {}
    CFieldWriter& operator<<(std::uint16_t field) {
        return Put(field, 2);
    }
    CFieldWriter& operator<<(std::uint32_t field) {
        return Put(field, 4);
    }

private:
    CFieldWriter& Put(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) {
            *m_next++ = static_cast<unsigned char>(value >> (8 * i));
        }
        return *this;
    }
    unsigned char* m_next;
};

/// Reads a stream through one bounded buffer, so that a central directory of many small records needs few system calls.
class CReadAhead {
public:
    explicit CReadAhead(CStream& stream) : m_stream(stream), m_buffer(ReadAheadSize) {}

    /// Reads until `count` bytes have arrived or the stream ends.
    std::size_t GreedyRead(unsigned char* buffer, std::size_t count) {
        std::size_t total = 0;
        while (total < count) {
            if (m_available.empty()) {
                m_available = std::span(m_buffer).first(m_stream.GreedyRead(m_buffer.data(), m_buffer.size()));
                if (m_available.empty()) {
                    break;
                }
            }
            const std::size_t size = std::min(count - total, m_available.size());
            std::copy_n(m_available.begin(), size, buffer + total);
            m_available = m_available.subspan(size);
            total += size;
        }
        return total;
    }

private:
    CStream& m_stream;
    Bytes m_buffer;
    std::span<unsigned char> m_available;
};

/// Returns false if the source ends before the vector is full. The variable part of a record may be empty.
template <class Source> bool Fill(Source& source, Bytes& bytes, std::size_t size) {
    bytes.resize(size);
    return size == 0 || source.GreedyRead(bytes.data(), size) == size;
}

/// Writes a record and its variable part in one call.
void WriteRecord(CStream& stream, std::span<const unsigned char> record, const Bytes& variable) {
    Bytes bytes(record.begin(), record.end());
    bytes.insert(bytes.end(), variable.begin(), variable.end());
    stream.Write(bytes.data(), bytes.size());
}

struct CCentralDirectoryFileHeader {
    static constexpr std::uint32_t Signature = 0x02014B50;
    static constexpr std::size_t Size = 46;

    std::uint32_t signature = Signature;
    std::uint16_t versionMadeBy = 0;
    std::uint16_t versionNeeded = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint16_t time = 0;
    std::uint16_t date = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t nameLength = 0;
    std::uint16_t extraLength = 0;
    std::uint16_t commentLength = 0;
    std::uint16_t diskStart = 0;
    std::uint16_t internalAttributes = 0;
    std::uint32_t externalAttributes = 0;
    std::uint32_t localHeaderOffset = 0;
    Bytes variable; ///< name, extra field and comment

    void Read(CReadAhead& source) {
        std::array<unsigned char, Size> record;
        if (source.GreedyRead(record.data(), record.size()) == record.size()) {
            CFieldReader(record.data()) >> signature >> versionMadeBy >> versionNeeded >> flags >> method >> time >>
                date >> crc32 >> compressedSize >> uncompressedSize >> nameLength >> extraLength >> commentLength >>
                diskStart >> internalAttributes >> externalAttributes >> localHeaderOffset;
            if (signature == Signature &&
                Fill(source, variable, std::size_t{nameLength} + extraLength + commentLength)) {
                return;
            }
        }
        ThrowInvalidArchive(
            ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CCentralDirectoryFileHeader::Read"));
    }

    void Write(CStream& stream) const {
        std::array<unsigned char, Size> record;
        CFieldWriter(record.data()) << signature << versionMadeBy << versionNeeded << flags << method << time << date
                                    << crc32 << compressedSize << uncompressedSize << nameLength << extraLength
                                    << commentLength << diskStart << internalAttributes << externalAttributes
                                    << localHeaderOffset;
        WriteRecord(stream, record, variable);
    }

    std::uint64_t GetSize() const {
        return Size + variable.size();
    }

    std::wstring GetName() const {
        return nameLength == 0 ? std::wstring()
                               : CString::ToWideChar(reinterpret_cast<const char*>(variable.data()), nameLength, Utf8);
    }
};

struct CLocalFileHeader {
    static constexpr std::uint32_t Signature = 0x04034B50;
    static constexpr std::size_t Size = 30;

    std::uint32_t signature = Signature;
    std::uint16_t versionNeeded = 0;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint16_t time = 0;
    std::uint16_t date = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t nameLength = 0;
    std::uint16_t extraLength = 0;
    Bytes variable; ///< name and extra field

    CLocalFileHeader() = default;
    explicit CLocalFileHeader(const CCentralDirectoryFileHeader& central)
        : versionNeeded(central.versionNeeded), flags(central.flags), method(central.method), time(central.time),
          date(central.date), crc32(central.crc32), compressedSize(central.compressedSize),
          uncompressedSize(central.uncompressedSize), nameLength(central.nameLength), extraLength(central.extraLength),
          variable(central.variable.begin(), central.variable.begin() + central.nameLength + central.extraLength) {}

    void Read(CStream& stream, const std::wstring& entryName) {
        std::array<unsigned char, Size> record;
        if (stream.GreedyRead(record.data(), record.size()) == record.size()) {
            CFieldReader(record.data()) >> signature >> versionNeeded >> flags >> method >> time >> date >> crc32 >>
                compressedSize >> uncompressedSize >> nameLength >> extraLength;
            if (signature == Signature && Fill(stream, variable, std::size_t{nameLength} + extraLength)) {
                return;
            }
        }
        ThrowInvalidEntry(entryName,
                          ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CLocalFileHeader::Read"));
    }

    void Write(CStream& stream) const {
        std::array<unsigned char, Size> record;
        CFieldWriter(record.data()) << signature << versionNeeded << flags << method << time << date << crc32
                                    << compressedSize << uncompressedSize << nameLength << extraLength;
        WriteRecord(stream, record, variable);
    }
};

/// The local header of an archiver prepared for ZIP64 stores the size in an extra field; the central directory contains
/// it.
std::uint32_t GetDataSize(const CLocalFileHeader& local, const CCentralDirectoryFileHeader& central) {
    return local.compressedSize == Largest32 ? central.compressedSize : local.compressedSize;
}

/// A streaming archiver stores the size in the data descriptor after the data.
bool HasSizeAfterData(const CLocalFileHeader& local) {
    return (local.flags & HasDataDescriptor) != 0 && local.compressedSize == 0;
}

struct CEndOfCentralDirectoryRecord {
    static constexpr std::uint32_t Signature = 0x06054B50;
    static constexpr std::size_t Size = 22;

    std::uint32_t signature = Signature;
    std::uint16_t disk = 0;
    std::uint16_t directoryDisk = 0;
    std::uint16_t entriesOnDisk = 0;
    std::uint16_t totalEntries = 0;
    std::uint32_t directorySize = 0;
    std::uint32_t directoryOffset = 0;
    std::uint16_t commentLength = 0;
    Bytes comment;
    std::int64_t position = 0; ///< offset at which it was found

    void Read(CStream& stream) {
        std::array<unsigned char, Size> record;
        if (Find(stream) && stream.GreedyRead(record.data(), record.size()) == record.size()) {
            CFieldReader(record.data()) >> signature >> disk >> directoryDisk >> entriesOnDisk >> totalEntries >>
                directorySize >> directoryOffset >> commentLength;
            if (Fill(stream, comment, commentLength)) {
                return;
            }
        }
        ThrowInvalidArchive(
            ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CEndOfCentralDirectoryRecord::Read"));
    }

    void Write(CStream& stream) const {
        std::array<unsigned char, Size> record;
        CFieldWriter(record.data()) << signature << disk << directoryDisk << entriesOnDisk << totalEntries
                                    << directorySize << directoryOffset << commentLength;
        WriteRecord(stream, record, comment);
    }

private:
    /// Moves the stream to the last end record, which may be followed by an arbitrary comment.
    bool Find(CStream& stream) {
        constexpr std::int64_t smallStep = 16;
        constexpr std::int64_t largeStep = 65536;
        const std::int64_t length = stream.Seek(0, SeekOrigin::End);
        if (length < static_cast<std::int64_t>(Size)) {
            return false;
        }
        const std::int64_t first = length - static_cast<std::int64_t>(Size) + 4;
        Bytes chunk;
        std::uint32_t value = 0; // kept from one chunk to the next: a signature may span both
        for (std::int64_t end = first; end > 0;) {
            // Before the range of the longest comment there is an end record only in invalid files: search it in big
            // steps.
            const bool isComment = first - end <= static_cast<std::int64_t>(Largest16);
            const std::int64_t begin = std::max<std::int64_t>(end - (isComment ? smallStep : largeStep), 0);
            stream.Seek(begin, SeekOrigin::Begin);
            if (!Fill(stream, chunk, static_cast<std::size_t>(end - begin))) {
                return false;
            }
            for (std::size_t i = chunk.size(); i-- > 0;) {
                value = chunk[i] | value << 8;
                if (value == Signature) {
                    position = stream.Seek(begin + static_cast<std::int64_t>(i), SeekOrigin::Begin);
                    return true;
                }
            }
            end = begin;
        }
        return false;
    }
};

/// A window of a stream, from its position on. Reading moves the position of the underlying stream.
class CReadOnlySubStream final : public CStream {
public:
    CReadOnlySubStream(CStream& base, std::uint64_t length)
        : m_base(base), m_start(base.GetPosition()), m_length(static_cast<std::int64_t>(length)) {}

    void Close() override {}
    void Flush() override {
        throw CNotSupportedException(
            nullptr, ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Flush"));
    }
    StreamCapabilities GetCapabilities() const override {
        return m_base.GetCapabilities();
    }
    std::int64_t GetLength() const override {
        return m_length;
    }
    std::int64_t GetPosition() const override {
        return m_base.GetPosition() - m_start;
    }
    std::size_t Read(unsigned char* buffer, std::size_t count) override {
        const std::int64_t position = GetPosition();
        if (position < 0 || position >= m_length) { // the underlying stream was moved by other code
            return 0;
        }
        return m_base.Read(buffer, std::min(count, static_cast<std::size_t>(m_length - position)));
    }
    std::int64_t Seek(std::int64_t, SeekOrigin) override {
        throw CNotSupportedException(
            nullptr, ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Seek"));
    }
    void Write(const unsigned char*, std::size_t) override {
        throw CNotSupportedException(
            nullptr, ZEL_SITE(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Write"));
    }

private:
    CStream& m_base;
    std::int64_t m_start;
    std::int64_t m_length;
};

/// The folder in which the data of entries is kept until the rewrite. The destructor removes it with all its files.
class CStagingFolder {
public:
    CStagingFolder() = default;
    CStagingFolder(const CStagingFolder&) = delete;
    CStagingFolder& operator=(const CStagingFolder&) = delete;
    ~CStagingFolder() {
        if (!m_path.empty() && !TryDelete()) {
            TryDelete(); // an earlier attempt may have failed, for lack of memory or because a scanner had a file open
        }
    }

    /// Uses the long form of the path, which has no length limit: all files fit, whatever folder for temporary files
    /// the system has.
    void Create() {
        const std::wstring temporary = CPath::GetFullPath(CPath::GetTempPathW().c_str());
        m_path = ToLongForm(CPath::Combine(temporary.c_str(), CGuid::NewGuid().ToString(L"D").c_str()));
        CDirectory::Create(m_path.c_str(), nullptr);
    }

    /// Creates an empty file, open for writing. File systems look up names more slowly in folders with many files, so
    /// the files are spread over subfolders. The file is opened only once: a virus scanner that examines new files when
    /// they are closed could block a second attempt.
    CFileStream CreateFile() {
        // Site: staging is a part of AddEntry.
        if (m_fileCount % FilesPerFolder == 0) {
            m_subfolder = GetSubfolder(m_fileCount / FilesPerFolder);
            // Only one level is missing, while the general function would try all of them. It may exist after a
            // failure.
            if (!::CreateDirectoryW(m_subfolder.c_str(), nullptr) && ::GetLastError() != ERROR_ALREADY_EXISTS) {
                ZelWin32::ThrowLastError(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
            }
        }
        const std::wstring path = CPath::Combine(m_subfolder.c_str(), std::to_wstring(m_fileCount).c_str());
        CFileStream file(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY);
        ++m_fileCount;
        return file;
    }

private:
    static constexpr std::size_t FilesPerFolder = 256;

    std::wstring GetSubfolder(std::size_t index) const {
        return CPath::Combine(m_path.c_str(), std::to_wstring(index).c_str());
    }

    /// Files that remain in the temporary folder are not a failure of the archive.
    bool TryDelete() const noexcept {
        try {
            for (std::size_t i = 0; i * FilesPerFolder < m_fileCount; ++i) {
                ::RemoveDirectoryW(GetSubfolder(i).c_str());
            }
            CDirectory::Delete(m_path.c_str(), true, false);
            return true;
        } catch (...) {
            return false;
        }
    }

    std::wstring m_path;
    std::wstring m_subfolder;
    std::size_t m_fileCount = 0;
};

/// Deletes a staging file unless it is kept.
class CFileGuard {
public:
    explicit CFileGuard(CFileStream& file) : m_file(&file) {}
    CFileGuard(const CFileGuard&) = delete;
    CFileGuard& operator=(const CFileGuard&) = delete;
    ~CFileGuard() {
        if (m_file != nullptr) {
            m_file->Close();
            ::DeleteFileW(m_file->GetName()); // otherwise it is deleted with the staging folder
        }
    }
    /// Closes the file and returns its path.
    std::wstring Keep() {
        std::wstring path = m_file->GetName();
        std::exchange(m_file, nullptr)->Close();
        return path;
    }

private:
    CFileStream* m_file;
};

/// A virus scanner may hold a new file open for a moment.
CFileStream OpenStagingFile(const std::wstring& path) {
    constexpr int mostTries = 20;
    constexpr DWORD pause = 25; // milliseconds
    for (int tries = 1;; ++tries) {
        try {
            return {path,    GENERIC_READ,  FILE_SHARE_READ | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL};
        } catch (const ZelWin32::CWin32Exception& e) {
            if (e.GetError() != ERROR_SHARING_VIOLATION || tries == mostTries) {
                throw;
            }
        }
        ::Sleep(pause);
    }
}

struct CNameLess {
    using is_transparent = void;

    static const wchar_t* Text(const std::wstring& name) {
        return name.c_str();
    }
    static const wchar_t* Text(const wchar_t* name) {
        return name;
    }
    template <class A, class B> bool operator()(const A& a, const B& b) const {
        return CString::Compare(Text(a), Text(b), StringComparison::OrdinalIgnoreCase) < 0;
    }
};

struct CEntryRecord {
    CCentralDirectoryFileHeader header;
    std::wstring stagingPath; ///< empty while the data is only in the archive
};

using CEntryTable = std::map<std::wstring, CEntryRecord, CNameLess>;

CFileStream OpenArchive(const wchar_t* path, ZipArchiveMode mode) {
    switch (mode) {
    case ZipArchiveMode::Read:
        return {path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL};
    case ZipArchiveMode::Create:
        return {path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL};
    default:
        return {path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL};
    }
}

/// Sets the system time in DOS format, in steps of two seconds from 1980 to 2107.
void SetCurrentTime(CCentralDirectoryFileHeader& header) {
    FILETIME now{};
    SYSTEMTIME fields{};
    ::GetSystemTimeAsFileTime(&now);
    WORD date = 0;
    WORD time = 0;
    constexpr WORD lastYear = 2107;
    if (::FileTimeToSystemTime(&now, &fields) && fields.wYear > lastYear) {
        date = 0xFF9F;
        time = 0xBF7D;
    } else if (!::FileTimeToDosDateTime(&now, &date, &time)) {
        date = 0x0021;
        time = 0;
    }
    header.date = date;
    header.time = time;
}

/// Copies the rest of `source`, and passes every piece to `seen`.
template <class Seen> void CopyStream(CStream& source, CStream& target, Seen seen) {
    std::array<unsigned char, CopySize> buffer;
    while (const std::size_t read = std::min(source.Read(buffer.data(), buffer.size()), buffer.size())) {
        seen(buffer.data(), read);
        target.Write(buffer.data(), read);
    }
}

void AddToChecksum(std::uint32_t& checksum, const unsigned char* data, std::uint64_t size) {
    constexpr std::uint64_t largestPiece = 0x40000000; // zlib counts in 32 bits
    while (size != 0) {
        const auto piece = static_cast<uInt>(std::min(size, largestPiece));
        checksum = static_cast<std::uint32_t>(::crc32(checksum, data, piece));
        data += piece;
        size -= piece;
    }
}

/// Traces the exception that is being handled.
void TraceUnsaved(const wchar_t* archive) noexcept {
    // Site: traces for the destructor.
    using Diagnostics::CTraceSource;
    try {
        std::wstring reason = L"unknown";
        try {
            throw;
        } catch (const CException& e) {
            reason = e.GetExceptionMessage();
        } catch (const std::bad_alloc&) {
            reason = L"out of memory";
        } catch (...) { // a type of the program's own, from its translator for example
        }
        static const CTraceSource& trace = *new CTraceSource(L"ZelCore.IO.Compression");
        trace.TraceEventFormat(L"ZelCore::IO::Compression::CZipArchive::~CZipArchive", L"ZipArchive.cpp", __LINE__,
                               Diagnostics::TraceEventType::Error, L"The archive '%s' is not saved: %s", archive,
                               reason.c_str());
    } catch (...) { // a destructor cannot report it
    }
}

} // namespace

class CZipArchive::impl {
public:
    impl(const wchar_t* path, ZipArchiveMode mode)
        : m_file(OpenArchive(path, mode)), m_mode(mode), m_exceptionsBefore(std::uncaught_exceptions()) {
        if (m_mode != ZipArchiveMode::Read) {
            m_staging.Create();
        }
        if (m_mode != ZipArchiveMode::Create) {
            ReadDirectory();
        }
    }
    impl(const impl&) = delete;
    impl& operator=(const impl&) = delete;
    /// The shell deletes a folder of many files ten times slower than this does one by one.
    ~impl() {
        for (const auto& [name, record] : m_table) {
            DeleteStaged(record);
        }
    }

    const CEntryTable& GetTable() const noexcept {
        return m_table;
    }

    void CheckName(const wchar_t* entryName, const wchar_t* method, const wchar_t* file, int line) const;
    void CheckWritable(const wchar_t* method, const wchar_t* file, int line) const;
    CEntryTable::iterator FindExisting(const wchar_t* entryName, const wchar_t* messageFormat, const wchar_t* method,
                                       const wchar_t* file, int line);
    void CheckNew(const wchar_t* entryName, const wchar_t* method, const wchar_t* file, int line) const;

    std::unique_ptr<CStream> OpenEntry(const CEntryTable::value_type& entry);
    template <class WriteData> void Add(const wchar_t* entryName, bool compress, WriteData writeData);
    template <class WriteData> void Update(CEntryTable::iterator old, const wchar_t* entryName, WriteData writeData);
    void Delete(CEntryTable::iterator entry) {
        DeleteStaged(entry->second);
        m_table.erase(entry);
    }
    void Save();
    void Finish();

private:
    /// Releases the disk space. A file that is still being read is deleted with the staging folder.
    static void DeleteStaged(const CEntryRecord& record) noexcept {
        if (!record.stagingPath.empty()) {
            ::DeleteFileW(record.stagingPath.c_str());
        }
    }
    void ReadDirectory();
    bool WouldLoseEntries(std::uint64_t directorySize);
    std::unique_ptr<CStream> OpenStaged(const CEntryRecord& entry) const;
    template <class WriteData> CEntryRecord Stage(const wchar_t* entryName, bool compress, WriteData writeData);
    void SeekToLocalHeader(const CEntryTable::value_type& entry, const wchar_t* method, const wchar_t* file, int line);
    void EnsureEntriesLoaded();
    void StageRaw(CEntryTable::value_type& entry);
    std::uint64_t CheckLimits(std::uint64_t position) const;
    void TakeRoom(std::int64_t length);
    void SetLengthSilently(std::int64_t length) noexcept;
    void CheckStaged() const;
    void Rewrite(std::int64_t before);
    void WriteEntries();
    void WriteDirectory();

    CFileStream m_file;
    ZipArchiveMode m_mode;
    CEndOfCentralDirectoryRecord m_end;
    CEntryTable m_table;
    CStagingFolder m_staging;
    int m_exceptionsBefore;
};

void CZipArchive::impl::ReadDirectory() {
    // Site: a part of opening the archive.
    m_end.Read(m_file);
    m_file.Seek(m_end.directoryOffset, SeekOrigin::Begin);
    CReadAhead source(m_file);
    std::uint64_t directorySize = 0;
    for (unsigned i = 0; i < m_end.totalEntries; ++i) {
        CEntryRecord record;
        record.header.Read(source);
        directorySize += record.header.GetSize();
        std::wstring name = record.header.GetName();
        const std::size_t before = m_table.size();
        m_table.emplace_hint(m_table.end(), std::move(name), std::move(record));
        if (m_table.size() == before && m_mode != ZipArchiveMode::Read) {
            ThrowInvalidArchive(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::CZipArchive"));
        }
    }
    if (m_mode != ZipArchiveMode::Read && WouldLoseEntries(directorySize)) {
        ThrowInvalidArchive(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::CZipArchive"));
    }
}

/// Whether the rewrite would drop an entry. This happens for an archive of more than 65,535 entries, whose central
/// directory goes on after the last counted entry, and if the end record belongs to another archive, inside the comment
/// or the data. In these cases there are headers between the directory and the end record; other bytes are allowed
/// there.
bool CZipArchive::impl::WouldLoseEntries(std::uint64_t directorySize) {
    const std::int64_t end = static_cast<std::int64_t>(m_end.directoryOffset + directorySize);
    if (end > m_end.position) {
        return true;
    }
    m_file.Seek(end, SeekOrigin::Begin);
    CReadAhead source(m_file);
    std::uint32_t value = 0;
    std::array<unsigned char, 1> byte;
    for (std::int64_t i = end; i < m_end.position && source.GreedyRead(byte.data(), 1) == 1; ++i) {
        value = value >> 8 | static_cast<std::uint32_t>(byte[0]) << 24;
        if (value == CCentralDirectoryFileHeader::Signature || value == CLocalFileHeader::Signature) {
            return true;
        }
    }
    return false;
}

void CZipArchive::impl::CheckName(const wchar_t* entryName, const wchar_t* method, const wchar_t* file,
                                  int line) const {
    CheckNotNull(entryName, L"entryName", method, file, line);
    if (*entryName == L'\0') {
        throw CArgumentException(L"entryName", nullptr, method, file, line);
    }
}

void CZipArchive::impl::CheckWritable(const wchar_t* method, const wchar_t* file, int line) const {
    if (m_mode == ZipArchiveMode::Read) {
        throw CInvalidOperationException(L"Cannot modify read-only archive", method, file, line);
    }
}

CEntryTable::iterator CZipArchive::impl::FindExisting(const wchar_t* entryName, const wchar_t* messageFormat,
                                                      const wchar_t* method, const wchar_t* file, int line) {
    CheckName(entryName, method, file, line);
    CheckWritable(method, file, line);
    const auto entry = m_table.find(entryName);
    if (entry == m_table.end()) {
        throw CArgumentException(L"entryName", CString::Format(messageFormat, entryName).c_str(), method, file, line);
    }
    return entry;
}

void CZipArchive::impl::CheckNew(const wchar_t* entryName, const wchar_t* method, const wchar_t* file, int line) const {
    CheckName(entryName, method, file, line);
    CheckWritable(method, file, line);
    if (m_table.contains(entryName)) {
        throw CArgumentException(L"entryName", CString::Format(L"Entry '%s' already exists", entryName).c_str(), method,
                                 file, line);
    }
    if (m_table.size() >= Largest16) {
        ThrowTooLarge(L"Cannot add ZIP entry '%s': an archive holds at most 65535 entries", entryName, method, file,
                      line);
    }
}

std::unique_ptr<CStream> CZipArchive::impl::OpenStaged(const CEntryRecord& entry) const {
    auto file = std::make_unique<CFileStream>(OpenStagingFile(entry.stagingPath));
    if (entry.header.method == Stored || entry.header.compressedSize == 0) {
        return file;
    }
    return std::make_unique<CDeflateStream>(std::shared_ptr<CStream>(std::move(file)), CompressionMode::Decompress,
                                            false);
}

void CZipArchive::impl::SeekToLocalHeader(const CEntryTable::value_type& entry, const wchar_t* method,
                                          const wchar_t* file, int line) {
    const std::int64_t offset = entry.second.header.localHeaderOffset;
    if (m_file.Seek(offset, SeekOrigin::Begin) != offset) {
        ThrowInvalidEntry(entry.first, method, file, line);
    }
}

std::unique_ptr<CStream> CZipArchive::impl::OpenEntry(const CEntryTable::value_type& entry) {
    // Site: does the work of GetEntry.
    if (!entry.second.stagingPath.empty()) {
        return OpenStaged(entry.second);
    }
    SeekToLocalHeader(entry, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::GetEntry"));
    CLocalFileHeader local;
    local.Read(m_file, entry.first);
    const std::uint32_t size = GetDataSize(local, entry.second.header);
    if (size == Largest32 && local.method == Stored) {
        ThrowInvalidEntry(entry.first, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::GetEntry"));
    }
    auto window = std::make_unique<CReadOnlySubStream>(m_file, size);
    if (local.method == Stored || size == 0) {
        return window;
    }
    return std::make_unique<CDeflateStream>(std::shared_ptr<CStream>(std::move(window)), CompressionMode::Decompress,
                                            false);
}

/// `writeData(target, header)` writes the data to the target, and its checksum and size to the header.
template <class WriteData>
CEntryRecord CZipArchive::impl::Stage(const wchar_t* entryName, bool compress, WriteData writeData) {
    // Site: staging is a part of AddEntry.
    const std::wstring_view name(entryName);
    const std::string utf8 =
        name.size() <= Largest16 ? CString::ToMultiByte(entryName, static_cast<int>(name.size()), Utf8) : std::string();
    if (utf8.empty() || utf8.size() > Largest16) {
        throw CArgumentException(L"entryName", L"The name is longer than 65535 bytes",
                                 ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    }
    if (CString::ToWideChar(utf8.data(), static_cast<int>(utf8.size()), Utf8) !=
        name) { // another name would be read as the same name
        throw CArgumentException(L"entryName", L"The name has half of a surrogate pair",
                                 ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    }
    CEntryRecord record;
    CCentralDirectoryFileHeader& header = record.header;
    header.versionMadeBy = header.versionNeeded = 10;
    header.method = compress ? Deflated : Stored;
    SetCurrentTime(header);
    header.nameLength = static_cast<std::uint16_t>(utf8.size());
    header.variable.assign(utf8.begin(), utf8.end());

    CFileStream file = m_staging.CreateFile();
    CFileGuard guard(file);
    if (compress) {
        CDeflateStream deflate(file, CompressionMode::Compress, false);
        try {
            writeData(deflate, header);
        } catch (...) {
            try {
                deflate.Close(); // its destructor must not fail
            } catch (...) {      // only the first failure is reported
            }
            throw;
        }
        deflate.Close();
    } else {
        writeData(file, header);
    }
    const std::int64_t length = file.GetLength();
    if (static_cast<std::uint64_t>(length) > Largest32) {
        ThrowTooLarge(L"ZIP entry '%s' is larger than 4294967295 bytes", entryName,
                      ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    }
    header.compressedSize = static_cast<std::uint32_t>(length);
    record.stagingPath = guard.Keep();
    return record;
}

template <class WriteData> void CZipArchive::impl::Add(const wchar_t* entryName, bool compress, WriteData writeData) {
    // Site: the last step of AddEntry.
    CEntryRecord record = Stage(entryName, compress, writeData);
    CheckNew(entryName, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry")); // the source may use the archive
    m_table.emplace(entryName, std::move(record));
}

template <class WriteData>
void CZipArchive::impl::Update(CEntryTable::iterator old, const wchar_t* entryName, WriteData writeData) {
    CEntryTable::node_type replacement = [&] {
        CEntryTable single;
        single.emplace(entryName, Stage(entryName, old->second.header.method == Deflated, writeData));
        return single.extract(single.begin());
    }();
    if (const auto current = m_table.find(replacement.key()); current != m_table.end()) {
        Delete(current); // not `old`: the source may use the archive
    }
    m_table.insert(std::move(replacement)); // a prepared node cannot fail
}

void CZipArchive::impl::EnsureEntriesLoaded() {
    for (CEntryTable::value_type& entry : m_table) {
        if (entry.second.stagingPath.empty()) {
            StageRaw(entry);
        }
    }
}

/// Copies the compressed data of an entry as it is in the archive.
void CZipArchive::impl::StageRaw(CEntryTable::value_type& entry) {
    // Site: a step of EnsureEntriesLoaded.
    CCentralDirectoryFileHeader& header = entry.second.header;
    SeekToLocalHeader(entry, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::impl::EnsureEntriesLoaded"));
    CLocalFileHeader local;
    local.Read(m_file, entry.first);
    const std::uint32_t size = HasSizeAfterData(local) ? header.compressedSize : GetDataSize(local, header);
    CFileStream file = m_staging.CreateFile();
    CFileGuard guard(file);
    CReadOnlySubStream window(m_file, size);
    CopyStream(window, file, [](const unsigned char*, std::size_t) {});
    // Data that is truncated, or that only the entry's own header describes correctly, would be lost here.
    if (size != header.compressedSize || local.method != header.method || file.GetLength() != header.compressedSize) {
        ThrowInvalidEntry(entry.first, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::impl::EnsureEntriesLoaded"));
    }
    entry.second.stagingPath = guard.Keep();
    if ((header.flags & IsEncrypted) == 0) { // the password check of an encrypted entry depends on the flag
        header.flags &= static_cast<std::uint16_t>(~HasDataDescriptor); // the rewritten header contains the sizes
    }
}

/// Checks, before anything is overwritten, whether the archive can be written from the given position on, and returns
/// its end position.
std::uint64_t CZipArchive::impl::CheckLimits(std::uint64_t position) const {
    // Site: checks for Flush.
    std::uint64_t directorySize = 0;
    for (const auto& [name, record] : m_table) {
        const CCentralDirectoryFileHeader& header = record.header;
        if (position > Largest32) {
            ThrowTooLarge(L"Cannot save ZIP entry '%s': the archive exceeds 4294967295 bytes", name,
                          ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::Flush"));
        }
        position += CLocalFileHeader::Size + header.nameLength + header.extraLength + header.compressedSize;
        directorySize += header.GetSize();
    }
    if (position > Largest32 || directorySize > Largest32) {
        throw CInvalidOperationException(L"Cannot save the ZIP archive: its directory lies beyond 4294967295 bytes",
                                         ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::Flush"));
    }
    return position + directorySize + CEndOfCentralDirectoryRecord::Size + m_end.comment.size();
}

/// Extends the file to its future length, so that a full disk is detected while the old archive is still intact.
/// Setting the length alone does not allocate disk space on every file system: the bytes are written.
void CZipArchive::impl::TakeRoom(std::int64_t length) {
    const std::int64_t before = m_file.GetLength();
    if (length <= before) {
        m_file.SetLength(length); // fails while another program maps the file, when the archive is still intact
        return;
    }
    try {
        m_file.SetLength(length);
        m_file.Seek(before, SeekOrigin::Begin);
        const Bytes zeros(ReadAheadSize);
        for (std::int64_t at = before; at < length; at += static_cast<std::int64_t>(zeros.size())) {
            m_file.Write(zeros.data(), static_cast<std::size_t>(std::min<std::int64_t>(
                                           length - at, static_cast<std::int64_t>(zeros.size()))));
        }
    } catch (...) {
        SetLengthSilently(before);
        throw;
    }
}

/// For a failure that is already being reported.
void CZipArchive::impl::SetLengthSilently(std::int64_t length) noexcept {
    try {
        m_file.SetLength(length);
    } catch (...) { // only the first failure is reported
    }
}

/// Checks, while the archive is unchanged, that all staged data still exist: scanners and cleaners delete files.
void CZipArchive::impl::CheckStaged() const {
    // Site: checks for Flush before anything is written.
    for (const auto& [name, record] : m_table) {
        WIN32_FILE_ATTRIBUTE_DATA file{};
        if (!::GetFileAttributesExW(record.stagingPath.c_str(), GetFileExInfoStandard, &file) ||
            file.nFileSizeHigh != 0 || file.nFileSizeLow != record.header.compressedSize) {
            ThrowInvalidEntry(name, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::Flush"));
        }
    }
}

void CZipArchive::impl::Save() {
    if (m_mode == ZipArchiveMode::Create) {
        CheckLimits(static_cast<std::uint64_t>(m_file.GetPosition()));
        WriteEntries();
        WriteDirectory();
    } else {
        CheckLimits(0); // before the staging, which takes as much disk space as the headers declare
        EnsureEntriesLoaded();
        const auto length = static_cast<std::int64_t>(CheckLimits(0));
        const std::int64_t before = m_file.GetLength();
        CheckStaged();
        TakeRoom(length);
        Rewrite(std::min(before, length));
    }
    m_file.Flush();
}

/// Overwrites the old archive. A partly written archive is truncated where the writing ended; followed by its old
/// directory it would appear intact.
void CZipArchive::impl::Rewrite(std::int64_t before) {
    try {
        m_file.Seek(0, SeekOrigin::Begin);
        WriteEntries();
        WriteDirectory();
    } catch (...) {
        const std::int64_t written = m_file.GetPosition();
        SetLengthSilently(written == 0 ? before : written); // at 0 nothing has been overwritten
        throw;
    }
}

void CZipArchive::impl::WriteEntries() {
    for (auto& [name, record] : m_table) {
        record.header.localHeaderOffset = static_cast<std::uint32_t>(m_file.GetPosition());
        CLocalFileHeader(record.header).Write(m_file);
        CFileStream staged = OpenStagingFile(record.stagingPath);
        std::uint64_t size = 0;
        CopyStream(staged, m_file, [&size](const unsigned char*, std::size_t piece) { size += piece; });
        if (size != record.header.compressedSize) { // the staging file was changed by other code
            ThrowInvalidEntry(name, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::impl::WriteEntries"));
        }
    }
}

void CZipArchive::impl::WriteDirectory() {
    m_end.directoryOffset = static_cast<std::uint32_t>(m_file.GetPosition());
    m_end.directorySize = 0;
    for (const auto& [name, record] : m_table) {
        record.header.Write(m_file);
        m_end.directorySize += static_cast<std::uint32_t>(record.header.GetSize());
    }
    m_end.entriesOnDisk = m_end.totalEntries = static_cast<std::uint16_t>(m_table.size());
    m_end.Write(m_file);
}

/// The first step of the destructor. During stack unwinding a failure can only be traced. Foreign code may have left
/// the count of uncaught exceptions permanently raised.
void CZipArchive::impl::Finish() {
    if (m_mode == ZipArchiveMode::Read) {
        return;
    }
    const bool isUnwinding = std::uncaught_exceptions() > m_exceptionsBefore;
    try {
        Save();
    } catch (...) {
        if (!isUnwinding) {
            throw;
        }
        TraceUnsaved(m_file.GetName());
    }
}

CZipArchive::CZipArchive(const wchar_t* path, ZipArchiveMode mode) : m_impl(std::make_unique<impl>(path, mode)) {}

CZipArchive::CZipArchive(CZipArchive&&) noexcept = default;

// NOLINTNEXTLINE(performance-noexcept-move-constructor): writes the target's archive
CZipArchive& CZipArchive::operator=(CZipArchive&& other) {
    if (this != &other) {
        const std::unique_ptr<impl> ending = std::exchange(m_impl, std::move(other.m_impl));
        if (ending) {
            ending->Finish();
        }
    }
    return *this;
}

CZipArchive::~CZipArchive() noexcept(false) {
    const std::unique_ptr<impl> ending = std::move(m_impl);
    if (ending) {
        ending->Finish();
    }
}

bool CZipArchive::IsArchive(const wchar_t* filePath) {
    CheckNotNull(filePath, L"filePath", ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::IsArchive"));
    if (!CFile::Exists(filePath)) {
        return false;
    }
    CFileStream file(filePath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                     FILE_ATTRIBUTE_NORMAL);
    std::array<unsigned char, 4> bytes;
    if (file.GreedyRead(bytes.data(), bytes.size()) != bytes.size()) {
        return false;
    }
    std::uint32_t signature = 0;
    CFieldReader(bytes.data()) >> signature;
    return signature == CLocalFileHeader::Signature || signature == CEndOfCentralDirectoryRecord::Signature;
}

CZipArchive::impl& CZipArchive::GetOpen(const wchar_t* method, const wchar_t* file, int line) const {
    if (!m_impl) {
        throw CInvalidOperationException(GetMessageText(Message::InvalidHandle), method, file, line);
    }
    return *m_impl;
}

std::vector<std::wstring> CZipArchive::GetEntryNames() const {
    const CEntryTable& table = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::GetEntryNames")).GetTable();
    std::vector<std::wstring> names;
    names.reserve(table.size());
    for (const auto& [name, record] : table) {
        names.push_back(name);
    }
    return names;
}

std::unique_ptr<CZipArchiveEntry> CZipArchive::GetEntry(const wchar_t* entryName) const {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::GetEntry"));
    archive.CheckName(entryName, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::GetEntry"));
    const auto entry = archive.GetTable().find(entryName);
    if (entry == archive.GetTable().end()) {
        return nullptr;
    }
    const CCentralDirectoryFileHeader& header = entry->second.header;
    return std::unique_ptr<CZipArchiveEntry>(
        new CZipArchiveEntry(archive.OpenEntry(*entry), header.compressedSize, header.uncompressedSize));
}

namespace {

/// The data source of a new entry: a stream.
auto FromStream(const wchar_t* entryName, CStream& data) {
    // Site: a step of AddEntry.
    return [entryName, &data](CStream& target, CCentralDirectoryFileHeader& header) {
        CopyStream(data, target, [entryName, &header](const unsigned char* piece, std::size_t size) {
            if (header.uncompressedSize + std::uint64_t{size} > Largest32) {
                // Unreached: requires 4 GiB of data; the size of a buffer is checked before.
                ThrowTooLarge(L"ZIP entry '%s' is larger than 4294967295 bytes", entryName,
                              ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
            }
            header.uncompressedSize += static_cast<std::uint32_t>(size);
            AddToChecksum(header.crc32, piece, size);
        });
    };
}

/// The data source of a new entry: a buffer, which may be null if it is empty.
auto FromBuffer(const wchar_t* entryName, const unsigned char* data, std::uint64_t size, const wchar_t* method,
                const wchar_t* file, int line) {
    if (size != 0) {
        CheckNotNull(data, L"data", method, file, line);
    }
    if (size > Largest32) {
        ThrowTooLarge(L"ZIP entry '%s' is larger than 4294967295 bytes", entryName, method, file, line);
    }
    return [data, size](CStream& target, CCentralDirectoryFileHeader& header) {
        header.uncompressedSize = static_cast<std::uint32_t>(size);
        AddToChecksum(header.crc32, data, size);
        if (size != 0) {
            target.Write(data, size);
        }
    };
}

} // namespace

void CZipArchive::AddEntry(const wchar_t* entryName, CStream& data, bool compress) {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    archive.CheckNew(entryName, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    archive.Add(entryName, compress, FromStream(entryName, data));
}

void CZipArchive::AddEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size, bool compress) {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    archive.CheckNew(entryName, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry"));
    archive.Add(entryName, compress,
                FromBuffer(entryName, data, size, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::AddEntry")));
}

void CZipArchive::UpdateEntry(const wchar_t* entryName, CStream& data) {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::UpdateEntry"));
    const auto old = archive.FindExisting(entryName, L"Cannot update non-existent entry '%s'",
                                          ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::UpdateEntry"));
    archive.Update(old, entryName, FromStream(entryName, data));
}

void CZipArchive::UpdateEntry(const wchar_t* entryName, const unsigned char* data, std::uint64_t size) {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::UpdateEntry"));
    const auto old = archive.FindExisting(entryName, L"Cannot update non-existent entry '%s'",
                                          ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::UpdateEntry"));
    archive.Update(old, entryName,
                   FromBuffer(entryName, data, size, ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::UpdateEntry")));
}

void CZipArchive::DeleteEntry(const wchar_t* entryName) {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::DeleteEntry"));
    archive.Delete(archive.FindExisting(entryName, L"Cannot delete non-existent entry '%s'",
                                        ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::DeleteEntry")));
}

void CZipArchive::Flush() {
    impl& archive = GetOpen(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::Flush"));
    archive.CheckWritable(ZEL_SITE(L"ZelCore::IO::Compression::CZipArchive::Flush"));
    archive.Save();
}

} // namespace ZelCore::IO::Compression
