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
constexpr unsigned RoundsPerCheck = 20;  // sleeping rounds between two looks at the owner
constexpr ULONGLONG LongestWait = 5000;  // milliseconds for an owner that lives but does not go on
constexpr ULONGLONG OpenInterval = 1000; // milliseconds after which the file is opened anew
constexpr std::int64_t RetryShare = 10;  // a file that could not be rolled may grow by a tenth until the next try
constexpr std::size_t NumberDigits = 9;
constexpr int OpenTries = 20; // ten milliseconds apart, for a reader that shares nothing

struct FindTraits : ZelWin32::FileTraits {
    static void Close(Type handle) noexcept {
        ::FindClose(handle);
    }
};

std::wstring ToUpper(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size())); // not by the locale of the process
    return text;
}

/// The same text for every spelling of a path: by the true name of the folder, which exists.
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

/// FNV-1a
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

/// "C:\logs\app.log" in the parts "C:\logs\app." and ".log".
std::pair<std::wstring, std::wstring> SplitPath(const std::wstring& path) {
    const std::size_t name = path.find_last_of(L"\\/") + 1;
    const std::size_t dot = path.rfind(L'.');
    const std::size_t extension = dot != std::wstring::npos && dot > name ? dot : path.size();
    return {path.substr(0, extension) + L".", path.substr(extension)};
}

/// The numbers of the files that were rolled, in ascending order. Other names with digits are somebody else's.
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

} // namespace

/// Keeps other processes away from the file. Threads of this one are kept away by the lock taken before.
class CLogFile::SharedLock {
public:
    explicit SharedLock(std::atomic<std::uint32_t>& owner) noexcept : m_owner(owner) {
        const DWORD self = ::GetCurrentProcessId();
        ULONGLONG start = 0;
        for (unsigned round = 0;; ++round) {
            std::uint32_t holder = 0;
            if (m_owner.compare_exchange_strong(holder, self) || holder == self) {
                return; // an owner with our id has ended, and we were given its number
            }
            if (round < SpinRounds) {
                ::SwitchToThread();
                continue;
            }
            start = start == 0 ? ::GetTickCount64() : start;
            const bool waitedEnough = ::GetTickCount64() - start > LongestWait;
            if ((waitedEnough || (round % RoundsPerCheck == 0 && HasEnded(holder))) &&
                m_owner.compare_exchange_strong(holder, self)) {
                return;
            }
            ::Sleep(1);
        }
    }
    SharedLock(const SharedLock&) = delete;
    SharedLock& operator=(const SharedLock&) = delete;
    ~SharedLock() {
        std::uint32_t self = ::GetCurrentProcessId();
        m_owner.compare_exchange_strong(self, 0); // not where somebody has lost patience with us
    }

private:
    std::atomic<std::uint32_t>& m_owner;
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
    MapShared(MakeKey(path));
}

CLogFile::~CLogFile() {
    if (m_shared != &m_own) {
        ::UnmapViewOfFile(m_shared);
    }
}

void CLogFile::MapShared(const std::wstring& key) {
    const std::wstring name = CTextWriter().Put(L"ZelCore.Log.%016x", {Hash(key)}).Take();
    const auto create = [](const std::wstring& full) {
        return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Shared), full.c_str());
    };
    // For all sessions where the process may make that or somebody has made it, else for this one.
    HANDLE mapping = create(L"Global\\" + name);
    if (mapping == nullptr) {
        mapping = ::OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, (L"Global\\" + name).c_str());
    }
    if (mapping == nullptr) {
        mapping = create(L"Local\\" + name);
    }
    m_mapping.Reset(mapping);
    if (m_mapping) {
        void* const view = ::MapViewOfFile(m_mapping.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(Shared));
        m_shared = view != nullptr ? static_cast<Shared*>(view) : &m_own;
    }
}

bool CLogFile::IsStale() const noexcept {
    return !m_file || m_generation != m_shared->generation || m_shared == &m_own ||
           ::GetTickCount64() - m_openedAt >= OpenInterval;
}

