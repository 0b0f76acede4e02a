#include "Support/Test.h"

#include <set>
#include <sstream>

namespace {

/// Tests in which the running program has its own configuration file. Each runs in a process of its own, because the
/// configuration is read once.
class Tracing : public FolderTest {
protected:
    void SetUp() override {
        FolderTest::SetUp();
        hook.emplace("GetModuleFileNameW", [this](HMODULE module, wchar_t* path, DWORD size) -> DWORD {
            return module != nullptr ? ::GetModuleFileNameW(module, path, size)
                                     : static_cast<DWORD>(At(L"program.exe").copy(path, size)); // zeros follow
        });
    }
    void Configure(const std::string& sources, const std::string& more) const {
        Put(L"program.exe.config",
            "<configuration><configSections><sectionGroup name='zel'><section name='zel.diagnostics' "
            "type='Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core'/></sectionGroup></configSections>"
            "<zel><zel.diagnostics logDirectory='%ZEL_LOGS%'/></zel><system.diagnostics><sources>" +
                sources + "</sources>" + more + "</system.diagnostics></configuration>");
    }
    std::vector<std::string> GetLines(const std::wstring& name) const {
        std::vector<std::string> lines;
        std::istringstream text(Get(name));
        for (std::string line; std::getline(text, line);) {
            EXPECT_TRUE(line.ends_with('\r')) << "a line is not whole: " << line;
            line.pop_back();
            lines.push_back(line);
        }
        return lines;
    }
    /// Counts the messages in all files of the folder; the message is the last word of a line.
    std::map<std::string, int> CountMessages(const std::wstring& folder) const {
        std::map<std::string, int> counts;
        for (const auto& file : std::filesystem::directory_iterator(At(folder))) {
            for (const std::string& line : GetLines(folder + L"\\" + file.path().filename().wstring())) {
                EXPECT_TRUE(line[4] == '-' && line[27] == 'Z') << line;
                ++counts[line.substr(line.rfind(' ') + 1)];
            }
        }
        return counts;
    }
    std::optional<ImportHook> hook;
};

struct RecordingListener final : CTraceListener {
    RecordingListener() : CTraceListener(L"recording") {}
    void TraceEvent(const TraceEventContext& context, const wchar_t* source, TraceEventType type, unsigned id,
                    const wchar_t* message) override {
        EXPECT_EQ(id, 0u);
        EXPECT_EQ(context.timestamp.GetKind(), DateTimeKind::Utc);
        EXPECT_EQ(context.threadId, ::GetCurrentThreadId());
        events += std::wstring(source) + L"|" + context.function + L"|" + context.file + L"|" +
                  std::to_wstring(context.line) + L"|" + CTraceFormatter::GetTypeName(type) + L"|" + message + L"\n";
        if (fails) {
            throw CFormatException(L"listener", L"", nullptr, 0);
        }
    }
    std::wstring events;
    bool fails = false;
};

void Event(const CTraceSource& source, TraceEventType type, const wchar_t* message) {
    source.TraceEvent(L"F", L"a\\b.cpp", 7, type, message);
}

constexpr auto Warning = TraceEventType::Warning;
constexpr auto Information = TraceEventType::Information;

} // namespace

