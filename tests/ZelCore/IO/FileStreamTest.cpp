#include "Support/Test.h"

namespace {

const wchar_t* const Closed = L"The handle is invalid";
constexpr DWORD ReadWrite = GENERIC_READ | GENERIC_WRITE;

class FileStream : public FolderTest {
protected:
    CFileStream Open(DWORD access = ReadWrite, DWORD disposition = OPEN_ALWAYS, DWORD share = 0) const {
        return {At(L"file"), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL};
    }
};

} // namespace

TEST_F(FileStream, OpensLikeCreateFile) {
    ExpectNull(L"fileName", [] { CFileStream(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0); });
    ExpectArgument(L"fileName", [] { CFileStream(L"", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0); },
                   {.message = L"'': parameter name: 'fileName'"});
    ExpectArgument(L"fileName",
                   [] { CFileStream(std::wstring(L"a\0b", 3), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0); });
    ExpectError(2, [&] { Open(GENERIC_READ, OPEN_EXISTING); },
                {.contains = (L"Could not create a file stream on '" + At(L"file") + L"': Error 2: ").c_str()});
    const std::pair<DWORD, unsigned> rows[] = {{GENERIC_READ, 5},        {FILE_READ_DATA, 5}, {GENERIC_WRITE, 6},
                                               {FILE_WRITE_DATA, 6},     {ReadWrite, 7},      {GENERIC_ALL, 4},
                                               {FILE_READ_ATTRIBUTES, 4}};
    for (const auto& [access, capabilities] : rows) {
        const CFileStream stream = Open(access);
        EXPECT_EQ(static_cast<unsigned>(stream.GetCapabilities()), capabilities);
        EXPECT_EQ(stream.GetName(), At(L"file"));
        if (access != FILE_READ_ATTRIBUTES) { // conflicts with no other handle
            ExpectError(32, [&] { Open(ReadWrite); });
        }
    }
    CFileStream readOnly = Open(GENERIC_READ);
    ExpectError(5, [&] { readOnly.Write(Bytes("x"), 1); });
}

TEST_F(FileStream, ReadsWritesSeeksAndCuts) {
    CFileStream stream = Open();
    WriteAll(stream, "0123456789");
    stream.Write(Bytes("x"), 0);
    EXPECT_EQ(stream.GetPosition(), 10);
    EXPECT_EQ(stream.Seek(-4, SeekOrigin::End), 6);
    EXPECT_EQ(ReadSome(stream, 10), "6789");
    EXPECT_EQ(ReadSome(stream, 10), "");
    EXPECT_EQ(stream.Seek(-1, SeekOrigin::Current), 9);
    stream.SetLength(20);
    EXPECT_EQ(stream.GetLength(), 20);
    EXPECT_EQ(stream.GetPosition(), 9);
    EXPECT_EQ(ReadSome(stream, 1), "9") << "the file pointer went back as well";
    stream.SetLength(5);
    EXPECT_EQ(stream.GetPosition(), 10);
    stream.Seek(4, SeekOrigin::Begin);
    ExpectFailing("SetEndOfFile", [&] { stream.SetLength(2); });
    EXPECT_EQ(ReadSome(stream, 1), "4") << "also when it fails";
    {
        FailingCalls calls("SetFilePointerEx");
        calls.FailOn(2);
        ExpectError(1450, [&] { stream.SetLength(2); });
        EXPECT_EQ(stream.GetPosition(), 2) << "where it is";
    }
    Put(L"appended", "0123456789");
    CFileStream appending(At(L"appended"), FILE_APPEND_DATA, 0, nullptr, OPEN_EXISTING, 0);
    WriteAll(appending, "hello");
    try {
        appending.SetLength(5);
        EXPECT_EQ(appending.GetLength(), 5);
    } catch (const CWin32Exception& e) {
        EXPECT_EQ(e.GetError(), 5u) << "some systems want more than the right to append";
    }
    stream.Flush();
    ExpectError(131, [&] { stream.Seek(-1, SeekOrigin::Begin); });
    ExpectError(87, [&] { stream.Seek(0, static_cast<SeekOrigin>(7)); });
    ExpectArgument(L"length", [&] { stream.SetLength(-3); },
                   {.message = L"': argument is out of range, actual value was -3': parameter name: 'length'"});
    ExpectNull(L"buffer", [&] { stream.Read(nullptr, 0); }, {.method = L"CFileStream::Read"});
    ExpectNull(L"buffer", [&] { stream.Write(nullptr, 0); });
}