ZelWin32::FileHandle CLogFile::OpenHandle() const {
    // Site: both ways to open report one place.
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Open";
    for (int i = 1;; ++i) {
        ZelWin32::FileHandle file(::CreateFileW(m_path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        const DWORD error = ::GetLastError();
        if (file) {
            return file;
        }
        if (error == ERROR_PATH_NOT_FOUND && i == 1) { // somebody has removed the folder
            IO::CDirectory::Create(IO::CPath::GetDirectoryName(m_path.c_str()).c_str(), nullptr);
        } else if (error == ERROR_SHARING_VIOLATION && i < OpenTries) {
            ::Sleep(10);
        } else {
            throw ZelWin32::CWin32Exception(error, m_path.c_str(), ZEL_SITE(method));
        }
    }
}

/// Opens the file under its name; on failure an open one stays.
void CLogFile::Open() {
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Open";
    ZelWin32::FileHandle file = OpenHandle();
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file.Get(), &size)) {
        throw ZelWin32::CWin32Exception(::GetLastError(), m_path.c_str(), ZEL_SITE(method));
    }
    m_file = std::move(file);
    m_shared->size = size.QuadPart;
    if (m_generation != m_shared->generation) {
        m_generation = m_shared->generation;
        m_rollAgainAt = 0;
    }
    m_openedAt = ::GetTickCount64();
}

/// What was open stays open until the new file is: whatever fails, the line has a place.
void CLogFile::Roll(const LogLimits& limits) {
    const auto name = SplitPath(m_path); // stem and extension
    std::vector<std::uint64_t> rolled = FindRolled(name.first, name.second);
    const auto toPath = [&](std::uint64_t number) {
        std::wstring digits = std::to_wstring(number);
        digits.insert(0, NumberDigits - std::min(NumberDigits, digits.size()), L'0');
        return name.first + digits + name.second;
    };
    const std::uint64_t next = rolled.empty() ? 1 : rolled.back() + 1;
    ++m_shared->generation; // first: who is stopped behind the renaming has told the others already
    if (!::MoveFileExW(m_path.c_str(), toPath(next).c_str(), 0)) {
        if (::GetLastError() != ERROR_FILE_NOT_FOUND) { // somebody has the file open without sharing
            m_rollAgainAt = m_shared->size + limits.maximumSize / RetryShare + 1;
            m_generation = m_shared->generation;
            return;
        }
    } else {
        rolled.push_back(next);
    }
    Open();
    // The unbroken run of numbers up to the last; what cannot be deleted now can be the next time.
    std::size_t kept = 1;
    for (std::size_t i = rolled.size(); i-- > 0; ++kept) {
        if (i + 1 < rolled.size() && rolled[i] + 1 != rolled[i + 1]) {
            break;
        }
        if (kept >= limits.maximumFiles) {
            ::DeleteFileW(toPath(rolled[i]).c_str());
        }
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
        m_shared->size += written;
        if (!succeeded || written == 0) {
            const DWORD error = succeeded ? ERROR_DISK_FULL : ::GetLastError();
            m_cut = m_cut || at != 0;
            m_file.Reset(); // the next line tries with a new handle
            throw ZelWin32::CWin32Exception(error, m_path.c_str(), ZEL_SITE(method));
        }
    }
}

void CLogFile::Write(const std::string& line, const LogLimits& limits) {
    const std::lock_guard<ZelWin32::CCriticalSection> threads(m_lock);
    const SharedLock processes(m_shared->owner);
    if (IsStale()) {
        Open();
    }
    if (m_cut) {
        Append("\r\n", 2);
        m_cut = false;
    }
    const auto length = static_cast<std::int64_t>(line.size());
    const std::int64_t size = m_shared->size;
    if (limits.maximumSize != -1 && size > 0 && length > limits.maximumSize - size && size >= m_rollAgainAt) {
        Roll(limits);
    }
    Append(line.data(), line.size());
}

} // namespace ZelCore::Diagnostics
