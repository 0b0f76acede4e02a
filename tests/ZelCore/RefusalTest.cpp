// Every place that refuses something says so under its own name. What other tests refuse anyway is not repeated here.
#include "Support/Test.h"

#include "ZelCore/AsyncResult.h"
#include "ZelCore/Configuration/Configuration.h"
#include "ZelCore/Configuration/ConfigurationManager.h"
#include "ZelCore/DateTime.h"
#include "ZelCore/Diagnostics/Configuration/ZelDiagnosticsSection.h"
#include "ZelCore/Diagnostics/ConsoleTraceListener.h"
#include "ZelCore/Diagnostics/EventProviderTraceListener.h"
#include "ZelCore/Diagnostics/LogWriterTraceListener.h"
#include "ZelCore/Diagnostics/SourceSwitchManager.h"
#include "ZelCore/Diagnostics/TraceSource.h"
#include "ZelCore/Duration.h"
#include "ZelCore/Environment.h"
#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/Remoting/AccessToken.h"
#include "ZelCore/ResourceManager.h"
#include "ZelCore/Security/Cryptography/Aes.h"
#include "ZelCore/Security/Cryptography/CryptoStream.h"
#include "ZelCore/Security/Cryptography/HashAlgorithm.h"
#include "ZelCore/Security/Cryptography/PrivateKeyInfo.h"
#include "ZelWin32/ComInitGuard.h"
#include "ZelWin32/OperatingSystem.h"
#include "ZelWin32/PEModule.h"

using namespace ZelCore::Configuration;
using namespace ZelCore::Diagnostics;
using namespace ZelCore::IO::Compression;
using namespace ZelCore::Security::Cryptography;

