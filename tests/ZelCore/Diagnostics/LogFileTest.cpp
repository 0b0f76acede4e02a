#include "Support/Test.h"

#include <set>
#include <sstream>

namespace {

/// Log files, and what other processes and users do to them.
class LogFiles : public FolderTest {
protected:
    void SetUp() override {
        FolderTest::SetUp();
        std::filesystem::create_directories(At(L"logs"));
    }
    std::set<std::string> GetNames() const {
        std::set<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(At(L"logs"))) {
            names.insert(file.path().filename().string());
        }
        return names;
    }
    /// The lines of all files, each a number of the last word.
    std::map<std::string, int> CountMessages() const {
        return CountIn(At(L"logs"));
    }
    /// A line that is being written may be seen in two parts, where it crosses a page of the system's cache.
    static std::map<std::string, int> CountIn(const std::wstring& folder, bool isBeingWritten = false) {
        std::map<std::string, int> counts;
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            std::ifstream stream(file.path(), std::ios::binary);
            for (std::string line; std::getline(stream, line);) {
                EXPECT_TRUE(isBeingWritten || (line.ends_with('\r') && line[4] == '-')) << line;
                if (!line.ends_with('\r')) {
                    continue;
                }
                ++counts[line.substr(line.rfind(' ') + 1, line.size() - line.rfind(' ') - 2)];
            }
        }
        return counts;
    }
    std::wstring GetLog() const {
        return At(L"logs\\app.log");
    }
};

void Write(CTraceListener& listener, const std::wstring& message) {
    listener.TraceEvent({}, L"s", TraceEventType::Information, 0, message.c_str());
}

/// A process that may share no object of the system with others, whose appends are of one step as those of Windows:
/// under Wine the test sees to that.
class Stranger {
public:
    Stranger()
        : m_mutex(::CreateMutexW(nullptr, FALSE, L"ZelCore tests append")),
          m_write("WriteFile",
                  [this](HANDLE file, const void* bytes, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                      ::WaitForSingleObject(m_mutex, INFINITE);
                      const BOOL result = ::WriteFile(file, bytes, size, written, o);
                      ::ReleaseMutex(m_mutex);
                      return result;
                  }) {}
    ~Stranger() {
        ::CloseHandle(m_mutex);
    }
    void Refuse() {
        m_create.emplace("CreateFileMappingW",
                         [](HANDLE, SECURITY_ATTRIBUTES*, DWORD, DWORD, DWORD, const wchar_t*) -> HANDLE {
                             ::SetLastError(ERROR_ACCESS_DENIED);
                             return nullptr;
                         });
        m_open.emplace("OpenFileMappingW", [](DWORD, BOOL, const wchar_t*) -> HANDLE {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        });
    }

private:
    HANDLE m_mutex;
    ImportHook m_write;
    std::optional<ImportHook> m_create, m_open;
};

/// The event on which both processes begin.
HANDLE CreateStart() {
    return ::CreateEventW(nullptr, TRUE, FALSE, L"ZelCore tests start");
}

