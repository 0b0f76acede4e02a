#include "Support/Test.h"

namespace {

constexpr auto Read = ZipArchiveMode::Read;
constexpr auto Create = ZipArchiveMode::Create;
constexpr auto Update = ZipArchiveMode::Update;
using Contents = std::map<std::wstring, std::string>;

/// An archive with one stored entry "a" with the data "hello", a comment and an extra field, as parts that can be
/// changed.
struct RawArchive {
    std::string extra = std::string("\x01\x02\x01\0x", 5);
    std::string comment = "archive comment";
    std::string name = "a";
    std::string data = "hello";
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint16_t localMethod = 0;
    std::uint32_t localSize = 5;
    std::uint32_t centralSize = 5;
    std::uint16_t copies = 1; ///< number of copies of the entry in the central directory

    static std::string Number(std::size_t value, int size) {
        std::string bytes;
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>(value >> (8 * i));
        }
        return bytes;
    }
    std::string Fields(std::uint16_t methodHere, std::uint32_t size) const {
        return Number(flags, 2) + Number(methodHere, 2) + Number(0x5921'6000, 4) + Number(0x3610A686, 4) +
               Number(size, 4) + Number(5, 4) + Number(name.size(), 2) + Number(extra.size(), 2);
    }
    std::string Build() const {
        const std::string local = "PK\3\4" + Number(20, 2) + Fields(localMethod, localSize) + name + extra + data;
        std::string central;
        for (int i = 0; i < copies; ++i) {
            central += "PK\1\2" + Number(63, 2) + Number(20, 2) + Fields(method, centralSize) + Number(3, 2) +
                       Number(0, 4) + Number(0x20, 4) + Number(0, 4) + name + extra + "c.c";
        }
        return local + central + "PK\5\6" + Number(0, 4) + Number(copies, 2) + Number(copies, 2) +
               Number(central.size(), 4) + Number(local.size(), 4) + Number(comment.size(), 2) + comment;
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
        ExpectInvalid(L"Invalid ZIP archive", [&] { CZipArchive(Path().c_str(), mode); });
        EXPECT_EQ(Get(L"test.zip"), bytes);
    }
};

class ZipArchiveFailure : public ZipArchive {
protected:
    void SetUp() override {
        FolderTest::SetUp();
        text = MakeText(20'000);
        CZipArchive archive(Path().c_str(), Create);
        archive.AddEntry(L"a", Bytes(text), text.size(), true);
        archive.AddEntry(L"b", Bytes("stored"), 6, false);
    }

    /// Calls every operation of an archive.
    void UseAll() const {
        CZipArchive archive(Path().c_str(), Update);
        ReadSome(archive.GetEntry(L"a")->GetStream(), 100);
        TestStream source(text);
        archive.AddEntry(L"c", source, true);
        archive.UpdateEntry(L"b", Bytes(text), text.size());
        ReadSome(archive.GetEntry(L"c")->GetStream(), 100);
        archive.DeleteEntry(L"a");
        archive.Flush();
    }

    /// Runs UseAll with failing calls or allocations, and checks the postconditions.
    template <class Failing> void SweepAll(Failing& failing) {
        const std::string original = Get(L"test.zip");
        UseAll(); // initializes what is created once
        const auto check = [&](int, const CException*) {
            EXPECT_EQ(handles.Get(), 0);
            EXPECT_TRUE(IsTemporaryFolderEmpty());
            EXPECT_TRUE(rewriting || Get(L"test.zip") == original) << "changed before it was rewritten";
            Put(L"test.zip", original);
            rewriting = false;
        };
        Put(L"test.zip", original);
        rewriting = false;
        Sweep<CException>(
            failing, [&] { UseAll(); }, check);
    }

    std::string text;
    HandleBalance handles;
    bool rewriting = false;
    // Below the failing calls: a header that is not written is not a rewrite.
    const ImportHook rewrite{"WriteFile",
                             [this](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                                 rewriting = rewriting || (size > 4 && std::memcmp(data, "PK\3\4", 4) == 0);
                                 return ::WriteFile(file, data, size, written, o);
                             }};
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
                TestStream source(text, 999);
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
        Contents updated = {contents.rbegin(), std::next(contents.rbegin())}; // the remaining entries
        updated.insert({{L"folder/TEXT.txt", "new"}, {L"zzz", "added"}});
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
    const auto number = RawArchive::Number;
    const std::string fields =
        number(0, 4) + number(0x585D69C7, 4) + number(0x3610A686, 4) + number(5, 4) + number(5, 4) + number(1, 4);
    EXPECT_EQ(Get(L"test.zip"), "PK\3\4" + number(10, 2) + fields + "ahello" + "PK\1\2" + number(10, 2) +
                                    number(10, 2) + fields + std::string(14, '\0') + "a" + "PK\5\6" + number(0, 4) +
                                    number(0x10001, 4) + number(47, 4) + number(36, 4) + number(0, 2));
    for (const auto& [year, expected] : {std::pair<WORD, std::uint32_t>{1970, 0x00210000}, {2500, 0xFF9FBF7D}}) {
        now = {year, 1, 0, 1, 0, 0, 0, 0};
        CreateArchive({{L"a", ""}});
        EXPECT_EQ(Get(L"test.zip").substr(10, 4), number(expected, 4));
    }
}

TEST_F(ZipArchive, SavesAgainWhereTheModeSaysSo) {
    CZipArchive(Path().c_str(), Create);
    EXPECT_EQ(Get(L"test.zip"), std::string("PK\5\6", 4) + std::string(18, '\0'));
    EXPECT_TRUE(CZipArchive::IsArchive(Path().c_str()));
    Put(L"three", "PK\5"), Put(L"text", "plain");
    for (const wchar_t* other : {L"three", L"text", L"missing", L"tmp"}) {
        EXPECT_FALSE(CZipArchive::IsArchive(At(other).c_str())) << other;
    }
    ExpectNull(L"filePath", [] { CZipArchive::IsArchive(nullptr); });
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
    moved = std::move(other); // writes the first archive
    EXPECT_EQ(Get(L"test.zip").size(), 22u);
    ExpectInvalid(L"The handle is invalid", [&] { other.Flush(); });
    ExpectInvalid(L"The handle is invalid", [&] { other.GetEntryNames(); });
}

TEST_F(ZipArchive, KeepsWhatItDoesNotUnderstand) {
    RawArchive raw;
    raw.name = "\xFFz"; // not valid UTF-8
    // The flag of sizes after the data is removed together with them, unless it determines the password check of an
    // encrypted entry.
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
        Put(L"test.zip", "PK\5\6" + std::string(16, '\0') + RawArchive::Number(length, 2) + raw.comment);
        EXPECT_EQ(ReadArchive().size(), 0u) << length;
    }
    raw.comment = std::string(65'535, 'K');
    Put(L"test.zip", raw.Build());
    EXPECT_EQ(ReadArchive().size(), 1u);
    raw.name = "";
    Put(L"test.zip", raw.Build());
    EXPECT_EQ(ReadArchive(), (Contents{{L"", ""}}));
}

TEST_F(ZipArchive, KeepsWhatOthersLeftToTheDirectory) {
    const std::string whole = RawArchive().Build();
    RawArchive streamed; // with the sizes after the data
    streamed.localSize = 0;
    streamed.data = "helloPK\7\b\1\2\3\4\5";
    for (const std::uint16_t encrypted : {std::uint16_t{0}, std::uint16_t{1}}) {
        streamed.flags = static_cast<std::uint16_t>(1 << 3 | encrypted);
        Put(L"test.zip", streamed.Build());
        EXPECT_EQ(ReadArchive(), (Contents{{L"a", ""}}));
        CZipArchive(Path().c_str(), Update);
        RawArchive plain;
        plain.flags = encrypted != 0 ? streamed.flags : std::uint16_t{0}; // the password check depends on the flag
        EXPECT_EQ(Get(L"test.zip"), plain.Build());
    }
    const std::size_t end = whole.rfind("PK\5\6");
    std::string wrongSize = whole;
    wrongSize[end + 12] = 99;
    for (const std::string& bytes : {wrongSize, whole.substr(0, end) + "signed by nobody" + whole.substr(end)}) {
        Put(L"test.zip", bytes);
        CZipArchive(Path().c_str(), Update);
        EXPECT_EQ(Get(L"test.zip"), whole);
    }
    // The central directory is in the comment, where the rewrite would not find it.
    std::string behind = whole.substr(0, end) + whole.substr(end, 22) + whole.substr(whole.find("PK\1\2"), end);
    behind.replace(end + 16, 4, RawArchive::Number(end + 22, 4));
    ExpectNoArchive(behind, Update);
}

TEST_F(ZipArchive, StagesInEveryFolderThatTheSystemTakes) {
    const std::wstring folder = At(L"tmp\\") + std::wstring(245 - At(L"tmp\\").size(), L'x');
    std::filesystem::create_directory(L"\\\\?\\" + folder);
    ::SetEnvironmentVariableW(L"TMP", folder.c_str());
    {
        CZipArchive archive(Path().c_str(), Create);
        for (int i = 0; i < 300; ++i) {
            archive.AddEntry(std::to_wstring(i).c_str(), Bytes("hello"), 5, false);
        }
        EXPECT_EQ(ReadEntry(archive, L"299"), "hello");
    }
    EXPECT_EQ(ReadArchive().size(), 300u);
    EXPECT_TRUE(std::filesystem::remove(L"\\\\?\\" + folder)) << "it is empty";
}

TEST_F(ZipArchive, WhatIsReplacedIsFreed) {
    CZipArchive archive(Path().c_str(), Create);
    archive.AddEntry(L"a", Bytes("hello"), 5, false);
    const std::unique_ptr<CZipArchiveEntry> reading = archive.GetEntry(L"a");
    for (int i = 0; i < 100; ++i) {
        archive.UpdateEntry(L"A", Bytes("again"), 5);
    }
    EXPECT_EQ(ReadAll(reading->GetStream()), "hello");
    archive.AddEntry(L"b", Bytes("hello"), 5, false);
    archive.DeleteEntry(L"b");
    const std::filesystem::recursive_directory_iterator files(At(L"tmp"));
    EXPECT_LE(std::count_if(begin(files), end(files), [](const auto& file) { return file.is_regular_file(); }), 2);
}

TEST_F(ZipArchive, RefusesWhatASaveWouldLose) {
    RawArchive twice;
    twice.copies = 2;
    ExpectNoArchive(twice.Build(), Update);
    EXPECT_EQ(ReadArchive().size(), 1u) << "the first one is there to read";
    RawArchive streamed;
    streamed.localSize = 0;
    streamed.method = streamed.localMethod = 8;
    RawArchive cut, other, large;
    cut.localSize = cut.centralSize = 100'000;
    other.method = 8;              // its own header is correct
    large.localSize = 0xFFFF'FFFF; // with the size in an extra field
    RawArchive tooLarge;
    tooLarge.localSize = tooLarge.centralSize = 0xFFFF'FFF0;
    Put(L"test.zip", tooLarge.Build()); // rejected before the staging takes the declared disk space
    ExpectInvalid(L"Cannot save the ZIP archive: its directory lies beyond 4294967295 bytes",
                  [&] { CZipArchive(Path().c_str(), Update); });
    for (const RawArchive& raw : {streamed, cut, other}) {
        const std::string bytes = Put(L"test.zip", raw.Build());
        ExpectInvalid(L"Invalid ZIP entry 'a'", [&] { CZipArchive(Path().c_str(), Update); },
                      {.method = L"ZelCore::IO::Compression::CZipArchive::impl::EnsureEntriesLoaded"});
        EXPECT_EQ(Get(L"test.zip"), bytes);
    }
    Put(L"test.zip", streamed.Build());
    EXPECT_EQ(ReadArchive(), (Contents{{L"a", ""}}));
    for (int saves = 0; saves < 2; ++saves) { // the central directory contains the size
        Put(L"test.zip", large.Build());
        EXPECT_EQ(ReadArchive(), (Contents{{L"a", "hello"}}));
        CZipArchive(Path().c_str(), Update);
        large.localSize = 5;
        EXPECT_EQ(Get(L"test.zip"), large.Build());
    }
    large.localSize = large.centralSize = 0xFFFF'FFFF;
    Put(L"test.zip", large.Build());
    ExpectInvalid(L"Invalid ZIP entry 'a'", [&] { ReadArchive(); });
    // The last end record belongs to another archive: in the data of a truncated one, in a comment, or after the end.
    const std::string whole = RawArchive().Build(), empty = std::string("PK\5\6", 4) + std::string(18, '\0');
    RawArchive commented;
    commented.comment = empty;
    for (const std::string& bytes : {"PK\3\4" + empty + "and so on", commented.Build(), whole + empty}) {
        ExpectNoArchive(bytes, Update);
        EXPECT_EQ(ReadArchive().size(), 0u);
    }
    Put(L"test.zip", whole + whole); // its offsets do not count from its own beginning
    ExpectNoArchive(whole + whole, Update);
    const std::string end = whole.substr(whole.rfind("PK\5\6")), zip64 = "PK\6\6" + std::string(72, '\0');
    Put(L"test.zip", whole.substr(0, whole.size() - end.size()) + zip64 + end); // contains the same values again
    CZipArchive(Path().c_str(), Update);
    EXPECT_EQ(Get(L"test.zip"), whole);
}

TEST_F(ZipArchive, ASourceMayUseTheArchive) {
    CreateArchive({{L"a", "first"}});
    CZipArchive archive(Path().c_str(), Update);
    TestStream source;
    source.onRead = [&] { archive.DeleteEntry(L"a"); };
    archive.UpdateEntry(L"A", source);
    EXPECT_EQ(ReadEntry(archive, L"a"), "");
    source.onRead = [&] { archive.AddEntry(L"b", Bytes("inner"), 5, false); };
    ExpectArgument(L"entryName", [&] { archive.AddEntry(L"b", source, true); });
    EXPECT_EQ(ReadEntry(archive, L"b"), "inner");
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
            ExpectMessage<CArgumentException>(L"'': parameter name: 'entryName'", [&] { call(*zip, L""); });
        }
        if (&call != &calls[5]) {
            ExpectInvalid(L"Cannot modify read-only archive", [&] { call(reading, L"a"); });
        }
    }
    CZipArchive gone(At(L"gone.zip").c_str(), Create);
    const CZipArchive target(std::move(gone));
    for (const Call& call : calls) {
        ExpectInvalid(L"The handle is invalid", [&] { call(gone, L"a"); });
    }
    ExpectInvalid(L"Cannot modify read-only archive", [&] { reading.Flush(); });
    const wchar_t* messages[] = {L"Entry 'b' already exists", L"Cannot update non-existent entry 'c'",
                                 L"Cannot delete non-existent entry 'c'"};
    for (const int i : {0, 1, 2, 3, 4}) {
        ExpectArgument(L"entryName", [&] { calls[i](archive, i < 2 ? L"b" : L"c"); }, {.contains = messages[i / 2]});
    }
    ExpectNull(L"data", [&] { archive.AddEntry(L"n", nullptr, 1, true); });
    ExpectNull(L"data", [&] { archive.UpdateEntry(L"B", nullptr, 1); });
    archive.AddEntry(L"n", nullptr, 0, true);
    for (const std::wstring& bad :
         {std::wstring(65'536, L'a'), std::wstring(30'000, L'\u6570'), std::wstring(L"\xD800")}) {
        ExpectArgument(L"entryName", [&] { archive.AddEntry(bad.c_str(), nullptr, 0, true); });
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
    constexpr Expectation<CNotSupportedException, &Failure::method> expectRefused;
    expectRefused(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Flush",
                  [&] { window.Flush(); }, {.message = L""});
    expectRefused(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Seek",
                  [&] { window.Seek(0, SeekOrigin::Begin); });
    expectRefused(L"ZelCore::IO::Compression::`anonymous-namespace'::CReadOnlySubStream::Write",
                  [&] { window.Write(nullptr, 0); });
    EXPECT_EQ(window.GetLength(), 5);
    EXPECT_EQ(static_cast<unsigned>(window.GetCapabilities()), 5u);
    EXPECT_EQ(ReadSome(window, 2), "he");
    EXPECT_EQ(window.GetPosition(), 2);
    EXPECT_EQ(ReadEntry(archive, L"b"), "world"); // moves the position after the window
    EXPECT_EQ(ReadSome(window, 100), "");
    archive.GetEntry(L"a"); // and back before its data
    unsigned char buffer[5];
    EXPECT_EQ(window.Read(buffer, SIZE_MAX), 5u);
}

TEST_F(ZipArchive, DamagedArchivesAreReportedOrHarmless) {
    CreateArchive({{L"a", "hello hello hello"}, {L"b", ""}}, true);
    const std::string bytes = Get(L"test.zip") + "";
    const auto open = [&](const std::string& damaged) {
        Put(L"test.zip", damaged);
        try {
            ReadArchive();
        } catch (const CException&) { // any class of the family
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
    std::string bad = RawArchive().Build();
    bad[2] = 'x'; // in the signature of the entry's local header
    Put(L"test.zip", bad);
    ExpectInvalid(L"Invalid ZIP entry 'a'", [&] { ReadArchive(); },
                  {.method = L"ZelCore::IO::Compression::`anonymous-namespace'::CLocalFileHeader::Read"});
}

TEST_F(ZipArchiveFailure, TheNthFailingCallOrAllocationLeavesNothingBehind) {
    FailingCalls calls({"CreateFileW", "ReadFile", "WriteFile", "SetFilePointerEx", "GetFileSizeEx", "SetEndOfFile",
                        "FlushFileBuffers", "GetTempPathW", "GetTempFileNameW", "UuidCreate", "UuidToStringW",
                        "CreateDirectoryW", "WideCharToMultiByte", "MultiByteToWideChar", "FileTimeToDosDateTime"});
    FailingAllocations allocations;
    SweepAll(calls), SweepAll(allocations);
}

TEST_F(ZipArchiveFailure, WhatSomebodyElseDoesToTheFilesIsNoticed) {
    const auto refuse = [](const wchar_t* method, const std::function<void()>& action) {
        ExpectThrow<CInvalidOperationException>(action, {.contains = L"Invalid ZIP entry", .method = method});
    };
    {
        CZipArchive archive(Path().c_str(), Update);
        const ImportHook hook("SetFilePointerEx", [](HANDLE, LARGE_INTEGER, LARGE_INTEGER* position, DWORD) -> BOOL {
            position->QuadPart = 7777; // any other position
            return TRUE;
        });
        refuse(L"ZelCore::IO::Compression::CZipArchive::GetEntry", [&] { archive.GetEntry(L"a"); });
        refuse(L"ZelCore::IO::Compression::CZipArchive::impl::EnsureEntriesLoaded",
               [&] { archive.DeleteEntry(L"a"), archive.Flush(); });
    }
    CZipArchive archive(Path().c_str(), Create);
    archive.AddEntry(L"a", Bytes(text), text.size(), false);
    for (const auto& file : std::filesystem::recursive_directory_iterator(At(L"tmp"))) {
        if (file.is_regular_file()) {
            std::ofstream(file.path(), std::ios::app) << "more";
        }
    }
    refuse(L"CZipArchive::impl::WriteEntries", [&] { archive.Flush(); });
    archive.DeleteEntry(L"a"); // otherwise the destructor would try again
}

TEST_F(ZipArchiveFailure, AFailingSourceLeavesTheArchiveAsItWas) {
    const std::string before = Get(L"test.zip");
    for (const bool update : {false, true}) {
        CZipArchive archive(Path().c_str(), Update);
        TestStream source(text, 1000, 5);
        ExpectThrow<CFormatException>(
            [&] { update ? archive.UpdateEntry(L"A", source) : archive.AddEntry(L"c", source, true); });
        EXPECT_EQ(archive.GetEntryNames(), (std::vector<std::wstring>{L"a", L"b"}));
        archive.Flush();
        EXPECT_EQ(Get(L"test.zip"), before);
    }
}

TEST_F(ZipArchiveFailure, TheDestructorReportsAFailingSaveUnlessAnotherExceptionIsOnItsWay) {
    struct Listener final : CTraceListener {
        std::wstring seen;
        Listener() : CTraceListener(L"listener") {}
        void TraceEvent(const TraceEventContext&, const wchar_t*, TraceEventType, unsigned,
                        const wchar_t* message) override {
            seen += message;
        }
    };
    CTraceSource trace(L"ZelCore.IO.Compression");
    const auto listener = std::make_shared<Listener>();
    trace.GetSourceSwitch().SetLevel(SourceLevels::Error);
    trace.AddTraceListener(listener);
    FailingCalls calls(SystemCall("FlushFileBuffers", 0, 29));
    ExpectError(29, [&] { CZipArchive(Path().c_str(), Update); });
    EXPECT_TRUE(IsTemporaryFolderEmpty());
    calls.FailOn(1);
    ExpectThrow<CFormatException>([&] {
        const CZipArchive archive(Path().c_str(), Update);
        throw CFormatException(L"the first failure", L"", nullptr, 0);
    });
    EXPECT_TRUE(calls.HasFailed());
    EXPECT_NE(listener->seen.find(L"The archive '" + Path() + L"' is not saved"), std::wstring::npos);
    EXPECT_NE(listener->seen.find(L"Error 29"), std::wstring::npos) << listener->seen;
    trace.RemoveAllListeners();
    calls.FailOn(1);
    CZipArchive target(Path().c_str(), Update);
    CZipArchive source(At(L"other.zip").c_str(), Create);
    ExpectError(29, [&] { target = std::move(source); });
    EXPECT_TRUE(target.GetEntryNames().empty()) << "it has taken over the source all the same";
    const ImportHook hook("RemoveDirectoryW", [](const wchar_t*) -> BOOL { return FALSE; });
    EXPECT_NO_THROW(CZipArchive(Path().c_str(), Update)) << "a staging folder that stays is no failure";
    EmptyTemporaryFolder();
}

TEST_F(ZipArchiveFailure, AFullDiskLeavesTheArchiveAsItWas) {
    const std::string before = Get(L"test.zip");
    std::int64_t room = 0;
    const ImportHook full("WriteFile",
                          [&](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                              wchar_t name[1000] = L"";
                              ::GetFinalPathNameByHandleW(file, name, 1000, 0);
                              LARGE_INTEGER position{};
                              ::SetFilePointerEx(file, {}, &position, FILE_CURRENT);
                              if (std::wstring_view(name).ends_with(L"test.zip") && position.QuadPart + size > room) {
                                  ::SetLastError(ERROR_DISK_FULL);
                                  return FALSE;
                              }
                              return ::WriteFile(file, data, size, written, o);
                          });
    CZipArchive archive(Path().c_str(), Update);
    const std::string large = MakeText(300'000);
    archive.AddEntry(L"c", Bytes(large), large.size(), false);
    for (room = static_cast<std::int64_t>(before.size()); room < 300'000; room += 70'000) {
        ExpectError(ERROR_DISK_FULL, [&] { archive.Flush(); });
        EXPECT_EQ(Get(L"test.zip"), before) << room;
    }
    room = 1'000'000;
    archive.Flush();
    archive.DeleteEntry(L"c");
    room = static_cast<std::int64_t>(before.size()); // shorter than before: no additional disk space is needed
    archive.Flush();
    EXPECT_EQ(Get(L"test.zip"), before);
}

TEST_F(ZipArchiveFailure, WhatFailsBeforeTheFirstByteLeavesTheArchiveAsItWas) {
    const std::string before = Get(L"test.zip");
    CZipArchive archive(Path().c_str(), Update);
    archive.DeleteEntry(L"a");
    { // another program maps the file, which therefore cannot shrink
        const ImportHook mapped("SetEndOfFile", [](HANDLE) -> BOOL {
            ::SetLastError(ERROR_USER_MAPPED_FILE);
            return FALSE;
        });
        ExpectError(ERROR_USER_MAPPED_FILE, [&] { archive.Flush(); });
        EXPECT_EQ(Get(L"test.zip"), before);
    }
    archive.AddEntry(L"c", Bytes(text), text.size(), false);
    for (const bool refused : {true, false}) {
        const ImportHook write("WriteFile", [&](HANDLE file, const void* data, DWORD size, DWORD* n, OVERLAPPED* o) {
            const bool isHeader = size > 4 && std::memcmp(data, "PK\3\4", 4) == 0;
            ::SetLastError(ERROR_LOCK_VIOLATION);
            return isHeader && refused ? FALSE : ::WriteFile(file, data, size, n, o);
        });
        if (refused) {
            ExpectError(ERROR_LOCK_VIOLATION, [&] { archive.Flush(); });
            EXPECT_EQ(Get(L"test.zip"), before);
        } else { // a cleaner has deleted a staged file
            for (const auto& file : std::filesystem::recursive_directory_iterator(At(L"tmp"))) {
                if (file.is_regular_file() && file.file_size() == text.size()) {
                    std::filesystem::remove(file.path());
                }
            }
            ExpectInvalid(L"Invalid ZIP entry 'c'", [&] { archive.Flush(); });
            EXPECT_EQ(Get(L"test.zip"), before);
        }
    }
    archive.DeleteEntry(L"c"); // or the destructor would fail
}

TEST_F(ZipArchiveFailure, AScannerMayHoldAStagingFileForAMoment) {
    CZipArchive archive(At(L"new.zip").c_str(), Create);
    archive.AddEntry(L"a", Bytes("hello"), 5, false);
    int refusals = 0;
    const ImportHook scanner("CreateFileW", [&](const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* sa,
                                                DWORD disposition, DWORD flags, HANDLE model) {
        if (refusals > 0) {
            --refusals;
            ::SetLastError(ERROR_SHARING_VIOLATION);
            return INVALID_HANDLE_VALUE;
        }
        return ::CreateFileW(name, access, share, sa, disposition, flags, model);
    });
    refusals = 3;
    EXPECT_EQ(ReadEntry(archive, L"a"), "hello");
    EXPECT_EQ(refusals, 0);
    refusals = 3;
    archive.Flush();
    EXPECT_EQ(refusals, 0);
    refusals = 1000;
    ExpectError(ERROR_SHARING_VIOLATION, [&] { archive.GetEntry(L"a"); }); // must not wait forever
    refusals = 0;
}

TEST_F(ZipArchiveFailure, NamesTheLimitsOfTheFormat) {
    std::string record = "PK\1\2" + std::string(42, '\0') + "n00000"; // 65,535 entries of the same header
    record[28] = 6;
    record[20] = record[24] = static_cast<char>(0);
    std::string directory;
    for (int i = 0; i < 65'535; ++i) {
        for (int digit = 51, rest = i; digit > 46; --digit, rest /= 10) {
            record[static_cast<std::size_t>(digit)] = static_cast<char>('0' + rest % 10);
        }
        directory += record;
    }
    const std::string local = "PK\3\4" + std::string(26, '\0');
    const std::string end =
        "PK\5\6" + std::string(4, '\0') + "\xFF\xFF\xFF\xFF" + RawArchive::Number(directory.size(), 4);
    Put(L"many.zip", local + directory + end + RawArchive::Number(30, 4) + std::string(2, '\0'));
    {
        const CZipArchive reading(At(L"many.zip").c_str(), Read);
        EXPECT_EQ(reading.GetEntryNames().size(), 65'535u);
        EXPECT_NE(reading.GetEntry(L"N65534"), nullptr);
    }
    {
        FailingCalls calls({"SetEndOfFile", "CreateDirectoryW", "SHFileOperationW"});
        ExpectInvalid(L"Cannot add ZIP entry 'last': an archive holds at most 65535 entries", [&] {
            CZipArchive archive(At(L"many.zip").c_str(), static_cast<ZipArchiveMode>(3)); // treated as Update
            try {
                archive.AddEntry(L"last", nullptr, 0, false);
            } catch (const CException&) {
                calls.FailOn(1); // nothing may be written here
                throw;
            }
        });
    }
    // A file position beyond 4 GiB: the archive follows other data.
    std::int64_t offset = 0;
    const ImportHook hook("WriteFile",
                          [&](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                              *written = size; // reports more than was written
                              return size == 4096 && offset != 0 ? TRUE : ::WriteFile(file, data, size, written, o);
                          });
    const ImportHook sizes("GetFileSizeEx", [&](HANDLE, LARGE_INTEGER* size) -> BOOL {
        size->QuadPart = offset;
        return TRUE;
    });
    CZipArchive archive(At(L"large.zip").c_str(), Create);
    offset = 0x1'0000'0000;
    ExpectInvalid(L"ZIP entry 'big' is larger than 4294967295 bytes",
                  [&] { archive.AddEntry(L"big", Bytes("x"), 1, true); });
    offset = 0xC000'0000;
    archive.AddEntry(L"a", Bytes("x"), 1, true);
    archive.AddEntry(L"b", Bytes("x"), 1, true);
    ExpectInvalid(L"Cannot save the ZIP archive: its directory lies beyond 4294967295 bytes", [&] { archive.Flush(); });
    archive.AddEntry(L"c", Bytes("x"), 1, true);
    ExpectInvalid(L"Cannot save ZIP entry 'c': the archive exceeds 4294967295 bytes", [&] { archive.Flush(); });
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        archive.DeleteEntry(name);
    }
}