namespace {

/// What is refused, and under which name; the parameter where an argument is at fault.
struct Refusal {
    const wchar_t* method;
    const wchar_t* parameter;
    std::function<void()> action;
};

void ExpectRefused(const std::vector<Refusal>& rows) {
    for (const Refusal& row : rows) {
        SCOPED_TRACE(row.method);
        try {
            row.action();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const CException& e) {
            EXPECT_EQ(std::wstring(e.GetMethod()), row.method);
            const auto* const argument = dynamic_cast<const CArgumentException*>(&e);
            EXPECT_EQ(std::wstring(argument != nullptr ? argument->GetParamName() : L""), row.parameter);
        }
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
    const auto log = [](const wchar_t* file, std::int64_t size, unsigned files) {
        CLogWriterTraceListener(L"log", file, size, files);
    };
    ExpectRefused({
        {L"ZelCore::Configuration::CConfiguration::CConfiguration", L"document", [] { CConfiguration(nullptr, L""); }},
        {L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener", L"fileName",
         [&] { log(nullptr, -1, 1); }},
        {L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener", L"maximumFileSize",
         [&] { log(L"x", 0, 1); }},
        {L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener", L"maximumNumberOfFiles",
         [&] { log(L"x", -1, 0); }},
        {L"ZelCore::Diagnostics::CLogWriterTraceListener::CLogWriterTraceListener", L"",
         [&] { log(L"%LOGDIRECTORY%\\x", -1, 1); }}, // there is none
        {L"ZelCore::Diagnostics::CSourceSwitchManager::GetSourceSwitch", L"switchName",
         [] { CSourceSwitchManager::GetSourceSwitch(nullptr); }},
        {L"ZelCore::Diagnostics::CTraceListener::CTraceListener", L"name", [] { CConsoleTraceListener{nullptr}; }},
        {L"ZelCore::Diagnostics::CEventProviderTraceListener::CEventProviderTraceListener", L"provider",
         [] { CEventProviderTraceListener(L"etw", nullptr); }},
        {L"ZelCore::Diagnostics::CTraceSource::CTraceSource", L"name", [] { CTraceSource{nullptr}; }},
        {L"ZelCore::Diagnostics::CTraceSource::AddTraceListener", L"listener",
         [] { CTraceSource(L"Refusals").AddTraceListener(nullptr); }},
        {L"ZelCore::CEnvironment::ExpandEnvironmentVariables", L"text",
         [] { CEnvironment::ExpandEnvironmentVariables(nullptr); }},
        {L"ZelCore::CDuration::ToTimeSpan", L"seconds",
         [] { CDuration(0, 0, 0, 0, 0, 1e17).ToTimeSpan(CDateTime::MinValue); }},
        {L"ZelCore::CResourceManager::GetStream", L"name", [] { CResourceManager(nullptr).GetStream(nullptr, L"x"); }},
        {L"ZelCore::CResourceManager::GetStream", L"type", [] { CResourceManager(nullptr).GetStream(L"x", nullptr); }},
        {L"ZelCore::Security::Cryptography::CCryptoApiTransform::TransformFinalBlock", L"inputCount",
         [&] { encryptor->TransformFinalBlock(&byte, Beyond32Bits); }},
        {L"ZelCore::Security::Cryptography::CCryptoStream::Read", L"buffer",
         [&] { CCryptoStream(stream, *encryptor, CryptoStreamMode::Read).Read(nullptr, 1); }},
        {L"ZelCore::Security::Cryptography::CHashAlgorithm::TransformFinalBlock", L"inputBuffer",
         [&] { sha.TransformFinalBlock(nullptr, 1); }},
        {L"ZelCore::Security::Cryptography::CPrivateKeyInfo::Create", L"bits",
         [] { CPrivateKeyInfo(L"Refusals").Create(0x10000); }},
        {L"ZelCore::Security::Cryptography::CPublicKeyInfo::CPublicKeyInfo", L"size",
         [&] { CPublicKeyInfo(&byte, Beyond32Bits); }},
        {L"ZelCore::Security::Cryptography::CSymmetricAlgorithm::SetKey", L"key",
         [&] { static_cast<CSymmetricAlgorithm&>(aes).CSymmetricAlgorithm::SetKey({}); }},
        {L"ZelWin32::CPEModule::Load", L"", [] { ZelWin32::CPEModule::Load(L"no such module"); }},
    });
}

TEST_F(FolderTest, AnArchiveThatWasMovedFromRefusesEverything) {
    CZipArchive archive(At(L"a.zip").c_str(), ZipArchiveMode::Create);
    TestStream stream;
    const unsigned char byte = 0;
    archive.AddEntry(L"e", &byte, 1, false);
    const std::wstring name = L"ZelCore::IO::Compression::CZipArchive::";
    const std::wstring add = name + L"AddEntry", update = name + L"UpdateEntry";
    ExpectRefused({{update.c_str(), L"data", [&] { archive.UpdateEntry(L"e", nullptr, 1); }}});
    const CZipArchive other(std::move(archive));
    ExpectRefused({{(name + L"GetEntry").c_str(), L"", [&] { archive.GetEntry(L"e"); }},
                   {add.c_str(), L"", [&] { archive.AddEntry(L"f", stream, true); }},
                   {add.c_str(), L"", [&] { archive.AddEntry(L"f", &byte, 1, true); }},
                   {update.c_str(), L"", [&] { archive.UpdateEntry(L"e", stream); }},
                   {update.c_str(), L"", [&] { archive.UpdateEntry(L"e", &byte, 1); }},
                   {(name + L"DeleteEntry").c_str(), L"", [&] { archive.DeleteEntry(L"e"); }}});
}

TEST(Refusals, OfTheSystemSurfaceWhereTheyHappen) {
    const ZelWin32::CComInitGuard com;
    const std::wstring xml =
        L"<configuration><configSections><sectionGroup name='zel'><section name='zel.diagnostics' type="
        L"'Zel.Core.Diagnostics.Configuration.ZelDiagnosticsSection,Zel.Core'/></sectionGroup></configSections>"
        L"<zel><zel.diagnostics logDirectory='%x%'/></zel></configuration>";
    ATL::CAccessToken token;
    HANDLE handle = nullptr;
    ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &handle));
    token.Attach(handle);
    const CDateTime local(CDateTime::UtcNow().GetTicks(), DateTimeKind::Local);
    const auto print = [] { CConsoleTraceListener(L"c").TraceEvent({}, L"s", TraceEventType::Error, 0, L"m"); };
    struct Row {
        std::vector<SystemCall> calls;
        const wchar_t* method;
        std::function<void()> action;
    };
    const std::vector<Row> rows = {
        {{{"SetEvent"}},
         L"ZelCore::CAsyncResult::GetWaitHandle",
         [] {
             CAsyncResultT<int> result(nullptr, nullptr);
             result.SetAsCompleted(false);
             result.GetWaitHandle();
         }},
        {{{"GetTimeZoneInformation", TIME_ZONE_ID_INVALID}, {"SystemTimeToTzSpecificLocalTime"}},
         L"`anonymous-namespace'::GetTimeZoneString",
         [&] { local.ToString(L"o", LOCALE_INVARIANT); }},
        {{{"ExpandEnvironmentStringsW"}},
         L"ZelCore::Diagnostics::Configuration::CZelDiagnosticsSection::GetLogDirectoryExpanded",
         [&] {
             CConfiguration file = CConfigurationManager::OpenExeConfigurationBuffer(xml.data(), xml.size());
             Diagnostics::Configuration::CZelDiagnosticsSection section;
             ASSERT_TRUE(file.GetSection(L"zel/zel.diagnostics", section));
             EXPECT_EQ(section.GetLogDirectoryExpanded(), L"%x%");
         }},
        {{{"WriteFile"}}, L"ZelCore::Diagnostics::CConsoleTraceListener::TraceEvent", print},
        {{{"WriteConsoleW"}},
         L"ZelCore::Diagnostics::CConsoleTraceListener::TraceEvent",
         [&] {
             const ImportHook console("GetConsoleMode", [](HANDLE, DWORD*) -> BOOL { return TRUE; });
             print();
         }},
        {{{"OpenThreadToken"}}, L"ZelCore::CEnvironment::GetUserSid", [] { CEnvironment::GetUserSid(); }},
        {{{"GetComputerNameExW"}}, L"ZelCore::CEnvironment::GetMachineName", [] { CEnvironment::GetMachineName(0); }},
        {{{"LoadResource"}},
         L"ZelCore::CResourceManager::GetStream",
         [] { CResourceManager(::GetModuleHandleW(L"ZelCore.dll")).GetStream(L"#1", L"#16"); }},
        {{{"CoInitializeEx", 0x8000FFFF}},
         L"ZelWin32::CComInitGuard::CComInitGuard",
         [] { ZelWin32::CComInitGuard(); }},
        {{{"GetVersionExW"}},
         L"ZelWin32::COperatingSystem::GetVersion",
         [] { ZelWin32::COperatingSystem::GetVersion(); }},
        {{{"GetTokenInformation"}}, L"ATL::CAccessToken::GetUserSid", [&] { token.GetUserSid(); }},
        {{{"LookupAccountSidW"}}, L"ATL::CAccessToken::GetUserAndDomain", [&] { token.GetUserAndDomain(); }},
        {{{"GetTokenInformation"}},
         L"ATL::CAccessToken::IsMember",
         [&] {
             token.IsMember({1, 2, 3});
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.method);
        FailingCalls calls(row.calls);
        Sweep([&](int n) {
            calls.FailOn(n);
            try {
                row.action();
                EXPECT_EQ(calls.GetFailed(), nullptr) << "the failure went unnoticed";
            } catch (const CException& e) {
                EXPECT_EQ(std::wstring(e.GetMethod()), row.method) << n;
            }
            return calls.GetFailed() != nullptr;
        });
    }
}