TEST_F(Tracing, DISABLED_FollowsTheConfiguration) {
    ::SetEnvironmentVariableW(L"ZEL_LOGS", At(L"logs").c_str());
    Configure("<source name='App' switchName='AppSwitch'><listeners><add name='file'/><add "
              "name='console'/></listeners></source>"
              "<source name='App.Tcp' switchValue='Warning, ActivityTracing'><listeners><add "
              "name='file'/></listeners></source>"
              "<source name='Lost' switchName='missing'/>"
              "<source name='Mute' switchValue='All'><listeners><add name='missing'/></listeners></source>"
              "<source name='Zero' switchValue='All'><listeners><add name='zero'/></listeners></source>"
              "<source name='Token' switchValue='All'><listeners><add name='token'/></listeners></source>",
              "<switches><add name='AppSwitch' value='Information'/></switches><sharedListeners>"
              "<add name='file' type='FileLog' initializeData='%LOGDIRECTORY%\\sub\\app-%USERNAME%.log'/>"
              "<add name='console' type='filelog' countFailures='true'/><add name='zero' type='FileLog' "
              "initializeData='x' maximumFileSize='0'/>"
              "<add name='token' type='FileLog' initializeData='a%PATH%b'/></sharedListeners>");
    const std::wstring log = L"logs\\sub\\app-" + CEnvironment::GetUserNameW() + L".log";
    {
        const CTraceSource tcp(L"App.Tcp.Client"), udp(L"App.Udp"), app(L"App");
        Event(tcp, Information, L"not this");
        EXPECT_EQ(Get(log), "");
        Event(tcp, Warning, L"first \u00FC");
        Event(tcp, TraceEventType::Suspend, nullptr);
        Event(udp, Information, L"second");
        Event(udp, TraceEventType::Verbose, L"nor this");
        tcp.TraceEventFormat(nullptr, nullptr, -1, TraceEventType::Critical, L"%d%%", 100);
        const std::vector<std::string> lines = GetLines(log);
        ASSERT_EQ(lines.size(), 4u);
        char thread[20];
        std::snprintf(thread, sizeof(thread), " %04lx ", ::GetCurrentThreadId());
        EXPECT_TRUE(lines[0].ends_with(thread + std::string("W b.cpp:7 first \xC3\xBC"))) << lines[0];
        EXPECT_TRUE(lines[1].ends_with("S b.cpp:7 ")) << lines[1];
        EXPECT_TRUE(lines[2].ends_with("I b.cpp:7 second"));
        EXPECT_TRUE(lines[3].ends_with("C :-1 100%"));
        EXPECT_EQ(&udp.GetSourceSwitch(), &app.GetSourceSwitch());
        EXPECT_EQ(&app.GetSourceSwitch(), CSourceSwitchManager::GetSourceSwitch(L"AppSwitch").get());
        EXPECT_EQ(CTraceSourceManager::GetTraceSource(L"App.Tcp.x.y")->name, L"App.Tcp");
        EXPECT_EQ(CTraceSourceManager::GetTraceSource(L"App.Udp")->listeners.size(), 2u);
        EXPECT_NE(dynamic_cast<CConsoleTraceListener*>(CTraceListenerManager::GetTraceListener(L"console").get()),
                  nullptr);
        EXPECT_TRUE(CTraceListenerManager::GetTraceListener(L"console")->CountsFailures());
        EXPECT_FALSE(CTraceListenerManager::GetTraceListener(L"file")->CountsFailures()) << "the default";
        auto& own = Diagnostics::Configuration::CZelDiagnosticsSection::GetZelDiagnosticsConfiguration(L"");
        EXPECT_EQ(own.GetLogDirectoryExpanded(), At(L"logs"));
    }
    const CTraceSource lost(L"Lost"), mute(L"Mute.x"), zero(L"Zero"), token(L"Token"), empty(L"");
    for (int i = 0; i < 2; ++i) { // each event tries again
        ExpectMessage<CConfigurationException>(L"Source switch 'missing' cannot be found in switches collection",
                                               [&] { Event(lost, Warning, L""); });
        ExpectMessage<CConfigurationException>(
            L"Trace listener 'missing' cannot be found in shared listeners collection",
            [&] { Event(mute, Warning, L""); });
        ExpectRange(L"maximumFileSizem", [&] { Event(zero, Warning, L""); }, {.contains = L"actual value was 0"});
        ExpectMessage<CConfigurationException>(L"Invalid token 'PATH' in file name 'a%PATH%b'.",
                                               [&] { Event(token, Warning, L""); });
        ExpectMessage<CArgumentException>(L"'Cannot be empty': parameter name: 'sourceName'",
                                          [&] { Event(empty, Warning, L""); });
    }
}

