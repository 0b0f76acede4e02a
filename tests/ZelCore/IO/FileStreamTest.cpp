#include "Support/Test.h"

#include "ZelCore/IO/FileStream.h"

#include <thread>

using namespace ZelCore::IO;

namespace {

const wchar_t* const Closed = L"The handle is invalid";
constexpr DWORD ReadWrite = GENERIC_READ | GENERIC_WRITE;

class FileStream : public FolderTest {
protected:
    CFileStream Open(DWORD access = ReadWrite, DWORD disposition = OPEN_ALWAYS, DWORD share = 0) const {
        return {At(L"file"), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL};
    }
};

DWORD g_largestWrite = 0;

} // namespace

TEST_F(FileStream, OpensLikeCreateFile) {
    ExpectThrow<CArgumentNullException>([] { CFileStream(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0); },
                                        {.param = L"fileName"});
    ExpectThrow<CArgumentException>([] { CFileStream(L"", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0); },
                                    {.message = L"'': parameter name: 'fileName'"});
    ExpectThrow<CWin32Exception>(
        [&] { Open(GENERIC_READ, OPEN_EXISTING); },
        {.code = 2, .contains = (L"Could not create a file stream on '" + At(L"file") + L"': Error 2: ").c_str()});
    const struct {
        DWORD access;
        unsigned capabilities;
    } rows[] = {{GENERIC_READ, 5}, {FILE_READ_DATA, 5}, {GENERIC_WRITE, 6},       {FILE_WRITE_DATA, 6},
                {ReadWrite, 7},    {GENERIC_ALL, 4},    {FILE_READ_ATTRIBUTES, 4}};
    for (const auto& row : rows) {
        const CFileStream stream = Open(row.access);
        EXPECT_EQ(static_cast<unsigned>(stream.GetCapabilities()), row.capabilities);
        EXPECT_EQ(stream.GetName(), At(L"file"));
        if (row.access != FILE_READ_ATTRIBUTES) { // which disturbs nobody
            ExpectThrow<CWin32Exception>([&] { Open(ReadWrite); }, {.code = 32});
        }
    }
    CFileStream readOnly = Open(GENERIC_READ);
    ExpectThrow<CWin32Exception>([&] { readOnly.Write(Bytes("x"), 1); }, {.code = 5});
}

TEST_F(FileStream, ReadsWritesSeeksAndCuts) {
    CFileStream stream = Open();
    stream.Write(Bytes("0123456789"), 10);
    stream.Write(Bytes("x"), 0);
    EXPECT_EQ(stream.GetPosition(), 10);
    EXPECT_EQ(stream.Seek(-4, SeekOrigin::End), 6);
    unsigned char buffer[10] = {};
    EXPECT_EQ(stream.Read(buffer, 10), 4u);
    EXPECT_EQ(buffer[3], '9');
    EXPECT_EQ(stream.Read(buffer, 10), 0u);
    EXPECT_EQ(stream.Seek(-1, SeekOrigin::Current), 9);
    stream.SetLength(20);
    EXPECT_EQ(stream.GetLength(), 20);
    EXPECT_EQ(stream.GetPosition(), 9);
    EXPECT_EQ(stream.Read(buffer, 1), 1u) << "the file pointer went back as well";
    stream.SetLength(5);
    EXPECT_EQ(stream.GetPosition(), 10);
    stream.Flush();
    ExpectThrow<CWin32Exception>([&] { stream.Seek(-1, SeekOrigin::Begin); }, {.code = 131});
    ExpectThrow<CWin32Exception>([&] { stream.Seek(0, static_cast<SeekOrigin>(7)); }, {.code = 87});
    ExpectThrow<CArgumentException>([&] { stream.SetLength(-3); },
                                    {.message = L"': argument is out of range, actual value was -3': parameter name: "
                                                L"'length'"});
    ExpectThrow<CArgumentNullException>([&] { stream.Read(nullptr, 0); },
                                        {.param = L"buffer", .method = L"ZelCore::IO::CFileStream::Read"});
    ExpectThrow<CArgumentNullException>([&] { stream.Write(nullptr, 0); }, {.param = L"buffer"});
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
        const std::function<void()> operations[] = {
            [&] { stream->GetCapabilities(); },
            [&] { stream->GetLength(); },
            [&] { stream->GetPosition(); },
            [&] { stream->Read(&byte, 1); },
            [&] { stream->Write(&byte, 1); },
            [&] { stream->Seek(0, SeekOrigin::Begin); },
            [&] { stream->Flush(); },
            [&] { stream->SetLength(0); },
            [&] { stream->Lock(0, 1, CFileStream::LockType::Shared); },
            [&] { stream->Unlock(0, 1); },
            [&] { stream->BeginRead(&byte, 1, nullptr, nullptr); },
            [&] { stream->BeginWrite(&byte, 1, nullptr, nullptr); },
            [&] { stream->EndRead(nullptr); },
            [&] { stream->EndWrite(nullptr); },
        };
        for (const auto& operation : operations) {
            ExpectThrow<CInvalidOperationException>(operation, {.message = Closed});
        }
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
    first.Lock(distant, 10, static_cast<Lock>(5)); // as good as exclusive
    second.Lock(5, 10, Lock::Exclusive);           // the low half alone does not collide
    std::atomic<bool> locked{false};
    std::thread waiting([&] {
        second.Lock(distant + 5, 1, Lock::Shared);
        locked = true;
    });
    ::Sleep(50);
    EXPECT_FALSE(locked) << "waits for the range";
    first.Unlock(distant, 10);
    waiting.join();
    ExpectThrow<CWin32Exception>([&] { first.Unlock(distant, 10); });
    ExpectThrow<CArgumentException>([&] { first.Lock(-1, 1, Lock::Shared); }, {.param = L"position"});
    ExpectThrow<CArgumentException>([&] { first.Lock(0, -1, Lock::Shared); }, {.param = L"length"});
    ExpectThrow<CArgumentException>([&] { first.Unlock(-1, 1); }, {.param = L"position"});
    ExpectThrow<CArgumentException>([&] { first.Unlock(0, -1); },
                                    {.param = L"length", .contains = L"actual value was -1"});
}