TEST_F(FileStream, RefusesEverythingOnceClosedOrMovedFrom) {
    CFileStream first = Open();
    CFileStream second(std::move(first));
    second.Close();
    second.Close();
    EXPECT_EQ(second.GetName(), At(L"file"));
    EXPECT_STREQ(first.GetName(), L"");
    first.Close();
    for (CFileStream* stream : {&first, &second}) {
        unsigned char byte = 0;
        ExpectInvalid(Closed, [&] { stream->GetCapabilities(); });
        ExpectInvalid(Closed, [&] { stream->GetLength(); });
        ExpectInvalid(Closed, [&] { stream->GetPosition(); });
        ExpectInvalid(Closed, [&] { stream->Read(&byte, 1); });
        ExpectInvalid(Closed, [&] { stream->Write(&byte, 1); });
        ExpectInvalid(Closed, [&] { stream->Seek(0, SeekOrigin::Begin); });
        ExpectInvalid(Closed, [&] { stream->Flush(); });
        ExpectInvalid(Closed, [&] { stream->SetLength(0); });
        ExpectInvalid(Closed, [&] { stream->Lock(0, 1, CFileStream::LockType::Shared); });
        ExpectInvalid(Closed, [&] { stream->Unlock(0, 1); });
        ExpectInvalid(Closed, [&] { stream->BeginRead(&byte, 1, nullptr, nullptr); });
        ExpectInvalid(Closed, [&] { stream->BeginWrite(&byte, 1, nullptr, nullptr); });
        ExpectInvalid(Closed, [&] { stream->EndRead(nullptr); });
        ExpectInvalid(Closed, [&] { stream->EndWrite(nullptr); });
    }
    second = Open();
    CFileStream& self = second;
    second = std::move(self);
    EXPECT_EQ(second.GetLength(), 0) << "assigning a stream to itself changes nothing";
}

TEST_F(FileStream, LocksRanges) {
    using Lock = CFileStream::LockType;
    constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
    CFileStream first = Open(ReadWrite, OPEN_ALWAYS, share);
    CFileStream second = Open(ReadWrite, OPEN_ALWAYS, share);
    const std::int64_t distant = 0x1'0000'0005; // beyond 32 bits
    first.Lock(distant, 10, Lock::Shared);
    second.Lock(distant, 10, Lock::Shared);
    second.Unlock(distant, 10);
    first.Unlock(distant, 10);
    first.Lock(distant, 10, static_cast<Lock>(5)); // treated as exclusive
    second.Lock(5, 10, Lock::Exclusive);           // the low half alone does not conflict
    std::atomic<bool> locked{false};
    std::jthread waiting([&] {
        second.Lock(distant + 5, 1, Lock::Shared);
        locked = true;
    });
    ::Sleep(50);
    EXPECT_FALSE(locked) << "waits for the range";
    first.Unlock(distant, 10);
    waiting.join();
    ExpectThrow<CWin32Exception>([&] { first.Unlock(distant, 10); });
    ExpectArgument(L"position", [&] { first.Lock(-1, 1, Lock::Shared); });
    ExpectArgument(L"length", [&] { first.Lock(0, -1, Lock::Shared); });
    ExpectArgument(L"position", [&] { first.Unlock(-1, 1); });
    ExpectArgument(L"length", [&] { first.Unlock(0, -1); }, {.contains = L"actual value was -1"});
}

TEST_F(FileStream, AFullDiskLosesNothingSilently) {
    CFileStream stream = Open();
    DWORD largestWrite = 0;
    const ImportHook hook("WriteFile", [&](HANDLE, const void*, DWORD size, DWORD* written, OVERLAPPED*) -> BOOL {
        largestWrite = std::max(largestWrite, size);
        *written = size > 1000 ? size / 2 : 0; // like a nearly full disk
        return TRUE;
    });
    ExpectError(ERROR_DISK_FULL, [&] { stream.Write(Bytes("x"), 6000); });
    EXPECT_EQ(stream.GetPosition(), 5250) << "3000 + 1500 + 750";
    largestWrite = 0;
    ExpectError(ERROR_DISK_FULL, [&] { stream.Write(Bytes("x"), 0x1'0000'0000); });
    EXPECT_EQ(largestWrite, 0x40000000u) << "a count of 4 GiB must not become 0";
}

TEST_F(FileStream, EveryFailingSystemCallSurfacesWithItsCode) {
    Put(L"file", "0123456789");
    FailingCalls calls({"CreateFileW", "ReadFile", "WriteFile", "SetFilePointerEx", "GetFileSizeEx", "SetEndOfFile",
                        "FlushFileBuffers", "LockFileEx", "UnlockFileEx"});
    const auto useAll = [&] {
        CFileStream stream = Open();
        unsigned char byte = 0;
        stream.Read(&byte, 1);
        stream.SetLength(7);
        stream.Seek(stream.GetLength(), SeekOrigin::Begin);
        stream.Write(&byte, 1);
        stream.Flush();
        stream.Lock(0, 1, CFileStream::LockType::Exclusive);
        stream.Unlock(0, 1);
    };
    Sweep<CWin32Exception>(calls, useAll, [&](int, const CWin32Exception* e) {
        EXPECT_TRUE(e == nullptr ? !calls.HasFailed() : e->GetError() == 1450) << calls.GetFailed();
        EXPECT_NO_THROW(Open()) << "nobody shares the file: one handle left open would be in the way";
    });
    ExpectFailing("BindIoCompletionCallback",
                  [&] { CFileStream(At(L"file"), ReadWrite, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED); });
    EXPECT_NO_THROW(Open()) << "the file was closed again";
}

TEST_F(FileStream, ClosingKeepsTheLastError) {
    const ImportHook closing("CloseHandle", [](HANDLE handle) -> BOOL {
        const BOOL closed = ::CloseHandle(handle);
        ::SetLastError(77); // a system may set it even on success
        return closed;
    });
    CFileStream stream(At(L"file"), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    ::SetLastError(ERROR_NOT_READY); // the failure before the close
    stream.Close();
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_READY});
}
