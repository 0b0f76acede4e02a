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
/// from "app.log" to "app.000000001.log", with the next number behind those that are there, and a new one is begun; the
/// oldest beyond the number of files to keep are deleted. Nothing else is ever renamed, so that a line that was written
/// once is not lost by a roll that fails half-way: then the file just goes on growing until it can be renamed.
///
/// Processes with the same file find each other by a small block of shared memory, with a lock word that holds the
/// owner's process id: a system lock around each line would cost ten times as much as the line. A process that cannot
/// share the block (another user's) opens the file anew for each line instead, and the system appends in one step.
///
/// The file is also opened anew once a second, in case somebody has deleted or renamed it.
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
    struct Shared {
        std::atomic<std::uint32_t> owner;      ///< the process that has the lock, 0 for none
        std::atomic<std::uint32_t> generation; ///< counts the rolls
        std::atomic<std::int64_t> size;        ///< of the file, in bytes
    };
    class SharedLock;

    void MapShared(const std::wstring& key);
    bool IsStale() const noexcept;
    ZelWin32::FileHandle OpenHandle() const;
    void Open();
    void Roll(const LogLimits& limits);
    void Append(const char* bytes, std::size_t size);

    std::wstring m_path;
    ZelWin32::CCriticalSection m_lock;
    ZelWin32::EventHandle m_mapping;
    Shared m_own{}; ///< for a process that can share nothing
    Shared* m_shared = &m_own;
    ZelWin32::FileHandle m_file;
    std::uint32_t m_generation = 0;
    std::uint64_t m_openedAt = 0;   ///< milliseconds
    std::int64_t m_rollAgainAt = 0; ///< after a roll that failed, the size at which to try again
    bool m_cut = false;             ///< the last line is not whole
};

} // namespace ZelCore::Diagnostics
