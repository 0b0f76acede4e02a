// The examples in the comments of the public headers, each in the surroundings that it takes for granted.
#include "Support/Crypto.h"

#include "Counter.h"
#include "ZelCore/Configuration/ConfigurationSection.h"

namespace {

#include "headers/ConfigurationElement.inc"
#include "headers/LrpcClient.inc"
#include "headers/LrpcServer.inc"

struct CMySection final : CConfigurationSection {
    CMySection() : CConfigurationSection(L"my.section") {}
    std::wstring GetTypeName() override {
        return L"My.Section";
    }
    void GetProperties(PropertyList& properties) override {
        properties.insert(properties.end(), {&m_directory, &m_largest, &m_servers});
    }
#include "headers/ConfigurationProperty.inc"
#include "headers/ConfigurationProperty2.inc"
};

const unsigned char text[] = "the same again, the same again, the same again";
const std::size_t size = sizeof text;

} // namespace

TEST(HeaderExamples, Configuration) {
    bool used = true;
    const auto Use = [&](const CMySection&) { used = true; };
    used = false;
#include "headers/Configuration.inc"
    EXPECT_FALSE(used) << "the tests have no such section";
    const std::wstring xml = L"<configuration><configSections><section name='my.section' type='My.Section'/>"
                             L"</configSections><my.section directory='D:\\'><servers>"
                             L"<server name='a' port='8080'/><server name='b'/></servers></my.section></configuration>";
    CConfiguration own = CConfigurationManager::OpenExeConfigurationBuffer(xml.data(), xml.size());
    ASSERT_TRUE(own.GetSection(L"my.section", section));
    EXPECT_EQ(section.m_directory.GetValue(), L"D:\\");
    EXPECT_EQ(section.m_largest.GetValue(), -1);
    ASSERT_EQ(section.m_servers.GetValue().size(), 2u);
    EXPECT_EQ(section.m_servers.GetValue()[L"a"]->m_port.GetValue(), 8080u);
    EXPECT_EQ(section.m_servers.GetValue()[L"b"]->m_port.GetValue(), 80u);
}

TEST(HeaderExamples, Remoting) {
    CCounterServer server;
    server.Listen();
    CCounterClient client;
    const hyper before = client.Add(0);
    EXPECT_EQ(client.Add(5), before + 5);
}

TEST(HeaderExamples, StructuredExceptionsAndSites) {
    const auto foreignCode = [] { ::RaiseException(0xE0001234, 0, 0, nullptr); };
    const auto Call = [](auto code) { code(); };
    ExpectThrow<CSEException>(
        [&] {
#include "headers/SEException.inc"
        },
        {.code = 0xE0001234});
    try {
#include "headers/ThrowSite.inc"
    } catch (const CArgumentNullException& e) {
        EXPECT_STREQ(e.GetMethod(), L"ZelCore::IO::CMemoryStream::Read");
    }
    const int tries = 3;
#include "headers/TraceSource.inc"
}

struct HeaderExamplesWithFiles : FolderTest {
    void SetUp() override {
        FolderTest::SetUp();
        ::GetCurrentDirectoryW(MAX_PATH, m_before);
        ::SetCurrentDirectoryW(At(L"").c_str());
    }
    void TearDown() override {
        ::SetCurrentDirectoryW(m_before);
        FolderTest::TearDown();
    }
    wchar_t m_before[MAX_PATH] = {};
};

TEST_F(HeaderExamplesWithFiles, Streams) {
    {
#include "headers/DeflateStream.inc"
    } EXPECT_EQ(Get(L"notes.txt.gz").substr(0, 2), "\x1F\x8B");
    {
        {
            CReadOnlyRefMemoryStream file(text, size);
#include "headers/ZipArchive.inc"
        }
        EXPECT_EQ(CZipArchive(L"logs.zip", ZipArchiveMode::Read).GetEntryNames().at(0), L"logs/today.txt");
    }
    {
        CFileStream file(L"secret", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0);
#include "headers/CryptoStream.inc"
        EXPECT_EQ(file.GetLength(), 48);
    }
    {
        CReadOnlyRefMemoryStream file(text, size);
#include "headers/HashAlgorithm.inc"
        EXPECT_EQ(digest.size(), 32u);
    }
    const SecureBytes key(16);
#include "headers/SymmetricAlgorithm.inc"
    EXPECT_EQ(encryptor->InputBlockSize(), 16u);
}
