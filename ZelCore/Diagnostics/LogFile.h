#pragma once

// Private to the library: a log file that threads and processes share.

#include "ZelWin32/CriticalSection.h"
#include "ZelWin32/UniqueHandle.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace ZelCore::Diagnostics {

/// When and how a log file is rolled.
struct LogLimits {
    std::int64_t maximumSize;   ///< bytes; -1 for no limit
    std::uint32_t maximumFiles; ///< with the current one
};

/// Appends whole lines to a file, and rolls it: when a line would make it larger than the limit, the file is renamed
/// from "app.log" to "app.000000001.log", with the next number after those that are there, and a new one is begun; the
/// oldest beyond the number of files to keep are deleted.
///
/// Processes that share a file need nothing but the file, so it does not matter which users they run as:
/// - A line is one WriteFile through a handle with FILE_APPEND_DATA alone. The system finds the end of the file and
///   writes in one step, so that no line overwrites another one.
/// - Whoever has the file open holds a shared lock on one byte far beyond its end. A rolled file is deleted only by a
///   process that gets this lock exclusively: no line goes to a file that is being deleted. A file that an idle process
///   keeps open is deleted at the first roll after that process has moved on or ended.
/// - Who rolls holds another byte of the current file exclusively, and then looks whether the name still means that
///   file. Locks end with their process. Whoever holds one for no reason delays a roll by some milliseconds and stops
///   nothing: two processes that roll at once make one more file, and lose nothing.
/// - A process that still writes to a file that another one has rolled loses nothing either. It notices when the
///   file is full, and looks at the name once a second.
///
/// While a handle is open no line is lost: whatever keeps the file from being renamed or opened anew, the line goes
/// through the handle that is there, and the file grows.
///
/// Each process counts the bytes that it has written and asks for the true size now and then, so several processes
/// may exceed the limit by some lines of each.
class CLogFile {
public:
    /// The one object of the process for the file, whatever the spelling of its path.
    static std::shared_ptr<CLogFile> Get(const std::wstring& path);

    explicit CLogFile(const std::wstring& path);
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;
    ~CLogFile();

    /// Throws CWin32Exception; the line is then not or not wholly in the file.
    void Write(const std::string& line, const LogLimits& limits);

private:
    class Turn;

    void MapTurns(const std::wstring& key);
    ZelWin32::FileHandle OpenHandle(int tries) const;
    bool IsCurrent(const ZelWin32::FileHandle& file) const;
    void Open(int tries);
    bool TryOpen(int tries);
    void LookAtSize(std::uint64_t now);
    void Roll(const LogLimits& limits);
    bool Rename() const;
    std::wstring ToRolledPath(std::uint64_t number) const;
    void DeleteSurplus(std::uint32_t maximumFiles) const;
    void Append(const char* bytes, std::size_t size);

    std::wstring m_path;
    ZelWin32::CCriticalSection m_lock;
    ZelWin32::EventHandle m_mapping;
    std::atomic<std::uint32_t>* m_turns = nullptr; ///< null where appending needs no turns, or there is no block
    std::uint64_t m_noTurnsUntil = 0;              ///< milliseconds
    ZelWin32::FileHandle m_file;
    std::uint64_t m_openedAt = 0; ///< milliseconds; when it was opened or that was tried
    std::uint64_t m_lookedAt = 0; ///< milliseconds
    unsigned m_linesSinceLook = 0;
    std::int64_t m_size = 0;        ///< bytes, as far as this process knows
    std::int64_t m_rollAgainAt = 0; ///< after a roll that failed, the size at which to try again
    bool m_cut = false;             ///< the last line is not whole
};

} // namespace ZelCore::Diagnostics
