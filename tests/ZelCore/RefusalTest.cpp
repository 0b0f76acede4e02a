// Every method that rejects an argument or a state reports its own name. Cases covered by other tests are not repeated.
#include "Support/Crypto.h"

namespace {

/// The exception must contain this method and, for an invalid argument, the name of the parameter.
template <class Action> void ExpectRefused(const wchar_t* method, const wchar_t* parameter, const Action& action) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown by " << std::wstring(method);
    } catch (const CException& e) {
        EXPECT_TRUE(IsMethod(e.GetMethod(), method)) << std::wstring(e.GetMethod());
        const auto* const argument = dynamic_cast<const CArgumentException*>(&e);
        EXPECT_EQ(std::wstring(argument != nullptr ? argument->GetParamName() : L""), parameter);
    }
}

constexpr std::size_t Beyond32Bits = std::size_t{1} << 32;

} // namespace

TEST(Refusals, OfArgumentsNameMethodAndParameter) {
    const unsigned char byte = 0;
    std::vector<unsigned char> bytes;
    CAes aes;
    CHashAlgorithm sha(0x8004);
    TestStream stream;
    const auto encryptor = aes.CreateEncryptor();
    const wchar_t* const writer = L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener";
    const auto log = [](const wchar_t* file, std::int64_t size, unsigned files) {
        CLogWriterTraceListener(L"log", file, size, files);
    };
    ExpectRefused(L"CConfiguration", L"document", [] { CConfiguration(nullptr, L""); });
    ExpectRefused(writer, L"fileName", [&] { log(nullptr, -1, 1); });
    ExpectRefused(writer, L"maximumFileSize", [&] { log(L"x", 0, 1); });
    ExpectRefused(writer, L"maximumNumberOfFiles", [&] { log(L"x", -1, 0); });
    ExpectRefused(writer, L"", [&] { log(L"%LOGDIRECTORY%\\x", -1, 1); }); // there is none
    ExpectRefused(L"CSourceSwitchManager::GetSourceSwitch", L"switchName",
                  [] { CSourceSwitchManager::GetSourceSwitch(nullptr); });
    ExpectRefused(L"CTraceListener", L"name", [] { CConsoleTraceListener{nullptr}; });
    ExpectRefused(L"CEventProviderTraceListener", L"provider", [] { CEventProviderTraceListener(L"etw", nullptr); });
    ExpectRefused(L"CTraceSource", L"name", [] { CTraceSource{nullptr}; });
    ExpectRefused(L"CTraceSource::AddTraceListener", L"listener",
                  [] { CTraceSource(L"Refusals").AddTraceListener(nullptr); });
    ExpectRefused(L"CEnvironment::ExpandEnvironmentVariables", L"text",
                  [] { CEnvironment::ExpandEnvironmentVariables(nullptr); });
    ExpectRefused(L"CDuration::ToTimeSpan", L"seconds",
                  [] { CDuration(0, 0, 0, 0, 0, 1e17).ToTimeSpan(CDateTime::MinValue); });
    ExpectRefused(L"CResourceManager::GetStream", L"name", [] { CResourceManager(nullptr).GetStream(nullptr, L"x"); });
    ExpectRefused(L"CResourceManager::GetStream", L"type", [] { CResourceManager(nullptr).GetStream(L"x", nullptr); });
    ExpectRefused(L"CCryptoApiTransform::TransformFinalBlock", L"inputCount",
                  [&] { encryptor->TransformFinalBlock(&byte, Beyond32Bits); });
    ExpectRefused(L"CCryptoStream::Read", L"buffer",
                  [&] { CCryptoStream(stream, *encryptor, CryptoStreamMode::Read).Read(nullptr, 1); });
    ExpectRefused(L"CHashAlgorithm::TransformFinalBlock", L"inputBuffer", [&] { sha.TransformFinalBlock(nullptr, 1); });
    ExpectRefused(L"CPrivateKeyInfo::Create", L"bits", [] { CPrivateKeyInfo(L"Refusals").Create(0x10000); });
    ExpectRefused(L"CPublicKeyInfo", L"size", [&] { CPublicKeyInfo(&byte, Beyond32Bits); });
    ExpectRefused(L"CSymmetricAlgorithm::SetKey", L"key",
                  [&] { static_cast<CSymmetricAlgorithm&>(aes).CSymmetricAlgorithm::SetKey({}); });
    ExpectRefused(L"CPEModule::Load", L"", [] { CPEModule::Load(L"no such module"); });
}

