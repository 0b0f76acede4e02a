#include "Support/Test.h"

#include <new>

namespace {

constexpr auto Read = ZipArchiveMode::Read;
constexpr auto Create = ZipArchiveMode::Create;
constexpr auto Update = ZipArchiveMode::Update;

class ZipArchiveFailure : public FolderTest {
protected:
    void SetUp() override {
        FolderTest::SetUp();
        text = MakeText(20'000);
        CZipArchive archive(Path().c_str(), Create);
        archive.AddEntry(L"a", Bytes(text), text.size(), true);
        archive.AddEntry(L"b", Bytes("stored"), 6, false);
    }

    std::wstring Path() const {
        return At(L"test.zip");
    }

    /// Everything that an archive does, in one go.
    void UseAll() const {
        unsigned char buffer[100];
        CZipArchive archive(Path().c_str(), Update);
        archive.GetEntry(L"a")->GetStream().Read(buffer, sizeof(buffer));
        TestStream source(text);
        archive.AddEntry(L"c", source, true);
        archive.UpdateEntry(L"b", Bytes(text), text.size());
        archive.GetEntry(L"c")->GetStream().Read(buffer, sizeof(buffer));
        archive.DeleteEntry(L"a");
        archive.Flush();
    }

    /// Runs UseAll with failing calls or allocations, and checks what must hold afterwards.
    template <class Failing> void SweepAll(Failing& failing) {
        const std::string original = Get(L"test.zip");
        UseAll(); // what is set up once is there then
        bool rewriting = false;
        const ImportHook hook("SetEndOfFile", [&](HANDLE file) -> BOOL {
            rewriting = true;
            return ::SetEndOfFile(file);
        });
        const auto check = [&](int, const CException*) {
            EXPECT_EQ(handles.Get(), 0);
            EXPECT_TRUE(IsTemporaryFolderEmpty());
            EXPECT_TRUE(rewriting || Get(L"test.zip") == original) << "changed before it was rewritten";
            Put(L"test.zip", original);
            rewriting = false;
        };
        Put(L"test.zip", original);
        Sweep<CException>(
            failing, [&] { UseAll(); }, check);
    }

    std::string text;
    HandleBalance handles;
};

} // namespace

TEST_F(ZipArchiveFailure, TheNthFailingSystemCallLeavesNothingBehind) {
    FailingCalls calls({"CreateFileW", "ReadFile", "WriteFile", "SetFilePointerEx", "GetFileSizeEx", "SetEndOfFile",
                        "FlushFileBuffers", "GetTempPathW", "GetTempFileNameW", "UuidCreate", "UuidToStringW",
                        "CreateDirectoryW", "WideCharToMultiByte", "MultiByteToWideChar", "FileTimeToDosDateTime"});
    SweepAll(calls);
}

TEST_F(ZipArchiveFailure, TheNthFailingAllocationLeavesNothingBehind) {
    FailingAllocations allocations;
    SweepAll(allocations);
}

TEST_F(ZipArchiveFailure, WhatSomebodyElseDoesToTheFilesIsNoticed) {
    const auto refuse = [](const wchar_t* method, const std::function<void()>& action) {
        ExpectThrow<CInvalidOperationException>(action, {.contains = L"Invalid ZIP entry", .method = method});
    };
    {
        CZipArchive archive(Path().c_str(), Update);
        const ImportHook hook("SetFilePointerEx", [](HANDLE, LARGE_INTEGER, LARGE_INTEGER* position, DWORD) -> BOOL {
            position->QuadPart = 7777; // anywhere but there
            return TRUE;
        });
        refuse(L"CZipArchive::GetEntry", [&] { archive.GetEntry(L"a"); });
        refuse(L"CZipArchive::impl::EnsureEntriesLoaded", [&] { archive.DeleteEntry(L"a"), archive.Flush(); });
    }
    CZipArchive archive(Path().c_str(), Create);
    archive.AddEntry(L"a", Bytes(text), text.size(), false);
    for (const auto& file : std::filesystem::recursive_directory_iterator(At(L"tmp"))) {
        if (file.is_regular_file()) {
            std::ofstream(file.path(), std::ios::app) << "more";
        }
    }
    refuse(L"CZipArchive::impl::WriteEntries", [&] { archive.Flush(); });
    archive.DeleteEntry(L"a"); // or the destructor would try again
}

TEST_F(ZipArchiveFailure, AFailingSourceLeavesTheArchiveAsItWas) {
    const std::string before = Get(L"test.zip");
    for (const bool update : {false, true}) {
        CZipArchive archive(Path().c_str(), Update);
        TestStream source(text);
        source.largestRead = 1000;
        source.failOn = 5;
        ExpectThrow<CFormatException>(
            [&] { update ? archive.UpdateEntry(L"A", source) : archive.AddEntry(L"c", source, true); });
        EXPECT_EQ(archive.GetEntryNames(), (std::vector<std::wstring>{L"a", L"b"}));
        archive.Flush();
        EXPECT_EQ(Get(L"test.zip"), before);
    }
}

TEST_F(ZipArchiveFailure, TheDestructorReportsAFailingSaveUnlessAnotherExceptionIsOnItsWay) {
    FailingCalls calls({SystemCall("FlushFileBuffers", 0, 29)});
    calls.FailOn(1);
    ExpectError(29, [&] { CZipArchive(Path().c_str(), Update); });
    EXPECT_TRUE(IsTemporaryFolderEmpty());
    calls.FailOn(1);
    ExpectThrow<CFormatException>([&] {
        const CZipArchive archive(Path().c_str(), Update);
        throw CFormatException(L"the first failure", L"", nullptr, 0);
    });
    EXPECT_TRUE(calls.HasFailed());
    calls.FailOn(1);
    CZipArchive target(Path().c_str(), Update);
    CZipArchive source(At(L"other.zip").c_str(), Create);
    ExpectError(29, [&] { target = std::move(source); });
    EXPECT_TRUE(target.GetEntryNames().empty()) << "it has taken over the source all the same";
    const ImportHook hook("SHFileOperationW", [](void*) -> int { return 32; });
    EXPECT_NO_THROW(CZipArchive(Path().c_str(), Update)) << "a staging folder that stays is no failure";
    EmptyTemporaryFolder();
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
    const auto number = [](std::size_t value) {
        return std::string{static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 24)};
    };
    const std::string local = "PK\3\4" + std::string(26, '\0');
    const std::string end = "PK\5\6" + std::string(4, '\0') + "\xFF\xFF\xFF\xFF" + number(directory.size());
    Put(L"many.zip", local + directory + end + number(local.size()) + std::string(2, '\0'));
    {
        const CZipArchive reading(At(L"many.zip").c_str(), Read);
        EXPECT_EQ(reading.GetEntryNames().size(), 65'535u);
        EXPECT_NE(reading.GetEntry(L"N65534"), nullptr);
    }
    {
        FailingCalls calls({"SetEndOfFile", "CreateDirectoryW", "SHFileOperationW"});
        ExpectInvalid(L"Cannot add ZIP entry 'last': an archive holds at most 65535 entries", [&] {
            CZipArchive archive(At(L"many.zip").c_str(), static_cast<ZipArchiveMode>(3)); // as good as Update
            try {
                archive.AddEntry(L"last", nullptr, 0, false);
            } catch (const CException&) {
                calls.FailOn(1); // nothing is to be saved here
                throw;
            }
        });
    }
    // A file position beyond 4 GiB: the archive lies behind something large.
    std::int64_t offset = 0;
    const ImportHook hook("WriteFile",
                          [&](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
                              *written = size; // pretends to have written a lot
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