TEST_F(Tracing, DISABLED_ABrokenConfigurationIsReadAgain) {
    const CTraceSource source(L"A");
    Configure("<source name='A' switchName='s' switchValue='All'/>", "");
    ExpectMessage<CConfigurationException>(L"Illegal to specify both switchName and switchValue on a trace source.",
                                           [&] { Event(source, Warning, L""); });
    Configure("<source name='A' switchValue='All'><listeners><add name='l'/></listeners></source>",
              "<sharedListeners><add name='l' type='FileLog' initializeData='relative.log'/></sharedListeners>");
    RunInThreads(8, [&](int) { Event(source, Warning, L"x"); }); // all initialize it at once
    EXPECT_EQ(GetLines(L"relative.log").size(), 8u) << "beside the program";
    Configure("broken <", "");
    Event(source, Warning, L"kept"); // read once
    EXPECT_EQ(GetLines(L"relative.log").size(), 9u);
}

TEST_F(Tracing, DISABLED_WritesAndDies) {
    const std::wstring file = CEnvironment::ExpandEnvironmentVariables(L"%ZEL_FILE%");
    CTraceSource source(L"Process");
    source.GetSourceSwitch().SetLevel(SourceLevels::All);
    source.AddTraceListener(std::make_shared<CLogWriterTraceListener>(L"log", file.c_str(), 20'000, 10'000));
    for (int i = 0; i < 2000; ++i) {
        const std::wstring message = CEnvironment::ExpandEnvironmentVariables(L"%ZEL_PREFIX%") + std::to_wstring(i);
        Event(source, Information, message.c_str());
    }
    ::TerminateProcess(::GetCurrentProcess(), 0); // without warning after the last line
}

TEST_F(Tracing, InProcessesOfTheirOwn) {
    for (const wchar_t* test : {L"DISABLED_FollowsTheConfiguration", L"DISABLED_ABrokenConfigurationIsReadAgain"}) {
        EXPECT_TRUE(RunInChild(L"Tracing." + std::wstring(test)));
    }
    // Two processes roll one log and are terminated during it: every line must exist exactly once.
    std::filesystem::create_directories(At(L"shared"));
    ::SetEnvironmentVariableW(L"ZEL_FILE", At(L"shared\\log.txt").c_str());
    ::SetEnvironmentVariableW(L"ZEL_PREFIX", L"first");
    {
        const std::jthread first([] { RunInChild(L"Tracing.DISABLED_WritesAndDies"); });
        ::Sleep(100);
        ::SetEnvironmentVariableW(L"ZEL_PREFIX", L"second");
        RunInChild(L"Tracing.DISABLED_WritesAndDies");
    }
    EmptyTemporaryFolder(); // files of terminated processes
    const auto counts = CountMessages(L"shared");
    EXPECT_EQ(counts.size(), 4000u);
    for (const auto& [message, count] : counts) {
        ASSERT_EQ(count, 1) << message;
    }
}

TEST_F(Tracing, SourcesWithoutAConfigurationTakeListenersInCode) {
    CTraceSource source(L"Unconfigured.Deep.Name"), sibling(L"Unconfigured.Other");
    const auto listener = std::make_shared<RecordingListener>(), second = std::make_shared<RecordingListener>();
    source.AddTraceListener(listener);
    Event(source, TraceEventType::Critical, L"off");
    source.GetSourceSwitch().SetLevel(SourceLevels::Error);
    Event(sibling, TraceEventType::Error, L"shared");
    Event(source, Warning, L"no");
    source.GetSourceSwitch().SetLevel(SourceLevels::ActivityTracing);
    Event(source, TraceEventType::Transfer, L"yes");
    Event(source, TraceEventType::Critical, L"no");
    source.TraceEvent(nullptr, nullptr, 0, static_cast<TraceEventType>(0x2000), nullptr);
    EXPECT_EQ(listener->events, L"Unconfigured.Other|F|a\\b.cpp|7|Error|shared\n"
                                L"Unconfigured.Deep.Name|F|a\\b.cpp|7|Transfer|yes\n"
                                L"Unconfigured.Deep.Name|||0|Unknown|\n");
    listener->fails = true;
    source.AddTraceListener(second);
    ExpectMessage<CFormatException>(L"listener", [&] { Event(source, TraceEventType::Start, L"both"); });
    EXPECT_EQ(second->events, L"Unconfigured.Deep.Name|F|a\\b.cpp|7|Start|both\n") << "the others get it all the same";
    sibling.RemoveAllListeners();
    Event(source, TraceEventType::Start, L"nobody");
    ExpectNull(L"sourceName", [] { CTraceSourceManager::GetTraceSource(nullptr); });
    const FailingCalls calls("InitializeCriticalSectionAndSpinCount");
    ExpectThrow<CComException>([] { CTraceSource(L"x"); }, {.code = 0x800705AA});
}

