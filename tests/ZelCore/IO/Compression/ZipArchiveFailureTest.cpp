#include "Support/Test.h"

#include "ZelCore/IO/Compression/ZipArchive.h"
#include "ZelCore/IO/IOException.h"

#include <new>

using namespace ZelCore::IO;
using namespace ZelCore::IO::Compression;

namespace {

constexpr auto Read = ZipArchiveMode::Read;
constexpr auto Create = ZipArchiveMode::Create;
constexpr auto Update = ZipArchiveMode::Update;

bool g_rewriting = false;

BOOL WINAPI NoteRewrite(HANDLE file) {
    g_rewriting = true;
    return ::SetEndOfFile(file);
}

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

    /// Runs UseAll, in which something may be made to fail, and checks what must hold afterwards.
    void CheckOnce(const std::function<void(bool)>& setFailing, const std::function<bool()>& hasFailed) {
        Put(L"test.zip", original);
        g_rewriting = false;
        bool thrown = false;
        setFailing(true);
        try {
            UseAll();
        } catch (const CException&) {
            thrown = true;
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
        const bool failed = hasFailed();
        setFailing(false);
        EXPECT_EQ(handles.Get(), 0);
        EXPECT_TRUE(IsTemporaryFolderEmpty());
        if (thrown && !g_rewriting) {
            EXPECT_EQ(Get(L"test.zip"), original) << "changed before it was rewritten";
        }
        EXPECT_TRUE(failed || !thrown);
    }

    std::string text;
    std::string original;
    HandleBalance handles;
};

} // namespace

TEST_F(ZipArchiveFailure, TheNthFailingSystemCallLeavesNothingBehind) {
    original = Get(L"test.zip");
    UseAll();
    const ImportHook hook("SetEndOfFile", reinterpret_cast<void*>(&NoteRewrite));
    FailingCalls calls({{"CreateFileW", ~std::uintptr_t{0}},
                        {"ReadFile"},
                        {"WriteFile"},
                        {"SetFilePointerEx"},
                        {"GetFileSizeEx"},
                        {"SetEndOfFile"},
                        {"FlushFileBuffers"},
                        {"GetTempPathW"},
                        {"GetTempFileNameW"},
                        {"UuidCreate", 14},
                        {"UuidToStringW", 14},
                        {"CreateDirectoryW"},
                        {"WideCharToMultiByte"},
                        {"MultiByteToWideChar"},
                        {"FileTimeToDosDateTime"}});
    Sweep([&](int n) {
        bool failed = false;
        CheckOnce([&](bool failing) { calls.FailOn(failing ? n : 0); },
                  [&] { return failed = calls.GetFailed() != nullptr; });
        return failed;
    });
}

TEST_F(ZipArchiveFailure, TheNthFailingAllocationLeavesNothingBehind) {
    original = Get(L"test.zip");
    UseAll();
    const ImportHook hook("SetEndOfFile", reinterpret_cast<void*>(&NoteRewrite));
    FailingAllocations allocations;
    Sweep([&](int n) {
        bool failed = false;
        CheckOnce([&](bool failing) { allocations.FailOn(failing ? n : 0); },
                  [&] { return failed = allocations.HasFailed(); });
        return failed;
    });
}

TEST_F(ZipArchiveFailure, WhatSomebodyElseDoesToTheFilesIsNoticed) {
    const std::wstring name = L"ZelCore::IO::Compression::CZipArchive::";
    const std::wstring get = name + L"GetEntry", load = name + L"impl::EnsureEntriesLoaded",
                       write = name + L"impl::WriteEntries";
    const auto refuse = [](const std::wstring& method, const std::function<void()>& action) {
        ExpectThrow<CInvalidOperationException>(action, {.contains = L"Invalid ZIP entry", .method = method.c_str()});
    };
    {
        CZipArchive archive(Path().c_str(), Update);
        const ImportHook hook("SetFilePointerEx", [](HANDLE, LARGE_INTEGER, LARGE_INTEGER* position, DWORD) -> BOOL {
            position->QuadPart = 7777; // anywhere but there
            return TRUE;
        });
        refuse(get, [&] { archive.GetEntry(L"a"); });
        refuse(load, [&] { archive.DeleteEntry(L"a"), archive.Flush(); });
    }
    CZipArchive archive(Path().c_str(), Create);
    archive.AddEntry(L"a", Bytes(text), text.size(), false);
    for (const auto& file : std::filesystem::recursive_directory_iterator(At(L"tmp"))) {
        if (file.is_regular_file()) {
            std::ofstream(file.path(), std::ios::app) << "more";
        }
    }
    refuse(write, [&] { archive.Flush(); });
    archive.DeleteEntry(L"a"); // or the destructor would try again
}

