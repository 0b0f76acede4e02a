#include "Support/Test.h"

namespace {

constexpr auto Read = ZipArchiveMode::Read;
constexpr auto Create = ZipArchiveMode::Create;
constexpr auto Update = ZipArchiveMode::Update;
using Contents = std::map<std::wstring, std::string>;

const Failure InvalidArchive{.message = L"Invalid ZIP archive"};

/// An archive of one stored entry "a" with the data "hello", a comment and an extra field, in pieces to bend.
struct RawArchive {
    std::string extra = std::string("\x01\x02\x01\0x", 5);
    std::string comment = "archive comment";
    std::string name = "a";
    std::string data = "hello";
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t localSize = 5;
    std::uint32_t centralSize = 5;
    std::uint16_t copies = 1; ///< how often the central directory holds the entry

    static std::string Number(std::uint32_t value, int size) {
        std::string bytes;
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
        return bytes;
    }
    std::string Fields(std::uint32_t size) const {
        return Number(flags, 2) + Number(method, 2) + Number(0x5921'6000, 4) + Number(0x3610A686, 4) + Number(size, 4) +
               Number(5, 4) + Number(static_cast<std::uint32_t>(name.size()), 2) +
               Number(static_cast<std::uint32_t>(extra.size()), 2);
    }
    std::string Build() const {
        const std::string local = "PK\3\4" + Number(20, 2) + Fields(localSize) + name + extra + data;
        std::string central;
        for (int i = 0; i < copies; ++i) {
            central += "PK\1\2" + Number(63, 2) + Number(20, 2) + Fields(centralSize) + Number(3, 2) + Number(0, 4) +
                       Number(0x20, 4) + Number(0, 4) + name + extra + "c.c";
        }
        return local + central + "PK\5\6" + Number(0, 4) + Number(copies, 2) + Number(copies, 2) +
               Number(static_cast<std::uint32_t>(central.size()), 4) +
               Number(static_cast<std::uint32_t>(local.size()), 4) +
               Number(static_cast<std::uint32_t>(comment.size()), 2) + comment;
    }
};

class ZipArchive : public FolderTest {
protected:
    std::wstring Path() const {
        return At(L"test.zip");
    }
    static std::string ReadEntry(const CZipArchive& archive, const wchar_t* name) {
        return ReadAll(archive.GetEntry(name)->GetStream());
    }
    Contents ReadArchive() const {
        const CZipArchive archive(Path().c_str(), Read);
        Contents contents;
        for (const std::wstring& name : archive.GetEntryNames()) {
            contents[name] = name.empty() ? "" : ReadEntry(archive, name.c_str());
        }
        return contents;
    }
    void CreateArchive(const Contents& contents, bool compress = true) const {
        CZipArchive archive(Path().c_str(), Create);
        for (const auto& [name, text] : contents) {
            archive.AddEntry(name.c_str(), Bytes(text), text.size(), compress);
        }
    }
    void ExpectNoArchive(const std::string& bytes, ZipArchiveMode mode = Read) const {
        Put(L"test.zip", bytes);
        ExpectThrow<CInvalidOperationException>([&] { CZipArchive(Path().c_str(), mode); }, InvalidArchive);
        EXPECT_EQ(Get(L"test.zip"), bytes);
    }
};

} // namespace

TEST_F(ZipArchive, KeepsEntriesThroughCreateReadAndUpdate) {
    const Contents contents = {{L"empty", ""},
                               {L"Folder/text.txt", MakeText(50'000)},
                               {L"\u00DCn\u00EFc\u00F6d\u00E9 \u6570\u636E.txt", "\x01\x02\x03"}};
    for (const bool compress : {true, false}) {
        {
            CZipArchive archive(Path().c_str(), Create);
            for (const auto& [name, text] : contents) {
                TestStream source(text);
                source.largestRead = 999;
                archive.AddEntry(name.c_str(), source, compress);
            }
            EXPECT_EQ(ReadEntry(archive, L"FOLDER/TEXT.TXT"), contents.at(L"Folder/text.txt")) << "while staged";
        } // the destructor writes
        EXPECT_EQ(ReadArchive(), contents);
        EXPECT_TRUE(CZipArchive::IsArchive(Path().c_str()));
        {
            CZipArchive archive(Path().c_str(), Update);
            archive.UpdateEntry(L"folder/TEXT.txt", Bytes("new"), 3);
            archive.DeleteEntry(L"EMPTY");
            TestStream source("added");
            archive.AddEntry(L"zzz", source, !compress);
            EXPECT_EQ(archive.GetEntryNames().front(), L"folder/TEXT.txt") << "the spelling of the update";
        }
        Contents updated = contents;
        updated.erase(L"empty");
        updated.erase(L"Folder/text.txt");
        updated[L"folder/TEXT.txt"] = "new";
        updated[L"zzz"] = "added";
        EXPECT_EQ(ReadArchive(), updated);
        const CZipArchive archive(Path().c_str(), Read);
        const auto entry = archive.GetEntry(L"Folder/text.txt");
        EXPECT_EQ(entry->GetUncompressedSize(), 3u);
        EXPECT_EQ(entry->GetCompressedSize(), compress ? 5u : 3u) << "the method stays";
        EXPECT_EQ(archive.GetEntry(L"missing"), nullptr);
    }
}

TEST_F(ZipArchive, WritesTheRecordsByteForByte) {
    SYSTEMTIME now = {2024, 2, 0, 29, 13, 14, 15, 0}; // UTC
    const ImportHook hook("GetSystemTimeAsFileTime",
                          [&](FILETIME* time) -> void { ::SystemTimeToFileTime(&now, time); });
    CreateArchive({{L"a", "hello"}}, false);
    const std::string times = RawArchive::Number(0x585D69C7, 4);
    const std::string fields = RawArchive::Number(0, 4) + times + RawArchive::Number(0x3610A686, 4) +
                               RawArchive::Number(5, 4) + RawArchive::Number(5, 4) + RawArchive::Number(1, 4);
    EXPECT_EQ(Get(L"test.zip"), "PK\3\4" + RawArchive::Number(10, 2) + fields + "ahello" + "PK\1\2" +
                                    RawArchive::Number(10, 2) + RawArchive::Number(10, 2) + fields +
                                    std::string(14, '\0') + "a" + "PK\5\6" + std::string(4, '\0') +
                                    RawArchive::Number(0x10001, 4) + RawArchive::Number(47, 4) +
                                    RawArchive::Number(36, 4) + std::string(2, '\0'));
    for (const auto& [year, expected] : {std::pair<WORD, std::uint32_t>{1970, 0x00210000}, {2500, 0xFF9FBF7D}}) {
        now = {year, 1, 0, 1, 0, 0, 0, 0};
        CreateArchive({{L"a", ""}});
        EXPECT_EQ(Get(L"test.zip").substr(10, 4), RawArchive::Number(expected, 4));
    }
}

TEST_F(ZipArchive, AnEmptyArchiveIsOneEndRecord) {
    CZipArchive(Path().c_str(), Create);
    EXPECT_EQ(Get(L"test.zip"), std::string("PK\5\6", 4) + std::string(18, '\0'));
    EXPECT_TRUE(CZipArchive::IsArchive(Path().c_str()));
    Put(L"three", "PK\5");
    EXPECT_FALSE(CZipArchive::IsArchive(At(L"three").c_str()));
    EXPECT_FALSE(CZipArchive::IsArchive(At(L"missing").c_str()));
    EXPECT_FALSE(CZipArchive::IsArchive(At(L"tmp").c_str()));
    Put(L"text", "plain");
    EXPECT_FALSE(CZipArchive::IsArchive(At(L"text").c_str()));
    ExpectNull(L"filePath", [] { CZipArchive::IsArchive(nullptr); });
}

TEST_F(ZipArchive, SavesAgainWhereTheModeSaysSo) {
    {
        CZipArchive archive(Path().c_str(), Create);
        archive.AddEntry(L"a", Bytes("hello"), 5, false);
        archive.Flush();
        EXPECT_EQ(std::filesystem::file_size(Path()), 105u);
    }
    EXPECT_EQ(Get(L"test.zip").size(), 210u) << "a second copy behind the first";
    EXPECT_EQ(ReadArchive(), (Contents{{L"a", "hello"}}));
    {
        CZipArchive archive(Path().c_str(), Update);
        EXPECT_EQ(ReadEntry(archive, L"a"), "hello"); // moves the position
        archive.Flush();
        archive.Flush();
    }
    EXPECT_EQ(Get(L"test.zip").size(), 105u) << "written anew from the beginning";
    CZipArchive moved = CZipArchive(Path().c_str(), Update);
    CZipArchive other(At(L"other.zip").c_str(), Create);
    moved.DeleteEntry(L"a");
    moved = std::move(other); // saves the first
    EXPECT_EQ(Get(L"test.zip").size(), 22u);
    ExpectInvalid(L"The handle is invalid", [&] { other.Flush(); });
    ExpectInvalid(L"The handle is invalid", [&] { other.GetEntryNames(); });
}

TEST_F(ZipArchive, KeepsWhatItDoesNotUnderstand) {
    RawArchive raw;
    raw.name = "\xFFz"; // no UTF-8
    // The flag of sizes behind the data goes with them, except that it tells how an encrypted entry's password is
    // checked.
    const std::pair<std::uint16_t, std::uint16_t> flags[] = {{1 << 3, 0}, {1, 1}, {1 << 3 | 1, 1 << 3 | 1}};
    for (const auto& [before, after] : flags) {
        raw.flags = before;
        Put(L"test.zip", raw.Build());
        EXPECT_EQ(ReadArchive(), (Contents{{L"\uFFFDz", "hello"}}));
        CZipArchive(Path().c_str(), Update);
        raw.flags = after;
        EXPECT_EQ(Get(L"test.zip"), raw.Build());
    }
    for (std::size_t length = 0; length < 200; ++length) { // the end record at every distance from the end
        raw.comment = std::string(length, 'P');
        Put(L"test.zip", raw.Build());
        EXPECT_NO_THROW(ReadArchive()) << length;
        const std::string empty = std::string("PK\5\6", 4) + std::string(16, '\0') +
                                  RawArchive::Number(static_cast<std::uint32_t>(length), 2) + raw.comment;
        Put(L"test.zip", empty);
        EXPECT_EQ(ReadArchive().size(), 0u) << length;
    }
    raw.comment = std::string(65'535, 'K');
    Put(L"test.zip", raw.Build());
    EXPECT_EQ(ReadArchive().size(), 1u);
    raw.name = "";
    Put(L"test.zip", raw.Build());
    EXPECT_EQ(ReadArchive(), (Contents{{L"", ""}}));
}

TEST_F(ZipArchive, RefusesWhatASaveWouldLose) {
    RawArchive twice;
    twice.copies = 2;
    ExpectNoArchive(twice.Build(), Update);
    EXPECT_EQ(ReadArchive().size(), 1u) << "the first one is there to read";
    RawArchive streamed;
    streamed.localSize = 0;
    streamed.method = 8;
    const std::string bytes = Put(L"test.zip", streamed.Build());
    EXPECT_EQ(ReadArchive(), (Contents{{L"a", ""}}));
    const Failure invalid{.message = L"Invalid ZIP entry 'a'", .method = L"CZipArchive::impl::EnsureEntriesLoaded"};
    ExpectThrow<CInvalidOperationException>([&] { CZipArchive(Path().c_str(), Update); }, invalid);
    EXPECT_EQ(Get(L"test.zip"), bytes);
    RawArchive cut;
    cut.localSize = cut.centralSize = 100'000;
    Put(L"test.zip", cut.Build());
    ExpectThrow<CInvalidOperationException>([&] { CZipArchive(Path().c_str(), Update); }, invalid);
    EXPECT_EQ(Get(L"test.zip"), cut.Build());
}

TEST_F(ZipArchive, ChecksNamesInOrder) {
    CreateArchive({{L"a", "hello"}});
    CZipArchive reading(Path().c_str(), Read);
    CZipArchive archive(At(L"new.zip").c_str(), Create);
    archive.AddEntry(L"B", Bytes("x"), 1, true);
    TestStream source;
    using Call = std::function<void(CZipArchive&, const wchar_t*)>;
    const Call calls[] = {
        [&](CZipArchive& zip, const wchar_t* name) { zip.AddEntry(name, source, true); },
        [&](CZipArchive& zip, const wchar_t* name) { zip.AddEntry(name, Bytes("x"), 1, true); },
        [&](CZipArchive& zip, const wchar_t* name) { zip.UpdateEntry(name, source); },
        [&](CZipArchive& zip, const wchar_t* name) { zip.UpdateEntry(name, Bytes("x"), 1); },
        [&](CZipArchive& zip, const wchar_t* name) { zip.DeleteEntry(name); },
        [&](CZipArchive& zip, const wchar_t* name) { zip.GetEntry(name); },
    };
    for (const Call& call : calls) {
        for (CZipArchive* zip : {&reading, &archive}) {
            ExpectNull(L"entryName", [&] { call(*zip, nullptr); });
            ExpectThrow<CArgumentException>([&] { call(*zip, L""); }, {.message = L"'': parameter name: 'entryName'"});
        }
        if (&call != &calls[5]) {
            ExpectInvalid(L"Cannot modify read-only archive", [&] { call(reading, L"a"); });
        }
    }
    ExpectInvalid(L"Cannot modify read-only archive", [&] { reading.Flush(); });
    const wchar_t* messages[] = {L"Entry 'b' already exists", L"Cannot update non-existent entry 'c'",
                                 L"Cannot delete non-existent entry 'c'"};
    for (const int i : {0, 1, 2, 3, 4}) {
        ExpectArgument(L"entryName", [&] { calls[i](archive, i < 2 ? L"b" : L"c"); }, {.contains = messages[i / 2]});
    }
    ExpectNull(L"data", [&] { archive.AddEntry(L"n", nullptr, 1, true); });
    archive.AddEntry(L"n", nullptr, 0, true);
    for (const std::wstring& tooLong : {std::wstring(65'536, L'a'), std::wstring(30'000, L'\u6570')}) {
        ExpectArgument(L"entryName", [&] { archive.AddEntry(tooLong.c_str(), nullptr, 0, true); });
    }
    archive.AddEntry(std::wstring(65'535, L'a').c_str(), nullptr, 0, false);
    ExpectNull(L"fileName", [] { CZipArchive(nullptr, Create); });
    ExpectThrow<CInvalidOperationException>([&] { archive.AddEntry(L"huge", Bytes("x"), 0x1'0000'0000, false); },
                                            {.contains = L"ZIP entry 'huge' is larger than 4294967295 bytes"});
}

TEST_F(ZipArchive, TheWindowOnAnEntryIsReadOnly) {
    CreateArchive({{L"a", "hello"}, {L"b", "world"}}, false);
    const CZipArchive archive(Path().c_str(), Read);
    const auto entry = archive.GetEntry(L"a");
    CStream& window = entry->GetStream();
    const std::wstring method = L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::";
    ExpectThrow<CNotSupportedException>([&] { window.Flush(); },
                                        {.message = L"", .method = (method + L"Flush").c_str()});
    ExpectThrow<CNotSupportedException>([&] { window.Seek(0, SeekOrigin::Begin); },
                                        {.method = (method + L"Seek").c_str()});
    ExpectThrow<CNotSupportedException>([&] { window.Write(nullptr, 0); }, {.method = (method + L"Write").c_str()});
    EXPECT_EQ(window.GetLength(), 5);
    EXPECT_EQ(static_cast<unsigned>(window.GetCapabilities()), 5u);
    unsigned char buffer[100];
    EXPECT_EQ(window.Read(buffer, 2), 2u);
    EXPECT_EQ(window.GetPosition(), 2);
    EXPECT_EQ(ReadEntry(archive, L"b"), "world"); // moves the position behind the window
    EXPECT_EQ(window.Read(buffer, 100), 0u);
    archive.GetEntry(L"a"); // and back in front of its data
    EXPECT_EQ(window.Read(buffer, SIZE_MAX), 5u);
}

TEST_F(ZipArchive, DamagedArchivesAreReportedOrHarmless) {
    CreateArchive({{L"a", "hello hello hello"}, {L"b", ""}}, true);
    const std::string bytes = Get(L"test.zip") + "";
    const auto open = [&](const std::string& damaged) {
        Put(L"test.zip", damaged);
        try {
            ReadArchive();
        } catch (const CException&) { // of the family, whatever it is
        }
        for (const bool flush : {false, true}) {
            Put(L"test.zip", damaged);
            try {
                CZipArchive archive(Path().c_str(), Update);
                if (flush) {
                    archive.Flush();
                }
            } catch (const CException&) {
                EXPECT_EQ(Get(L"test.zip"), damaged) << "a refused archive stays as it is";
            }
        }
        EXPECT_TRUE(IsTemporaryFolderEmpty());
    };
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        open(bytes.substr(0, length));
        ExpectNoArchive(bytes.substr(0, length));
    }
    ForEachFlip(bytes, {0x01, 0xFF}, open);
    RawArchive raw;
    const std::size_t localSignature = 2;
    std::string bad = raw.Build();
    bad[localSignature] = 'x';
    Put(L"test.zip", bad);
    ExpectInvalid(L"Invalid ZIP entry 'a'", [&] { ReadArchive(); },
                  {.method = L"Compression::`anonymous-namespace'::CLocalFileHeader::Read"});
}
