#include "ZelCore/Diagnostics/LogFile.h"

#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/Path.h"
#include "ZelCore/TextWriter.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Win32Exception.h"

#include <algorithm>
#include <cwctype>
#include <mutex>
#include <vector>

namespace ZelCore::Diagnostics {

using ZelWin32::CheckWin32;

namespace {

constexpr unsigned SpinRounds = 200;
constexpr unsigned RoundsPerCheck = 20; // sleeping rounds between two looks at the owner
constexpr ULONGLONG LongestWait = 5000; // milliseconds for an owner that lives but does not go on
constexpr std::int64_t RetryShare = 10; // a file that could not be rolled may grow by a tenth until the next try
constexpr std::size_t NumberDigits = 6;

struct FindTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept {
        return INVALID_HANDLE_VALUE;
    }
    static void Close(Type handle) noexcept {
        ::FindClose(handle);
    }
};

/// The same number for every spelling of a path in upper and lower case (FNV-1a).
std::uint64_t HashPath(const std::wstring& path) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const wchar_t c : path) {
        hash = (hash ^ static_cast<std::uint64_t>(std::towupper(c))) * 0x100000001B3;
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

/// The numbers of the files that were rolled, in ascending order.
std::vector<std::uint64_t> FindRolled(const std::wstring& stem, const std::wstring& extension) {
    std::vector<std::uint64_t> numbers;
    WIN32_FIND_DATAW data;
    const ZelWin32::UniqueHandle<FindTraits> search(::FindFirstFileW((stem + L"*" + extension).c_str(), &data));
    const std::size_t prefix = stem.size() - (stem.find_last_of(L"\\/") + 1);
    for (BOOL found = search ? TRUE : FALSE; found; found = ::FindNextFileW(search.Get(), &data)) {
        const std::wstring name = data.cFileName;
        const std::size_t length = name.size() - std::min(name.size(), prefix + extension.size());
        const std::wstring digits = name.substr(std::min(prefix, name.size()), length);
        constexpr std::size_t mostDigits = 18;
        if (digits.size() >= NumberDigits && digits.size() <= mostDigits &&
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

CLogFile::CLogFile(const std::wstring& path, std::int64_t maximumSize, std::uint32_t maximumFiles)
    : m_path(path), m_maximumSize(maximumSize), m_maximumFiles(maximumFiles) {
    const std::wstring folder = IO::CPath::GetDirectoryName(m_path.c_str());
    if (!folder.empty()) {
        IO::CDirectory::Create(folder.c_str(), nullptr);
    }
    MapShared();
}

CLogFile::~CLogFile() {
    if (m_shared != &m_own) {
        ::UnmapViewOfFile(m_shared);
    }
}

void CLogFile::MapShared() {
    const std::wstring name = CTextWriter().Put(L"ZelCore.Log.%016x", {HashPath(m_path)}).Take();
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

void CLogFile::Open() {
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Open";
    m_file.Reset(::CreateFileW(m_path.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!m_file) {
        throw ZelWin32::CWin32Exception(::GetLastError(), m_path.c_str(), ZEL_SITE(method));
    }
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(m_file.Get(), &size)) {
        const DWORD error = ::GetLastError();
        m_file.Reset();
        throw ZelWin32::CWin32Exception(error, m_path.c_str(), ZEL_SITE(method));
    }
    m_shared->size = size.QuadPart;
    m_generation = m_shared->generation;
}

void CLogFile::Roll() {
    const auto [stem, extension] = SplitPath(m_path);
    std::vector<std::uint64_t> rolled = FindRolled(stem, extension);
    const auto toPath = [&](std::uint64_t number) {
        std::wstring digits = std::to_wstring(number);
        digits.insert(0, NumberDigits - std::min(NumberDigits, digits.size()), L'0');
        return stem + digits + extension;
    };
    const std::uint64_t next = rolled.empty() ? 1 : rolled.back() + 1;
    m_file.Reset();
    if (!::MoveFileExW(m_path.c_str(), toPath(next).c_str(), 0)) { // somebody has the file open without sharing
        m_rollAgainAt = m_shared->size + m_maximumSize / RetryShare + 1;
        Open();
        return;
    }
    m_rollAgainAt = 0;
    ++m_shared->generation;
    rolled.push_back(next);
    for (std::size_t i = 0; i + m_maximumFiles <= rolled.size(); ++i) {
        ::DeleteFileW(toPath(rolled[i]).c_str()); // what cannot be deleted now can be the next time
    }
    Open();
}

void CLogFile::Write(const std::string& line) {
    const wchar_t* const method = L"ZelCore::Diagnostics::CLogFile::Write";
    const std::lock_guard<ZelWin32::CCriticalSection> threads(m_lock);
    const SharedLock processes(m_shared->owner);
    if (!m_file || m_generation != m_shared->generation) {
        Open();
    }
    const auto length = static_cast<std::int64_t>(line.size());
    const std::int64_t size = m_shared->size;
    if (m_maximumSize != -1 && size > 0 && length > m_maximumSize - size && size >= m_rollAgainAt) {
        Roll();
    }
    for (std::size_t at = 0; at < line.size();) {
        DWORD written = 0;
        CheckWin32(::WriteFile(m_file.Get(), line.data() + at,
                               static_cast<DWORD>(std::min<std::size_t>(line.size() - at, 0x40000000)), &written,
                               nullptr),
                   ZEL_SITE(method));
        if (written == 0) {
            throw ZelWin32::CWin32Exception(ERROR_DISK_FULL, m_path.c_str(), ZEL_SITE(method));
        }
        at += written;
        m_shared->size += written;
    }
}

} // namespace ZelCore::Diagnostics