void WaitForStart() {
    const HANDLE start = CreateStart();
    EXPECT_EQ(::WaitForSingleObject(start, 20'000), WAIT_OBJECT_0);
    ::CloseHandle(start);
}

std::wstring Environment(const wchar_t* name) {
    return CEnvironment::ExpandEnvironmentVariables(name);
}

} // namespace

/// Of two processes only the first may share a block; each looks for every line right after it was written.
TEST_F(LogFiles, DISABLED_WritesBesideAnotherUser) {
    Stranger stranger;
    const bool isRefused = Environment(L"%ZEL_PREFIX%") == L"second";
    if (isRefused) {
        stranger.Refuse();
    }
    const std::wstring file = Environment(L"%ZEL_FILE%"), folder = std::filesystem::path(file).parent_path().wstring();
    // Today's Windows takes a deleted file out of its folder at once, Wine when the last handle is closed.
    int deleted = 0;
    const ImportHook deletion("DeleteFileW", [&](const wchar_t* path) -> BOOL {
        const auto gone = std::filesystem::path(folder).parent_path() / (L"gone" + std::to_wstring(++deleted));
        return ::MoveFileExW(path, gone.c_str(), 0);
    });
    CLogWriterTraceListener listener(L"l", file.c_str(), isRefused ? 500 : 100'000, 8);
    int missing = 0;
    WaitForStart();
    for (int i = 0; i < 200; ++i) {
        const std::wstring message = Environment(L"%ZEL_PREFIX%") + std::to_wstring(i);
        Write(listener, message);
        const auto isThere = [&] {
            return CountIn(folder, true).contains(std::string(message.begin(), message.end()));
        };
        missing += isThere() || isThere() || isThere() ? 0 : 1; // a roll moves it to a file that was not yet listed
        ::Sleep(8); // on a busy machine, too, a line has to stay for eight files until it is looked for
    }
    EXPECT_EQ(missing, 0);
}

/// Rolls beside another process, and ends without warning.
TEST_F(LogFiles, DISABLED_RollsAndDies) {
    Stranger stranger;
    stranger.Refuse();
    CLogWriterTraceListener listener(L"l", Environment(L"%ZEL_FILE%").c_str(), 5000, 10'000);
    WaitForStart();
    for (int i = 0; i < 1500; ++i) {
        Write(listener, Environment(L"%ZEL_PREFIX%") + std::to_wstring(i));
    }
    ::TerminateProcess(::GetCurrentProcess(), 0);
}

TEST_F(LogFiles, ProcessesOfDifferentUsersLoseNothing) {
    ::SetEnvironmentVariableW(L"ZEL_FILE", GetLog().c_str());
    const auto runTwo = [](const wchar_t* test) {
        bool passed[2] = {};
        const HANDLE start = CreateStart();
        {
            std::vector<std::jthread> threads;
            for (const int i : {0, 1}) {
                ::SetEnvironmentVariableW(L"ZEL_PREFIX", i == 0 ? L"first" : L"second");
                threads.emplace_back([&passed, i, test] { passed[i] = RunInChild(test); });
                ::Sleep(300); // it has the environment that it found
            }
            ::SetEvent(start);
        }
        ::CloseHandle(start);
        return passed[0] && passed[1];
    };
    EXPECT_TRUE(runTwo(L"LogFiles.DISABLED_WritesBesideAnotherUser"));
    std::filesystem::remove_all(At(L"logs"));
    std::filesystem::create_directories(At(L"logs"));
    runTwo(L"LogFiles.DISABLED_RollsAndDies");
    EmptyTemporaryFolder(); // what the processes left that were ended
    const auto counts = CountMessages();
    EXPECT_EQ(counts.size(), 3000u);
    for (const auto& [message, count] : counts) {
        ASSERT_EQ(count, 1) << message;
    }
    EXPECT_GT(GetNames().size(), 20u);
    EXPECT_LT(GetNames().size(), 40u) << "files are rolled when they are full";
}

TEST_F(LogFiles, NoLineIsLostWhileAHandleIsOpen) {
    ULONGLONG now = 10'000;
    const ImportHook clock("GetTickCount64", [&]() -> ULONGLONG { return now; });
    for (const long error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_DELETE_PENDING, ERROR_BAD_NETPATH,
                             ERROR_PATH_NOT_FOUND}) {
        std::filesystem::remove_all(At(L"logs"));
        std::filesystem::create_directories(At(L"logs"));
        CLogWriterTraceListener unlimited(L"l", GetLog().c_str(), -1, 1), limited(L"m", GetLog().c_str(), 100, 1);
        Write(unlimited, L"first");
        {
            const ImportHook refusing(
                "CreateFileW", [&](const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) -> HANDLE {
                    ::SetLastError(static_cast<DWORD>(error));
                    return INVALID_HANDLE_VALUE;
                });
            for (int i = 0; i < 29; ++i) {
                now += 1100;
                Write(unlimited, std::to_wstring(i));
            }
            EXPECT_EQ(CountMessages().size(), 30u) << error;
            now += 1100;
            Write(limited, L"rolled"); // where to is not to be opened
        }
        EXPECT_EQ(CountMessages().size(), 31u) << error;
        now += 1100;
        Write(unlimited, L"last");
        EXPECT_TRUE(CountMessages().contains("last"));
        EXPECT_TRUE(std::filesystem::exists(GetLog()));
    }
    // A write that fails keeps the handle, too.
    CLogWriterTraceListener listener(L"l", GetLog().c_str(), -1, 1);
    Write(listener, L"before");
    ExpectFailing({"WriteFile", 0, ERROR_DISK_FULL}, [&] { Write(listener, L"lost"); });
    {
        const ImportHook refusing(
            "CreateFileW", [&](const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) -> HANDLE {
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            });
        Write(listener, L"after");
    }
    EXPECT_TRUE(CountMessages().contains("after"));
    // Who may append, but not read, does so.
    const ImportHook appending("CreateFileW",
                               [&](const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                   DWORD how, DWORD flags, HANDLE other) -> HANDLE {
                                   if ((access & FILE_READ_DATA) != 0) {
                                       ::SetLastError(ERROR_ACCESS_DENIED);
                                       return INVALID_HANDLE_VALUE;
                                   }
                                   return ::CreateFileW(path, access, share, security, how, flags, other);
                               });
    CLogWriterTraceListener writer(L"l", At(L"logs\\other.log").c_str(), 1, 2);
    Write(writer, L"w1");
    Write(writer, L"w2");
    EXPECT_TRUE(CountMessages().contains("w1") && CountMessages().contains("w2"));
}

TEST_F(LogFiles, SurplusFilesAreDeletedByALaterRoll) {
    CLogWriterTraceListener listener(L"l", GetLog().c_str(), 1, 2); // each line has a file of its own
    const auto open = [&](const std::wstring& name, DWORD share) {
        return ::CreateFileW(At(L"logs\\" + name).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr);
    };
    Write(listener, L"1");
    std::vector<HANDLE> readers;
    for (const wchar_t* message : {L"2", L"3", L"4", L"5"}) { // the first cannot be deleted four times
        Write(listener, message);
        readers.push_back(
            open(L"app.00000000" + std::to_wstring(readers.size() + 1) + L".log", FILE_SHARE_READ | FILE_SHARE_WRITE));
        EXPECT_EQ(GetNames().size(), readers.size() + 1);
    }
    for (const HANDLE reader : readers) {
        EXPECT_NE(reader, INVALID_HANDLE_VALUE);
        ::CloseHandle(reader);
    }
    Write(listener, L"6");
    EXPECT_EQ(GetNames(), (std::set<std::string>{"app.000000005.log", "app.log"}));
    // A file to which another process still writes is not deleted: this one would lose its lines.
    constexpr DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE writer = open(L"app.log", all);
    OVERLAPPED place{};
    place.OffsetHigh = 0x40000000;
    EXPECT_TRUE(::LockFileEx(writer, LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) << "the lock is shared";
    Write(listener, L"7");
    Write(listener, L"8");
    EXPECT_EQ(GetNames(), (std::set<std::string>{"app.000000006.log", "app.000000007.log", "app.log"}));
    ::CloseHandle(writer);
    EXPECT_TRUE(GetNames().contains("app.000000006.log")) << "nor was it marked to be";
    Write(listener, L"9");
    EXPECT_EQ(GetNames(), (std::set<std::string>{"app.000000008.log", "app.log"}));
}

TEST_F(LogFiles, NobodyStopsTheOthersByALock) {
    CLogWriterTraceListener listener(L"l", GetLog().c_str(), 1, 100);
    Write(listener, L"0");
    const HANDLE hostile =
        ::CreateFileW(GetLog().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, 0, nullptr);
    OVERLAPPED place{};
    place.Offset = 1;
    place.OffsetHigh = 0x40000000;
    ASSERT_TRUE(::LockFileEx(hostile, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1000, 0, &place));
    Write(listener, L"1");
    EXPECT_EQ(GetNames().size(), 2u) << "it is rolled all the same";
    ::CloseHandle(hostile);
    { // another process takes the number first
        const ImportHook move("MoveFileExW", [&](const wchar_t* from, const wchar_t* to, DWORD flags) -> BOOL {
            if (std::wstring(to).ends_with(L"2.log")) {
                std::ofstream(std::filesystem::path(to)) << "";
            }
            return ::MoveFileExW(from, to, flags);
        });
        Write(listener, L"2");
    }
    EXPECT_EQ(GetNames(),
              (std::set<std::string>{"app.000000001.log", "app.000000002.log", "app.000000003.log", "app.log"}));
    // The lock of all writers, held exclusively on the file that is there.
    Put(L"logs\\other.log", "2026-01-01 foreign\r\n");
    const HANDLE all =
        ::CreateFileW(At(L"logs\\other.log").c_str(), GENERIC_READ,
                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    place.Offset = 0;
    ASSERT_TRUE(::LockFileEx(all, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place));
    CLogWriterTraceListener other(L"l", At(L"logs\\other.log").c_str(), -1, 1);
    Write(other, L"here");
    EXPECT_TRUE(CountMessages().contains("here"));
    ::CloseHandle(all);
}

/// The block by which processes take turns under Wine, as somebody else may fill it.
TEST_F(LogFiles, AFalseOwnerOfTheTurnCostsLittle) {
    if (!IsWine()) {
        GTEST_SKIP() << "Windows appends in one step: there are no turns";
    }
    HANDLE mapping = nullptr;
    std::optional<ImportHook> create;
    create.emplace("CreateFileMappingW",
                   [&](HANDLE file, SECURITY_ATTRIBUTES* security, DWORD protection, DWORD high, DWORD low,
                       const wchar_t* name) -> HANDLE {
                       return mapping = ::CreateFileMappingW(file, security, protection, high, low, name);
                   });
    CLogWriterTraceListener listener(L"l", GetLog().c_str(), -1, 1);
    create.reset();
    ASSERT_NE(mapping, nullptr);
    auto* const owner = static_cast<volatile LONG*>(::MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 4));
    ASSERT_NE(owner, nullptr);
    ULONGLONG now = 10'000;
    int sleeps = 0;
    const ImportHook clock("GetTickCount64", [&]() -> ULONGLONG { return now; });
    const ImportHook sleep("Sleep", [&](DWORD milliseconds) -> void {
        now += milliseconds;
        ++sleeps;
    });
    Write(listener, L"free");
    EXPECT_EQ(*owner, 0) << "given back";
    *owner = 0x7FFFFFF0; // no process has this number
    Write(listener, L"ended");
    EXPECT_EQ(*owner, 0) << "the turn of a process that has ended is taken";
    EXPECT_LT(sleeps, 50);
    {
        const ImportHook write("WriteFile",
                               [&](HANDLE file, const void* bytes, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                                   *owner = 0x7FFFFFE0;
                                   return ::WriteFile(file, bytes, size, written, o);
                               });
        Write(listener, L"overtaken");
    }
    EXPECT_EQ(*owner, 0x7FFFFFE0) << "a turn that somebody else has taken over is not given back";
    const ImportHook alive("OpenProcess", [](DWORD, BOOL, DWORD) -> HANDLE {
        return ::CreateEventW(nullptr, TRUE, FALSE, nullptr); // never ends
    });
    *owner = 0x7FFFFFF0;
    Write(listener, L"patient");
    EXPECT_EQ(*owner, 0x7FFFFFF0) << "the turn stays the other's";
    EXPECT_GT(sleeps, 100);
    sleeps = 0;
    for (int i = 0; i < 20; ++i) {
        Write(listener, std::to_wstring(i));
    }
    EXPECT_EQ(sleeps, 0) << "only the first line waits";
    *owner = 0;
    EXPECT_EQ(CountMessages().size(), 24u);
    ::UnmapViewOfFile(const_cast<LONG*>(owner));
}

TEST_F(LogFiles, FailuresAreCountedWhereTheConfigurationSaysSo) {
    struct Failing final : CTraceListener {
        Failing() : CTraceListener(L"failing") {}
        void TraceEvent(const TraceEventContext&, const wchar_t*, TraceEventType, unsigned,
                        const wchar_t* message) override {
            if (fails) {
                throw CFormatException(L"refused", L"", nullptr, 0);
            }
            lines += std::wstring(message) + L"\n";
        }
        bool fails = false;
        std::wstring lines;
    };
    const auto listener = std::make_shared<Failing>();
    CTraceSource source(L"Counting");
    source.GetSourceSwitch().SetLevel(SourceLevels::All);
    source.AddTraceListener(listener);
    const auto trace = [&](const wchar_t* message) {
        source.TraceEvent(L"f", L"f", 1, TraceEventType::Error, message);
    };
    listener->fails = true;
    ExpectMessage<CFormatException>(L"refused", [&] { trace(L"leaves"); });
    EXPECT_EQ(listener->GetLostCount(), 0u);
    listener->SetCountsFailures(true);
    for (const bool fails : {true, true, true, false, false, true, false}) {
        listener->fails = fails;
        trace(L"m");
    }
    listener->fails = true;
    trace(nullptr);
    listener->SetCountsFailures(false);
    ExpectMessage<CFormatException>(L"refused", [&] { trace(L"leaves again"); });
    EXPECT_EQ(listener->GetLostCount(), 1u) << "who got the failure knows of it";
    EXPECT_EQ(listener->lines, L"(3 events before this one were lost) m\nm\n(1 event before this one was lost) m\n");
}