TEST(Refusals, OfTheSystemSurfaceWhereTheyHappen) {
    const CComInitGuard com;
    const std::wstring xml =
        L"<configuration><configSections><sectionGroup name='zel'><section name='zel.diagnostics' type="
        L"'Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core'/></sectionGroup></configSections>"
        L"<zel><zel.diagnostics logDirectory='%x%'/></zel></configuration>";
    ATL::CAccessToken token;
    HANDLE handle = nullptr;
    ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE, &handle));
    token.Attach(handle);
    const CDateTime local(CDateTime::UtcNow().GetTicks(), DateTimeKind::Local);
    const auto print = [] { CConsoleTraceListener(L"c").TraceEvent({}, L"s", TraceEventType::Error, 0, L"m"); };
    const auto expectAt = [](const wchar_t* method, const std::vector<SystemCall>& failing, const auto& action) {
        SCOPED_TRACE(method);
        FailingCalls calls(failing);
        Sweep<CException>(calls, action, [&](int n, const CException* e) {
            EXPECT_EQ(calls.HasFailed(), e != nullptr) << "the failure went unnoticed";
            EXPECT_TRUE(e == nullptr || IsMethod(e->GetMethod(), method)) << n;
        });
    };
    expectAt(L"CAsyncResult::GetWaitHandle", {"SetEvent"}, [] {
        CAsyncResultT<int> result(nullptr, nullptr);
        result.SetAsCompleted(false);
        result.GetWaitHandle();
    });
    expectAt(L"`anonymous-namespace'::GetTimeZoneString",
             {{"GetTimeZoneInformation", TIME_ZONE_ID_INVALID}, {"SystemTimeToTzSpecificLocalTime"}},
             [&] { local.ToString(L"o", LOCALE_INVARIANT); });
    expectAt(L"CZelDiagnosticsSection::GetLogDirectoryExpanded", {"ExpandEnvironmentStringsW"}, [&] {
        CConfiguration file = CConfigurationManager::OpenExeConfigurationBuffer(xml.data(), xml.size());
        Diagnostics::Configuration::CZelDiagnosticsSection section;
        ASSERT_TRUE(file.GetSection(L"zel/zel.diagnostics", section));
        EXPECT_EQ(section.GetLogDirectoryExpanded(), L"%x%");
    });
    expectAt(L"CConsoleTraceListener::TraceEvent", {"WriteFile"}, print);
    {
        const ImportHook console("GetConsoleMode", [](HANDLE, DWORD*) -> BOOL { return TRUE; });
        ExpectFailing("WriteConsoleW", print, {.method = L"CConsoleTraceListener::TraceEvent"});
    }
    expectAt(L"CEnvironment::GetUserSid", {"OpenThreadToken"}, [] { CEnvironment::GetUserSid(); });
    expectAt(L"CEnvironment::GetMachineName", {"GetComputerNameExW"}, [] { CEnvironment::GetMachineName(0); });
    const CResourceManager library(::GetModuleHandleW(L"ZelCore.dll"));
    expectAt(L"CResourceManager::GetStream", {"LoadResource"}, [&] { library.GetStream(L"#1", L"#16"); });
    expectAt(L"CComInitGuard", {{"CoInitializeEx", 0x8000FFFF}}, [] { CComInitGuard(); });
    expectAt(L"COperatingSystem::GetVersion", {"GetVersionExW"}, [] { COperatingSystem::GetVersion(); });
    expectAt(L"CAccessToken::GetUserSid", {"GetTokenInformation"}, [&] { token.GetUserSid(); });
    expectAt(L"CAccessToken::GetUserAndDomain", {"LookupAccountSidW"}, [&] { token.GetUserAndDomain(); });
    expectAt(L"CAccessToken::IsMember", {"CheckTokenMembership"}, [&] { (void)token.IsMember(token.GetUserSid()); });
}