TEST_F(Tracing, ListenersAreMadeByType) {
    const auto make = [](const wchar_t* name, const wchar_t* type, const wchar_t* data, std::int64_t size = -1,
                         unsigned files = 1) {
        return CTraceListenerManager::GetTraceListener(name, type, data, size, files);
    };
    const auto file = make(L"f", L"FileLog", At(L"x.log").c_str());
    EXPECT_EQ(make(L"f", L"", L""), file) << "the live one of the name";
    EXPECT_EQ(dynamic_cast<CLogWriterTraceListener&>(*file).GetPath(), At(L"x.log"));
    EXPECT_NE(std::dynamic_pointer_cast<CConsoleTraceListener>(make(L"c", L"FILELOG", L"")), nullptr);
    ExpectNull(L"listenerName", [&] { make(nullptr, nullptr, nullptr, 0, 0); });
    ExpectNull(L"listenerType", [&] { make(L"n", nullptr, nullptr, 0, 0); });
    ExpectNull(L"initializeData", [&] { make(L"n", L"t", nullptr, 0, 0); });
    ExpectNull(L"listenerName", [] { CTraceListenerManager::GetTraceListener(nullptr); });
    ExpectRange(L"maximumFileSizem", [&] { make(L"n", L"t", L"d", -2, 0); });
    ExpectRange(L"maximumNumberOfFiles", [&] { make(L"n", L"t", L"d", 1, 0); });
    ExpectThrow<CArgumentException>([&] { make(L"e", L"EventProvider", L"no GUID"); });
    static std::wstring s_events;
    std::string missing;
    const std::map<std::string, void*> fakes = {
        {"EventRegister", reinterpret_cast<void*>(+[](const GUID* id, void*, void*, std::uint64_t* handle) -> ULONG {
             *handle = 5;
             return id->Data1 == 0xFFFFFFFF ? 1450 : 0;
         })},
        {"EventWriteString",
         reinterpret_cast<void*>(+[](std::uint64_t handle, UCHAR level, std::uint64_t, const wchar_t* text) -> ULONG {
             s_events += std::to_wstring(handle) + std::to_wstring(level) + std::wstring(text).substr(28) + L";";
             // "fail 8": what the system returns
             return std::wstring(text).find(L"fail ") != std::wstring::npos
                        ? std::stoul(std::wstring(text).substr(std::wstring(text).rfind(L' ')))
                        : 0;
         })},
        {"EventUnregister", reinterpret_cast<void*>(+[](std::uint64_t handle) -> ULONG {
             s_events += L"end" + std::to_wstring(handle);
             return 0;
         })}};
    const ImportHook find("GetProcAddress", [&](HMODULE module, const char* name) -> void* {
        if (missing == name) {
            ::SetLastError(127);
            return nullptr;
        }
        const auto fake = fakes.find(name);
        return fake != fakes.end() ? fake->second : reinterpret_cast<void*>(::GetProcAddress(module, name));
    });
    TraceEventContext context;
    context.threadId = 0x12345;
    context.file = L"f";
    {
        CEventProviderTraceListener provider(L"p", L"{00000001-0002-0003-0405-060708090a0b}");
        for (const auto type : {TraceEventType::Critical, TraceEventType::Verbose, TraceEventType::Stop}) {
            provider.TraceEvent(context, L"s", type, 0, L"m");
        }
        for (const wchar_t* fault : {L"fail 8", L"fail 234", L"fail 1502"}) { // of the session
            provider.TraceEvent(context, L"s", Warning, 0, fault);
        }
        s_events.erase(s_events.find(L"fail 8"));
        for (const DWORD fault : {1450, 6, 87, 534}) { // 534: an event above 64 KiB, which the listener prevents
            ExpectError(fault, [&] {
                provider.TraceEvent(context, L"s", Warning, 0, (L"fail " + std::to_wstring(fault)).c_str());
            });
        }
        s_events.erase(s_events.find(L"5312345"));
    }
    EXPECT_EQ(s_events, L"5112345 C f:0 m;5512345 V f:0 m;5412345 S f:0 m;end5");
    ExpectError(1450, [] { CEventProviderTraceListener(L"p", L"{ffffffff-0000-0000-0000-000000000000}"); });
    for (const char* name : {"EventRegister", "EventWriteString", "EventUnregister"}) {
        missing = name;
        ExpectError(127, [] { CEventProviderTraceListener(L"p", L"{00000001-0000-0000-0000-000000000000}"); });
    }
}