TEST_F(FileStream, AFullDiskLosesNothingSilently) {
    static const auto half = [](HANDLE, const void*, DWORD size, DWORD* written, OVERLAPPED*) -> BOOL {
        g_largestWrite = std::max(g_largestWrite, size);
        *written = size > 1000 ? size / 2 : 0; // what a nearly full disk does
        return TRUE;
    };
    CFileStream stream = Open();
    const ImportHook hook("WriteFile", half);
    ExpectThrow<CWin32Exception>([&] { stream.Write(Bytes("x"), 6000); }, {.code = ERROR_DISK_FULL});
    EXPECT_EQ(stream.GetPosition(), 5250) << "3000 + 1500 + 750";
    g_largestWrite = 0;
    ExpectThrow<CWin32Exception>([&] { stream.Write(Bytes("x"), 0x1'0000'0000); }, {.code = ERROR_DISK_FULL});
    EXPECT_EQ(g_largestWrite, 0x40000000u) << "a count of 4 GiB must not become 0";
}

TEST_F(FileStream, EveryFailingSystemCallSurfacesWithItsCode) {
    Put(L"file", "0123456789");
    FailingCalls calls({{"CreateFileW", ~std::uintptr_t{0}},
                        {"ReadFile"},
                        {"WriteFile"},
                        {"SetFilePointerEx"},
                        {"GetFileSizeEx"},
                        {"SetEndOfFile"},
                        {"FlushFileBuffers"},
                        {"LockFileEx"},
                        {"UnlockFileEx"}});
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
    Sweep([&](int n) {
        calls.FailOn(n);
        try {
            useAll();
        } catch (const CWin32Exception& e) {
            EXPECT_EQ(e.GetError(), 1450u) << calls.GetFailed();
        }
        const bool failed = calls.GetFailed() != nullptr;
        calls.FailOn(0);
        EXPECT_NO_THROW(Open()) << "nobody shares the file: one handle left open would be in the way";
        return failed;
    });
    FailingCalls binding({{"BindIoCompletionCallback"}});
    binding.FailOn(1);
    ExpectThrow<CWin32Exception>(
        [&] { CFileStream(At(L"file"), ReadWrite, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED); }, {.code = 1450});
    EXPECT_NO_THROW(Open()) << "the file was closed again";
}

TEST_F(FileStream, SetLengthGoesBackAlsoWhenItFails) {
    Put(L"file", "0123456789");
    CFileStream stream = Open();
    stream.Seek(4, SeekOrigin::Begin);
    FailingCalls calls({{"SetEndOfFile"}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([&] { stream.SetLength(2); }, {.code = 1450});
    unsigned char byte = 0;
    EXPECT_EQ(stream.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, '4');
}
