#include "ZelCore/Diagnostics/LogFile.h"

#include "ZelCore/Diagnostics/Registry.h"
#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/TextWriter.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace ZelCore::Diagnostics {

namespace {

constexpr unsigned SpinRounds = 200;
constexpr unsigned RoundsPerCheck = 20;   // sleeping rounds between two checks of the owner
constexpr ULONGLONG LongestWait = 2000;   // milliseconds to wait for a live owner that makes no progress
constexpr ULONGLONG DistrustTime = 60000; // milliseconds without turns afterwards
constexpr ULONGLONG OpenInterval = 1000;  // milliseconds after which the file is reopened
constexpr std::int64_t RetryShare = 10;   // a file that could not be rolled may grow by a tenth before the next attempt
constexpr unsigned LinesPerLook = 16;     // lines of this process between two queries of the actual size
constexpr std::size_t NumberDigits = 9;
constexpr int OpenTries = 20; // ten milliseconds apart, for a reader that does not share the file
constexpr int LockTries = 20; // one millisecond apart
constexpr int RollTries = 3;  // other processes may also create the new file first

// Two bytes of every log file that are locked, far beyond its end, because locks are mandatory for existing data.
enum class LockByte : DWORD {
    InUse,  // shared by all processes that write the file, exclusive for the one that deletes it
    Rolling // exclusive for the process that renames the file
};
constexpr DWORD LockOffsetHigh = 0x40000000;

struct FindTraits : ZelWin32::FileTraits {
    static void Close(Type handle) noexcept {
        ::FindClose(handle);
    }
};

std::wstring ToUpper(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size())); // independent of the locale of the process
    return text;
}