TEST_F(ZipArchiveFailure, AFailingSourceLeavesTheArchiveAsItWas) {
    const std::string before = Get(L"test.zip");
    for (const bool update : {false, true}) {
        CZipArchive archive(Path().c_str(), Update);
        TestStream source(text);
        source.largestRead = 1000;
        source.failOn = 5;
        ExpectThrow<CFormatException>([&] {
            if (update) {
                archive.UpdateEntry(L"A", source);
            } else {
                archive.AddEntry(L"c", source, true);
            }
        });
        EXPECT_EQ(archive.GetEntryNames(), (std::vector<std::wstring>{L"a", L"b"}));
        archive.Flush();
        EXPECT_EQ(Get(L"test.zip"), before);
    }
}

TEST_F(ZipArchiveFailure, TheDestructorReportsAFailingSaveUnlessAnotherExceptionIsOnItsWay) {
    FailingCalls calls({{"FlushFileBuffers", 0, 29}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([&] { CZipArchive(Path().c_str(), Update); }, {.code = 29});
    EXPECT_TRUE(IsTemporaryFolderEmpty());
    calls.FailOn(1);
    ExpectThrow<CFormatException>([&] {
        const CZipArchive archive(Path().c_str(), Update);
        throw CFormatException(L"the first failure", L"", nullptr, 0);
    });
    EXPECT_STREQ(calls.GetFailed(), "FlushFileBuffers");
    calls.FailOn(1);
    CZipArchive target(Path().c_str(), Update);
    CZipArchive source(At(L"other.zip").c_str(), Create);
    ExpectThrow<CWin32Exception>([&] { target = std::move(source); }, {.code = 29});
    EXPECT_TRUE(target.GetEntryNames().empty()) << "it has taken over the source all the same";
    static const auto locked = [](void*) -> int { return 32; };
    const ImportHook hook("SHFileOperationW", locked);
    EXPECT_NO_THROW(CZipArchive(Path().c_str(), Update)) << "a staging folder that stays is no failure";
    std::filesystem::remove_all(At(L"tmp"));
    std::filesystem::create_directories(At(L"tmp"));
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
        FailingCalls calls({{"SetEndOfFile"}, {"CreateDirectoryW"}, {"SHFileOperationW"}});
        ExpectThrow<CInvalidOperationException>(
            [&] {
                CZipArchive archive(At(L"many.zip").c_str(), static_cast<ZipArchiveMode>(3)); // as good as Update
                try {
                    archive.AddEntry(L"last", nullptr, 0, false);
                } catch (const CException&) {
                    calls.FailOn(1); // nothing is to be saved here
                    throw;
                }
            },
            {.message = L"Cannot add ZIP entry 'last': an archive holds at most 65535 entries"});
    }
    // A file position beyond 4 GiB: the archive lies behind something large.
    static std::int64_t s_offset;
    s_offset = 0;
    static const auto write = [](HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* o) -> BOOL {
        if (size == 4096 && s_offset != 0) { // pretends to have written a lot
            *written = size;
            return TRUE;
        }
        return ::WriteFile(file, data, size, written, o);
    };
    const ImportHook hook("WriteFile", write);
    static const auto length = [](HANDLE, LARGE_INTEGER* size) -> BOOL {
        size->QuadPart = s_offset;
        return TRUE;
    };
    const ImportHook sizes("GetFileSizeEx", length);
    CZipArchive archive(At(L"large.zip").c_str(), Create);
    s_offset = 0x1'0000'0000;
    ExpectThrow<CInvalidOperationException>([&] { archive.AddEntry(L"big", Bytes("x"), 1, true); },
                                            {.message = L"ZIP entry 'big' is larger than 4294967295 bytes"});
    s_offset = 0xC000'0000;
    archive.AddEntry(L"a", Bytes("x"), 1, true);
    archive.AddEntry(L"b", Bytes("x"), 1, true);
    ExpectThrow<CInvalidOperationException>(
        [&] { archive.Flush(); },
        {.message = L"Cannot save the ZIP archive: its directory lies beyond 4294967295 bytes"});
    archive.AddEntry(L"c", Bytes("x"), 1, true);
    ExpectThrow<CInvalidOperationException>(
        [&] { archive.Flush(); }, {.message = L"Cannot save ZIP entry 'c': the archive exceeds 4294967295 bytes"});
    for (const wchar_t* name : {L"a", L"b", L"c"}) {
        archive.DeleteEntry(name);
    }
}