TEST_F(Tracing, EightThreadsRollALogAndLoseNothing) {
    std::filesystem::create_directories(At(L"logs"));
    const HandleBalance handles;
    {
        CTraceSource source(L"Rolling");
        source.GetSourceSwitch().SetLevel(SourceLevels::All);
        // Two listeners for one file, one of them with another spelling of the path.
        source.AddTraceListener(
            std::make_shared<CLogWriterTraceListener>(L"l", At(L"logs\\app.log").c_str(), 10'000, 1'000));
        CTraceSource other(L"AlsoRolling");
        other.GetSourceSwitch().SetLevel(SourceLevels::All);
        other.AddTraceListener(
            std::make_shared<CLogWriterTraceListener>(L"m", At(L"LOGS\\.\\App.log").c_str(), 10'000, 1'000));
        std::atomic<bool> reading{true};
        std::thread reader([&] { // opens the file whenever it is free
            while (reading) {
                ::CloseHandle(::CreateFileW(At(L"logs\\app.log").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, 0, nullptr));
            }
        });
        RunInThreads(8, [&](int i) {
            for (int k = 0; k < 1000; ++k) {
                Event(i % 2 != 0 ? source : other, Information,
                      (std::to_wstring(i) + L"-" + std::to_wstring(k)).c_str());
            }
        });
        reading = false;
        reader.join();
        source.RemoveAllListeners(), other.RemoveAllListeners();
    }
    EXPECT_EQ(handles.Get(), 0);
    EXPECT_EQ(CountMessages(L"logs").size(), 8000u);
    std::size_t files = 0;
    for (const auto& file : std::filesystem::directory_iterator(At(L"logs"))) {
        EXPECT_LE(file.file_size(), 10'000u);
        ++files;
    }
    EXPECT_GT(files, 30u);
}

TEST_F(Tracing, ALogKeepsTheStatedNumberOfFiles) {
    std::filesystem::create_directories(At(L"logs"));
    for (const wchar_t* other : {L"app.000000007.log", L"app.000000003.log", L"app.20240101.log", L"app.other.log"}) {
        Put(std::wstring(L"logs\\") + other, "");
    }
    TraceEventContext context;
    const auto write = [&](CTraceListener& listener, int count) {
        for (int i = 0; i < count; ++i) {
            listener.TraceEvent(context, L"s", Information, 0, std::to_wstring(i).c_str());
        }
    };
    const auto names = [&] {
        std::set<std::string> all;
        for (const auto& file : std::filesystem::directory_iterator(At(L"logs"))) {
            all.insert(file.path().filename().string());
        }
        return ::testing::PrintToString(all);
    };
    CLogWriterTraceListener three(L"l", At(L"logs\\app.log").c_str(), 1, 3); // every line starts a new file
    write(three, 6);
    EXPECT_EQ(names(),
              R"({ "app.000000011.log", "app.000000012.log", "app.20240101.log", "app.log", "app.other.log" })");
    CLogWriterTraceListener one(L"l", At(L"logs\\app.log").c_str(), 1, 1);
    {
        const HANDLE reader = ::CreateFileW(At(L"logs\\app.log").c_str(), GENERIC_READ,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        write(one, 2); // cannot be renamed while it is being read: nothing is lost
        EXPECT_EQ(GetLines(L"logs\\app.log").size(), 3u);
        ::CloseHandle(reader);
    }
    write(one, 1);
    write(three, 1); // goes to the new file
    EXPECT_EQ(GetLines(L"logs\\app.log").size(), 1u);
    {
        int writes = 0;
        const ImportHook full(
            "WriteFile", [&](HANDLE handle, const void* bytes, DWORD, DWORD* written, OVERLAPPED*) -> BOOL {
                return ++writes == 1 ? ::WriteFile(handle, bytes, 10, written, nullptr) : (*written = 0, TRUE);
            });
        ExpectError(ERROR_DISK_FULL, [&] { write(three, 1); });
    }
    CLogWriterTraceListener unlimited(L"l", At(L"logs\\app.log").c_str(), -1, 1);
    write(unlimited, 1);
    EXPECT_EQ(GetLines(L"logs\\app.log").size(), 2u) << "the next line does not go on where one was cut";
    FailingCalls calls({"CreateFileMappingW", "OpenFileMappingW", "CreateFileW", "WriteFile", "GetFileSizeEx",
                        "MoveFileExW", "MapViewOfFile", "LockFileEx", "GetFileInformationByHandle", "DeleteFileW"});
    const auto use = [&] {
        CLogWriterTraceListener listener(L"l", At(L"logs\\other.log").c_str(), 60, 2);
        write(listener, 3);
    };
    Sweep<CWin32Exception>(calls, use, [&](int, const CWin32Exception* e) {
        const std::string failed = calls.GetFailed();
        EXPECT_TRUE(e == nullptr || (e->GetError() == 1450 &&
                                     (failed == "CreateFileW" || failed == "WriteFile" || failed == "GetFileSizeEx")))
            << failed;
        EXPECT_TRUE(e != nullptr || failed != "WriteFile");
    });
}

TEST_F(Tracing, TheConsoleGetsOneCallForALine) {
    std::string all;
    BOOL isConsole = FALSE;
    const ImportHook mode("GetConsoleMode", [&](HANDLE, DWORD*) -> BOOL { return isConsole; });
    const ImportHook file("WriteFile", [&](HANDLE, const void* bytes, DWORD size, DWORD* written, OVERLAPPED*) -> BOOL {
        all += "[" + std::string(static_cast<const char*>(bytes), size) + "]";
        *written = size;
        return TRUE;
    });
    const ImportHook console("WriteConsoleW", [&](HANDLE, const void* text, DWORD size, DWORD* written, void*) -> BOOL {
        const std::wstring line(static_cast<const wchar_t*>(text), size);
        all += "(" + std::string(line.begin(), line.end()) + ")";
        *written = size;
        return TRUE;
    });
    CConsoleTraceListener listener(L"c");
    listener.TraceEvent({}, L"s", Warning, 0, L"m\u00FC");
    isConsole = TRUE;
    listener.TraceEvent({}, L"s", Warning, 0, L"m\u00FC");
    EXPECT_EQ(all,
              "[0001-01-01T00:00:00.0000000 0000 W :0 m\xC3\xBC\r\n](0001-01-01T00:00:00.0000000 0000 W :0 m\xFC\r\n)");
    all.clear();
    // Long lines in pieces, with a surrogate pair at a boundary; also if the console writes less than requested.
    std::wstring message(20'000, L'x');
    const std::size_t head = std::string("0001-01-01T00:00:00.0000000 0000 W :0 ").size();
    message.replace(7999 - head, 2, L"\xD83D\xDE00");
    listener.TraceEvent({}, L"s", Warning, 0, message.c_str());
    std::vector<std::size_t> pieces;
    for (std::size_t at = 0; at < all.size(); at = all.find(')', at) + 1) {
        pieces.push_back(all.find(')', at) - at - 1);
    }
    EXPECT_EQ(pieces, (std::vector<std::size_t>{7999, 8000, head + 20'002 - 15'999}));
}