/// Returns the same text for every spelling of a path, by the actual name of the folder, which exists.
std::wstring MakeKey(const std::wstring& path) {
    const std::size_t name = path.find_last_of(L"\\/") + 1;
    const ZelWin32::FileHandle folder(::CreateFileW(path.substr(0, name).c_str(), 0,
                                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    std::wstring full(0x8000, L'\0');
    const DWORD length =
        folder ? ::GetFinalPathNameByHandleW(folder.Get(), full.data(), static_cast<DWORD>(full.size()), 0) : 0;
    full.resize(length < full.size() ? length : 0);
    return ToUpper(full.empty() ? path : full + L"\\" + path.substr(name));
}

/// FNV-1a.
std::uint64_t Hash(const std::wstring& text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t c : text) {
        hash = (hash ^ c) * 0x100000001B3;
    }
    return hash;
}

bool HasEnded(DWORD process) {
    const ZelWin32::EventHandle handle(::OpenProcess(SYNCHRONIZE, FALSE, process));
    return handle ? ::WaitForSingleObject(handle.Get(), 0) == WAIT_OBJECT_0
                  : ::GetLastError() == ERROR_INVALID_PARAMETER;
}

/// Splits "C:\logs\app.log" into "C:\logs\app." and ".log".
std::pair<std::wstring, std::wstring> SplitPath(const std::wstring& path) {
    const std::size_t name = path.find_last_of(L"\\/") + 1;
    const std::size_t dot = path.rfind(L'.');
    const std::size_t extension = dot != std::wstring::npos && dot > name ? dot : path.size();
    return {path.substr(0, extension) + L".", path.substr(extension)};
}

/// Returns the numbers of the rolled files in ascending order. Other names with digits belong to other programs.
std::vector<std::uint64_t> FindRolled(const std::wstring& stem, const std::wstring& extension) {
    std::vector<std::uint64_t> numbers;
    WIN32_FIND_DATAW data;
    const ZelWin32::UniqueHandle<FindTraits> search(::FindFirstFileW((stem + L"*" + extension).c_str(), &data));
    const std::size_t prefix = stem.size() - (stem.find_last_of(L"\\/") + 1);
    for (BOOL found = search ? TRUE : FALSE; found; found = ::FindNextFileW(search.Get(), &data)) {
        const std::wstring name = data.cFileName;
        const std::size_t length = name.size() - std::min(name.size(), prefix + extension.size());
        const std::wstring digits = name.substr(std::min(prefix, name.size()), length);
        if (digits.size() == NumberDigits &&
            std::all_of(digits.begin(), digits.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; })) {
            numbers.push_back(std::stoull(digits));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// Acquires a lock if it is free; the handle needs read access. Returns false with the last error.
bool TryLock(HANDLE file, LockByte byte, DWORD flags) noexcept {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(byte);
    place.OffsetHigh = LockOffsetHigh;
    return ::LockFileEx(file, flags | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != FALSE;
}

void Unlock(HANDLE file, LockByte byte) noexcept {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(byte);
    place.OffsetHigh = LockOffsetHigh;
    ::UnlockFileEx(file, 0, 1, 0, &place);
}

/// Prevents other processes from rolling the file, or continues without the lock after a while.
class RollingLock {
public:
    explicit RollingLock(HANDLE file) noexcept : m_file(file) {
        for (int i = 0; i < LockTries; ++i) {
            m_locked = TryLock(file, LockByte::Rolling, LOCKFILE_EXCLUSIVE_LOCK);
            if (m_locked || ::GetLastError() != ERROR_LOCK_VIOLATION) {
                return;
            }
            ::Sleep(1);
        }
    }
    RollingLock(const RollingLock&) = delete;
    RollingLock& operator=(const RollingLock&) = delete;
    ~RollingLock() {
        if (m_locked) {
            Unlock(m_file, LockByte::Rolling);
        }
    }

private:
    HANDLE m_file;
    bool m_locked = false;
};

/// Deletes a rolled file unless a process still has it open for writing.
void DeleteRolled(const std::wstring& path) noexcept {
    const ZelWin32::FileHandle file(::CreateFileW(path.c_str(), FILE_READ_DATA,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                  OPEN_EXISTING, 0, nullptr));
    if (file && !TryLock(file.Get(), LockByte::InUse, LOCKFILE_EXCLUSIVE_LOCK) &&
        ::GetLastError() == ERROR_LOCK_VIOLATION) {
        return;
    }
    ::DeleteFileW(path.c_str()); // with the lock held, so that no process starts to write meanwhile
    if (file) {
        Unlock(file.Get(), LockByte::InUse);
    }
}

/// Wine determines the end of the file and then writes there, so that lines of two processes may overlap. The only way
/// to detect this is to look for Wine by name.
bool AppendsInTwoSteps() noexcept {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace

/// Lets processes append one after the other if the system does not ensure it. Threads of this process are excluded by
/// the lock taken before.
class CLogFile::Turn {
public:
    explicit Turn(CLogFile& file) noexcept : m_owner(file.m_turns) {
        if (m_owner != nullptr && !Wait(file)) {
            m_owner = nullptr;
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (m_owner != nullptr) {
            std::uint32_t self = ::GetCurrentProcessId();
            m_owner->compare_exchange_strong(self, 0);
        }
    }

private:
    /// Returns false if the owner neither ends nor makes progress, so that it cannot block this process.
    bool Wait(CLogFile& file) const noexcept {
        const DWORD self = ::GetCurrentProcessId();
        ULONGLONG start = 0;
        for (unsigned round = 0;; ++round) {
            std::uint32_t holder = 0;
            if (m_owner->compare_exchange_strong(holder, self) || holder == self) {
                return true; // an earlier owner had the same process identifier
            }
            if (round < SpinRounds) {
                ::SwitchToThread();
                continue;
            }
            start = start == 0 ? ::GetTickCount64() : start;
            if (start < file.m_noTurnsUntil) {
                return false;
            }
            if (round % RoundsPerCheck == 0 && HasEnded(holder) && m_owner->compare_exchange_strong(holder, self)) {
                return true;
            }
            if (::GetTickCount64() - start > LongestWait) {
                file.m_noTurnsUntil = start + LongestWait + DistrustTime;
                return false;
            }
            ::Sleep(1);
        }
    }

    std::atomic<std::uint32_t>* m_owner;
};

std::shared_ptr<CLogFile> CLogFile::Get(const std::wstring& path) {
    static Registry<CLogFile>& registry = *new Registry<CLogFile>;
    const std::wstring folder = IO::CPath::GetDirectoryName(path.c_str());
    if (!folder.empty()) {
        IO::CDirectory::Create(folder.c_str(), nullptr);
    }
    return registry.GetOrMake(MakeKey(path).c_str(), [&] { return std::make_shared<CLogFile>(path); });
}

CLogFile::CLogFile(const std::wstring& path) : m_path(path) {
    if (AppendsInTwoSteps()) {
        MapTurns(MakeKey(path));
    }
}

CLogFile::~CLogFile() {
    if (m_turns != nullptr) {
        ::UnmapViewOfFile(m_turns);
    }
}

void CLogFile::MapTurns(const std::wstring& key) {
    const std::wstring name = CTextWriter().Put(L"ZelCore.Log.%016x", {Hash(key)}).Take();
    constexpr DWORD access = FILE_MAP_READ | FILE_MAP_WRITE;
    m_mapping.Reset(
        ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(*m_turns), name.c_str()));
    if (!m_mapping) {
        m_mapping.Reset(::OpenFileMappingW(access, FALSE, name.c_str()));
    }
    if (m_mapping) {
        m_turns =
            static_cast<std::atomic<std::uint32_t>*>(::MapViewOfFile(m_mapping.Get(), access, 0, 0, sizeof(*m_turns)));
    }
}

ZelWin32::FileHandle CLogFile::OpenHandle(int tries) const {
    // Site: a step of Open, for both access modes.
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Open";
    const auto open = [this](DWORD moreAccess) {
        return ZelWin32::FileHandle(::CreateFileW(m_path.c_str(),
                                                  FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE | moreAccess,
                                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    };
    for (int i = 1;; ++i) {
        ZelWin32::FileHandle file = open(FILE_READ_DATA); // to lock
        if (!file && ::GetLastError() == ERROR_ACCESS_DENIED) {
            file = open(0); // a user with only append access works without locks
        }
        const DWORD error = ::GetLastError();
        if (file) {
            return file;
        }
        if (error == ERROR_PATH_NOT_FOUND && i == 1) { // the folder was removed
            IO::CDirectory::Create(IO::CPath::GetDirectoryName(m_path.c_str()).c_str(), nullptr);
        } else if (error == ERROR_SHARING_VIOLATION && i < tries) {
            ::Sleep(10);
        } else {
            throw ZelWin32::CWin32Exception(error, m_path.c_str(), ZEL_SITE(method));
        }
    }
}

/// Whether the name refers to this file; true if this cannot be determined.
bool CLogFile::IsCurrent(const ZelWin32::FileHandle& file) const {
    const ZelWin32::FileHandle named(::CreateFileW(m_path.c_str(), FILE_READ_ATTRIBUTES,
                                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                   OPEN_EXISTING, 0, nullptr));
    if (!named) {
        const DWORD error = ::GetLastError(); // access denied: the deletion is pending
        return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND && error != ERROR_ACCESS_DENIED;
    }
    BY_HANDLE_FILE_INFORMATION a, b;
    return !::GetFileInformationByHandle(file.Get(), &a) || !::GetFileInformationByHandle(named.Get(), &b) ||
           (a.dwVolumeSerialNumber == b.dwVolumeSerialNumber && a.nFileIndexHigh == b.nFileIndexHigh &&
            a.nFileIndexLow == b.nFileIndexLow);
}

/// Opens the file by its name. On failure an open file stays open.
void CLogFile::Open(int tries) {
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Open";
    for (int i = 1;; ++i) {
        ZelWin32::FileHandle file = OpenHandle(tries);
        LARGE_INTEGER size;
        if (!::GetFileSizeEx(file.Get(), &size)) {
            throw ZelWin32::CWin32Exception(::GetLastError(), m_path.c_str(), ZEL_SITE(method));
        }
        const bool isDeleted = !TryLock(file.Get(), LockByte::InUse, 0) && ::GetLastError() == ERROR_LOCK_VIOLATION;
        // From here on the file cannot be deleted, but it may have been deleted before.
        if (i < LockTries && (isDeleted || !IsCurrent(file))) {
            ::Sleep(1);
            continue;
        }
        if (m_file) {
            Unlock(m_file.Get(), LockByte::InUse); // closing unlocks too, but not always at once
        }
        m_file = std::move(file);
        m_size = size.QuadPart;
        return;
    }
}

/// Returns false if opening fails and there is an open handle to continue with.
bool CLogFile::TryOpen(int tries) {
    m_openedAt = ::GetTickCount64();
    try {
        Open(tries);
        return true;
    } catch (...) {
        if (!m_file) {
            throw;
        }
        return false;
    }
}

void CLogFile::LookAtSize(std::uint64_t now) {
    if (++m_linesSinceLook < LinesPerLook && now == m_lookedAt) {
        return;
    }
    m_linesSinceLook = 0;
    m_lookedAt = now;
    if (LARGE_INTEGER size; ::GetFileSizeEx(m_file.Get(), &size)) {
        m_size = size.QuadPart;
    }
}

/// The old file stays open until the new one is open, so that the line can be written whatever fails.
void CLogFile::Roll(const LogLimits& limits) {
    bool isRenamed = true;
    {
        const RollingLock lock(m_file.Get());
        if (IsCurrent(m_file)) { // no other process has rolled it
            isRenamed = Rename();
        }
    }
    if (!isRenamed || !TryOpen(OpenTries)) {
        m_rollAgainAt = m_size + limits.maximumSize / RetryShare + 1;
        return;
    }
    m_rollAgainAt = 0;
    DeleteSurplus(limits.maximumFiles);
}

std::wstring CLogFile::ToRolledPath(std::uint64_t number) const {
    const auto [stem, extension] = SplitPath(m_path);
    std::wstring digits = std::to_wstring(number);
    digits.insert(0, NumberDigits - std::min(NumberDigits, digits.size()), L'0');
    return stem + digits + extension;
}

/// Returns true if the name is free afterwards, and false if the file cannot be renamed.
bool CLogFile::Rename() const {
    const auto [stem, extension] = SplitPath(m_path);
    for (int i = 0; i < RollTries; ++i) {
        const std::vector<std::uint64_t> rolled = FindRolled(stem, extension);
        if (::MoveFileExW(m_path.c_str(), ToRolledPath(rolled.empty() ? 1 : rolled.back() + 1).c_str(), 0)) {
            return true;
        }
        const DWORD error = ::GetLastError();
        if (error == ERROR_FILE_NOT_FOUND) {
            return true;
        }
        if (error != ERROR_ALREADY_EXISTS && error != ERROR_FILE_EXISTS) { // another process has used the number
            return false;
        }
    }
    return false;
}

/// Deletes all rolled files but the newest. Files that cannot be deleted now are tried again at the next roll.
void CLogFile::DeleteSurplus(std::uint32_t maximumFiles) const {
    const auto [stem, extension] = SplitPath(m_path);
    const std::vector<std::uint64_t> rolled = FindRolled(stem, extension);
    const std::size_t kept = maximumFiles - 1;
    for (std::size_t i = 0; i + kept < rolled.size(); ++i) {
        DeleteRolled(ToRolledPath(rolled[i]));
    }
}

void CLogFile::Append(const char* bytes, std::size_t size) {
    // Site: the last step of Write.
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Write";
    constexpr std::size_t largestPiece = 0x40000000;
    for (std::size_t at = 0; at < size;) {
        DWORD written = 0;
        const BOOL succeeded = ::WriteFile(m_file.Get(), bytes + at,
                                           static_cast<DWORD>(std::min(size - at, largestPiece)), &written, nullptr);
        at += written;
        m_size += written;
        if (!succeeded || written == 0) {
            const DWORD error = succeeded ? ERROR_DISK_FULL : ::GetLastError();
            m_cut = m_cut || at != 0;
            m_openedAt = 0; // the next line reopens the file, or uses this handle if that fails
            throw ZelWin32::CWin32Exception(error, m_path.c_str(), ZEL_SITE(method));
        }
    }
}

void CLogFile::Write(const std::string& line, const LogLimits& limits) {
    const std::lock_guard<ZelWin32::CCriticalSection> threads(m_lock);
    const Turn turn(*this);
    const ULONGLONG now = ::GetTickCount64();
    if (!m_file || now - m_openedAt >= OpenInterval) {
        TryOpen(m_file ? 1 : OpenTries);
    }
    if (limits.maximumSize != -1) {
        LookAtSize(now);
        if (m_size <= limits.maximumSize) { // if it is smaller, another process has rolled the file
            m_rollAgainAt = 0;
        }
        const auto length = static_cast<std::int64_t>(line.size());
        for (int i = 0; i < RollTries && m_size > 0 && length > limits.maximumSize - m_size && m_size >= m_rollAgainAt;
             ++i) {
            Roll(limits);
        }
    }
    if (m_cut) {
        const std::string whole = "\r\n" + line;
        Append(whole.data(), whole.size());
        m_cut = false;
        return;
    }
    Append(line.data(), line.size());
}

} // namespace ZelCore::Diagnostics
