#pragma once

// Private to the library: a log file shared by threads and processes.

#include "ZelWin32/CriticalSection.h"
#include "ZelWin32/UniqueHandle.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace ZelCore::Diagnostics {

/// When and how a log file is rolled.
struct LogLimits {
    std::int64_t maximumSize;   ///< in bytes; -1 for no limit
    std::uint32_t maximumFiles; ///< including the current one
};

/// Appends whole lines to a file, and rolls it. If a line would make the file larger than the limit, the file is
/// renamed from "app.log" to "app.000000001.log", with the number after the highest existing one, and a new file is
/// created. The oldest files beyond the number of files to keep are deleted.
///
/// Processes that share a file need no other shared resource, so they may run as different users:
/// - A line is one WriteFile through a handle with only FILE_APPEND_DATA. The system finds the end of the file and
///   writes in one step, so that no line overwrites another one.
/// - Every process that has the file open holds a shared lock on one byte far beyond its end. A rolled file is deleted
///   only by a process that gets this lock exclusively, so that no line is written to a file that is being deleted. A
///   file that an idle process keeps open is deleted at the first roll after that process has moved on or ended.
/// - The process that rolls locks another byte of the current file exclusively, and then checks whether the name still
///   refers to that file. Locks end with their process. A process that holds one without reason delays a roll by some
///   milliseconds but blocks nothing: if two processes roll at once, there is one more file, and nothing is lost.
/// - A process that still writes to a file that another process has rolled loses nothing either. It detects this when
///   the file is full, and checks the name once a second.
///
/// While a handle is open no line is lost: if the file cannot be renamed or reopened, the line is written through the
/// existing handle, and the file grows.
///
/// Each process counts the bytes that it has written and queries the actual size from time to time. Several processes
/// may therefore exceed the limit by some lines each.
class CLogFile {
public:
    /// Returns the process's only object for the file, whatever the spelling of its path.
    static std::shared_ptr<CLogFile> Get(const std::wstring& path);

    explicit CLogFile(const std::wstring& path);
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;
    ~CLogFile();

    /// Throws CWin32Exception; the line is then missing or incomplete in the file.
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
    std::atomic<std::uint32_t>* m_turns = nullptr; ///< null if appending needs no turns, or if there is no shared block
    std::uint64_t m_noTurnsUntil = 0;              ///< in milliseconds
    ZelWin32::FileHandle m_file;
    std::uint64_t m_openedAt = 0; ///< in milliseconds; the last attempt to open the file
    std::uint64_t m_lookedAt = 0; ///< in milliseconds
    unsigned m_linesSinceLook = 0;
    std::int64_t m_size = 0;        ///< in bytes, as far as this process knows
    std::int64_t m_rollAgainAt = 0; ///< after a failed roll, the size at which to try again
    bool m_cut = false;             ///< the last line is incomplete
};

} // namespace ZelCore::Diagnostics
