#include "Support/Test.h"

TEST(Guid, TextAndBytes) {
    const wchar_t* const text = L"00112233-4455-6677-8899-aabbccddeeff";
    const CGuid guid = CGuid::Parse(text);
    EXPECT_EQ(guid.ToByteArray(), (std::vector<unsigned char>{0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88,
                                                              0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}));
    EXPECT_EQ(CGuid(guid.ToByteArray()), guid);
    for (const wchar_t* plain : {static_cast<const wchar_t*>(nullptr), L"", L"D", L"d"}) {
        EXPECT_EQ(guid.ToString(plain), text);
    }
    EXPECT_EQ(guid.ToString(L"N"), L"00112233445566778899aabbccddeeff");
    EXPECT_EQ(guid.ToString(L"b"), std::wstring(L"{") + text + L"}");
    EXPECT_EQ(guid.ToString(L"P"), std::wstring(L"(") + text + L")");
    EXPECT_EQ(CGuid::Parse(L"{00112233-4455-6677-8899-AABBCCDDEEFF and no brace"), guid);
    EXPECT_NE(CGuid::NewGuid(), CGuid::NewGuid());
    EXPECT_LT(CGuid(), guid);
}

TEST(Guid, RefusesWhatIsNone) {
    for (const wchar_t* bad : {L"x", L"DD", L"\u0144", L" "}) {
        ExpectRange(L"format", [&] { CGuid().ToString(bad); });
    }
    for (const wchar_t* bad : {L"(00112233-4455-6677-8899-aabbccddeeff)", L"00112233445566778899aabbccddeeff", L"{",
                               L"00112233-4455-6677-8899-aabbccddeef", L"00112233-4455-6677-8899-aabbccddeeff0",
                               L"0011223g-4455-6677-8899-aabbccddeeff", L"00112233-4455-6677-8899+aabbccddeeff"}) {
        ExpectArgument(L"guid", [&] { CGuid::Parse(bad); },
                       {.contains = (std::wstring(L"Invalid GUID string '") + bad + L"'").c_str()});
    }
    ExpectMessage<CArgumentException>(L"'': parameter name: 'guid'", [] { CGuid::Parse(L""); });
    ExpectNull(L"guid", [] { CGuid::Parse(nullptr); });
    for (const std::size_t size : {0u, 15u, 17u}) {
        ExpectArgument(L"guidBytes", [&] { CGuid(std::vector<unsigned char>(size)); });
    }
    ExpectFailing({"UuidCreate", 1824}, [] { CGuid::NewGuid(); });
    ExpectFailing("UuidToStringW", [] { CGuid().ToString(nullptr); });
}

TEST(Version, TextBothWays) {
    const std::tuple<const wchar_t*, int, int> rows[] = {
        {L"1.2", -1, -1}, {L"1.2.3", 3, -1}, {L"1.2.3.4", 3, 4}, {L"1.2.2147483647", INT_MAX, -1}};
    for (const auto& [text, build, revision] : rows) {
        const CVersion version(text);
        EXPECT_EQ(version.GetMajor(), 1);
        EXPECT_EQ(version.GetMinor(), 2);
        EXPECT_EQ(version.GetBuild(), build);
        EXPECT_EQ(version.GetRevision(), revision);
        const int fields = revision >= 0 ? 4 : build >= 0 ? 3 : 2;
        EXPECT_EQ(version.ToString(fields), text);
        EXPECT_EQ(version.ToString(0) + L"|" + version.ToString(1), L"|1");
        for (const int bad : {-1, fields + 1, 5}) {
            ExpectArgument(L"fieldCount", [&] { version.ToString(bad); });
        }
    }
    EXPECT_LT(CVersion(L"1.2"), CVersion(L"1.2.0"));
    EXPECT_LT(CVersion(L"1.2.9"), CVersion(1, 2, 10, 0));
    EXPECT_GT(CVersion(2, 0, 0, 0), CVersion(1, 9, 9, 9));
    EXPECT_EQ(CVersion(L"01.2.3.4"), CVersion(1, 2, 3, 4));
}

TEST(Version, RefusesWhatIsNone) {
    for (const wchar_t* bad : {L"", L"1", L"1.", L"1.2.", L".1", L"1..2", L"1.2.3.4.5", L"1.-2", L"+1.2", L" 1.2",
                               L"1.2 ", L"1.2147483648", L"99999999999999999999.1", L"1.a", L"\u0661.1"}) {
        ExpectArgument(L"version", [&] { CVersion version(bad); },
                       {.message = (L"'" + std::wstring(bad) + L"': parameter name: 'version'").c_str()});
    }
    ExpectNull(L"version", [] { CVersion version(nullptr); });
    const wchar_t* names[] = {L"major", L"minor", L"build", L"revision"};
    for (int i = 0; i < 4; ++i) {
        const int n[] = {i == 0 ? -1 : 0, i == 1 ? -1 : 0, i == 2 ? -1 : 0, i >= 2 ? -1 : 0};
        ExpectArgument(names[i], [&] { CVersion(n[0], n[1], n[2], n[3]); },
                       {.contains = L": argument is out of range, actual value was -1"});
    }
}

TEST(ResourceManager, ReadsTextsAndDataOfAModule) {
    const CResourceManager library(::GetModuleHandleW(L"ZelCore.dll"));
    EXPECT_EQ(library.GetString(60026),
              L"A read or write opearation was attempted on a mailslot opened for the opposite mode");
    EXPECT_EQ(library.GetString(60034), L"The UNC path should be of the form \\serverhare");
    ExpectThrow<CWin32Exception>([&] { library.GetString(59999); });
    ExpectThrow<CWin32Exception>([&] { library.GetStream(L"#4711", L"#16"); });
    const auto version = library.GetStream(L"#1", L"#16"); // the version information
    EXPECT_GT(version->GetLength(), 100);
    std::wstring path = ZelWin32::CPEModule::GetModuleFileNameW(nullptr);
    EXPECT_NE(path.find(L"zelcore_tests.exe"), std::wstring::npos);
    EXPECT_EQ(ZelWin32::CPEModule::GetModuleHandleOf(&path), nullptr);
    ExpectThrow<CWin32Exception>([&] { ZelWin32::CPEModule::GetModuleFileNameW(&path + 1); });
}
