#include "Support/Test.h"

namespace {

class AsyncFileStream : public FolderTest {
protected:
    CFileStream Open(DWORD access = GENERIC_READ | GENERIC_WRITE, const wchar_t* name = L"file") const {
        return {At(name), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, FILE_FLAG_OVERLAPPED};
    }
    static std::string ReadAt(CFileStream& stream, std::size_t count) {
        std::string text(count, '\0');
        auto* const buffer = reinterpret_cast<unsigned char*>(text.data());
        text.resize(stream.EndRead(stream.BeginRead(buffer, count, nullptr, nullptr)));
        return text;
    }
    static void WriteAt(CFileStream& stream, const std::string& text) {
        stream.EndWrite(stream.BeginWrite(Bytes(text), text.size(), nullptr, nullptr));
    }
};

constexpr std::size_t PieceSize = 64;

void* Allocate(std::size_t size) {
    return ::operator new(size);
}
#ifdef __clang__ // which does not pass the size
void ReleaseUnsized(void* block) {
    ::operator delete(block);
}
#else
void Release(void* block, std::size_t) {
    ::operator delete(block);
}
#endif

} // namespace

TEST_F(AsyncFileStream, TenThousandOperationsFromSeveralStreamsAtOnce) {
    const std::string data = Put(L"file", MakeText(PieceSize * 100));
    const HandleBalance handles;
    std::atomic<int> wrong{0};
    const auto work = [&](int kind, int operations) {
        CFileStream stream = Open();
        unsigned char buffer[PieceSize];
        for (int i = 0; i < operations; ++i) {
            const std::size_t position = PieceSize * static_cast<std::size_t>(i % 100);
            stream.Seek(static_cast<std::int64_t>(position), SeekOrigin::Begin);
            std::size_t read = 0;
            if (kind == 0) { // the callback ends the operation
                Callback callback;
                callback.action = [&](const IAsyncResult* result) { read = stream.EndRead(result); };
                stream.BeginRead(buffer, PieceSize, &callback, nullptr);
                callback.Wait();
            } else {
                const IAsyncResult* result = stream.BeginRead(buffer, PieceSize, nullptr, &stream);
                if (kind == 1) {
                    ::WaitForSingleObject(result->GetWaitHandle(), INFINITE);
                    wrong += result->IsCompleted() && result->GetAsyncState() == &stream ? 0 : 1;
                }
                read = stream.EndRead(result);
            }
            const std::string text(reinterpret_cast<char*>(buffer), read);
            wrong += text == data.substr(position, PieceSize) ? 0 : 1;
        }
    };
    RunInThreads(6, [&](int i) { work(i % 3, 1667); });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(handles.GetSettled(), 0);
}

TEST_F(AsyncFileStream, WritesAndReadsAtItsOwnPosition) {
    CFileStream stream = Open();
    WriteAt(stream, "0123456789");
    WriteAt(stream, "012");
    EXPECT_EQ(stream.GetPosition(), 13);
    EXPECT_EQ(stream.Seek(8, SeekOrigin::Begin), 8);
    EXPECT_EQ(ReadAt(stream, 10), "89012");
    EXPECT_EQ(stream.Seek(10, SeekOrigin::End), 23) << "beyond the end for writing";
    EXPECT_EQ(stream.Seek(-20, static_cast<SeekOrigin>(9)), 3);
    stream.Seek(INT64_MAX - 1, SeekOrigin::Begin);
    stream.SetLength(4); // the position is the stream's own
    EXPECT_EQ(stream.GetLength(), 4);
    EXPECT_EQ(stream.GetPosition(), INT64_MAX - 1);
    CFileStream readOnly = Open(GENERIC_READ);
    EXPECT_EQ(readOnly.Seek(10, SeekOrigin::End), 4) << "cut back to the length";
    EXPECT_EQ(readOnly.Seek(INT64_MAX, SeekOrigin::Current), 4);
    ExpectArgument(L"offset", [&] { stream.Seek(-5, SeekOrigin::End); },
                   {.message = L"'Attempt to seek before the beginning of the stream': parameter name: 'offset'"});
    ExpectArgument(L"offset", [&] { stream.Seek(INT64_MAX, SeekOrigin::End); });
    // Reading at the end fails, at once or when the operation ends; the stream is usable afterwards.
    for (int i = 0; i < 2; ++i) {
        ExpectError(ERROR_HANDLE_EOF, [&] { ReadAt(readOnly, 1); });
    }
    readOnly.Seek(0, SeekOrigin::Begin);
    EXPECT_EQ(ReadAt(readOnly, 9), "0123");
}

TEST_F(AsyncFileStream, RefusesTheWrongCall) {
    CFileStream stream = Open();
    CFileStream synchronous(At(L"other"), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0);
    unsigned char byte = 'x';
    const wchar_t* message = L"Cannot perform synchronous operation on a handle opened for overlapped I/O";
    ExpectInvalid(message, [&] { stream.Read(&byte, 1); });
    ExpectInvalid(message, [&] { stream.Write(nullptr, 1); });
    ExpectInvalid(message, [&] { stream.Lock(0, 1, CFileStream::LockType::Shared); });
    ExpectInvalid(message, [&] { stream.Unlock(0, 1); });
    message = L"Cannot perform asynchronous operation on a handle not opened for overlapped I/O";
    ExpectInvalid(message, [&] { synchronous.BeginRead(&byte, 1, nullptr, nullptr); });
    ExpectInvalid(message, [&] { synchronous.BeginWrite(nullptr, 1, nullptr, nullptr); });
    ExpectNull(L"buffer", [&] { stream.BeginRead(nullptr, 1, nullptr, nullptr); });
    ExpectNull(L"buffer", [&] { stream.BeginWrite(nullptr, 1, nullptr, nullptr); });
    ExpectRange(L"count", [&] { stream.BeginWrite(&byte, 0x1'0000'0000, nullptr, nullptr); });
    const IAsyncResult* result = stream.BeginWrite(&byte, 1, nullptr, nullptr);
    message = L"Asynchronous operation is in progress";
    ExpectInvalid(message, [&] { stream.BeginRead(&byte, 1, nullptr, nullptr); });
    ExpectInvalid(message, [&] { stream.Seek(0, SeekOrigin::Begin); });
    const Failure foreign{.contains =
                              L"IAsyncResult object did not come from the corresponding async method on this type"};
    ExpectArgument(foreign, [&] { stream.EndRead(result); });
    ExpectArgument(foreign, [&] { Open().EndWrite(result); });
    ExpectNull(L"asyncResult", [&] { stream.EndWrite(nullptr); });
    stream.EndWrite(result);
    ExpectArgument(foreign, [&] { stream.EndWrite(result); });
}

TEST_F(AsyncFileStream, SurvivesItsEndWithAnOperationUnderWay) {
    const std::string data = MakeText(100'000);
    const HandleBalance handles;
    for (int round = 0; round < 1000; ++round) {
        Callback callback;
        auto stream = std::make_unique<CFileStream>(Open());
        CAsyncCallback* const told = round % 3 != 0 ? &callback : nullptr;
        if (round % 3 == 2 && round % 5 != 2) { // the old stream is not used after a move
            callback.action = [raw = stream.get()](const IAsyncResult* ended) { raw->EndWrite(ended); };
        }
        const IAsyncResult* result = stream->BeginWrite(Bytes(data), data.size(), told, nullptr);
        switch (round % 5) {
        case 0:
            stream->Close();
            break;
        case 1:
            *stream = Open(GENERIC_READ); // ends the old one first
            break;
        case 2: {
            CFileStream moved(std::move(*stream));
            if (told == nullptr) {
                moved.EndWrite(result);
                EXPECT_EQ(moved.GetPosition(), 100'000);
            }
            break;
        }
        case 3:
            stream.reset();
            break;
        default:
            std::thread([gone = std::move(stream)]() mutable { gone.reset(); }).join();
        }
        EXPECT_EQ(callback.calls, told != nullptr ? 1 : 0) << "the end of a stream waits for the callback";
        stream.reset();
    }
    EXPECT_EQ(handles.GetSettled(), 0);
}

TEST_F(AsyncFileStream, TheCallbackMayGoOnOrDestroyTheStream) {
    const std::string data = Put(L"file", MakeText(PieceSize * 200));
    for (int round = 0; round < 50; ++round) {
        auto stream = std::make_unique<CFileStream>(Open(GENERIC_READ));
        std::string read;
        unsigned char buffer[PieceSize];
        Callback chain;
        chain.action = [&](const IAsyncResult* result) {
            read.append(reinterpret_cast<char*>(buffer), stream->EndRead(result));
            if (read.size() == data.size()) {
                stream.reset();
                throw std::string("nobody is interested");
            }
            stream->BeginRead(buffer, PieceSize, &chain, nullptr);
        };
        stream->BeginRead(buffer, PieceSize, &chain, nullptr);
        chain.Wait(200); // the stream is destroyed when the last one ends
        ASSERT_EQ(read, data);
    }
}

TEST_F(AsyncFileStream, TheCallbackMayDestroyTheStreamWithANewOperationUnderWay) {
    const std::string data = MakeText(100'000);
    for (int round = 0; round < 200; ++round) {
        auto* stream = new CFileStream(Open());
        Callback first;
        first.action = [&](const IAsyncResult* result) {
            stream->EndWrite(result);
            stream->BeginWrite(Bytes(data), data.size(), nullptr, nullptr);
            delete stream;
        };
        stream->BeginWrite(Bytes(data), data.size(), &first, nullptr);
        first.Wait();
        ASSERT_EQ(Get(L"file").substr(0, data.size()), data) << "what the first operation wrote";
    }
}

TEST_F(AsyncFileStream, ClosingEndsAlsoWhatTheCallbackBeginsMeanwhile) {
    const std::wstring name = L"\\\\.\\pipe\\zel" + std::to_wstring(::GetCurrentProcessId());
    HANDLE peers[2];
    for (HANDLE& peer : peers) {
        peer = ::CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 2, 64, 64, 0, nullptr);
    }
    const auto open = [&] {
        return CFileStream(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED);
    };
    unsigned char byte = 0;
    {
        CFileStream stream = open();
        std::atomic<bool> isAgain{false};
        const ImportHook read("ReadFile", [&](HANDLE h, void* buffer, DWORD size, DWORD* count, OVERLAPPED* o) -> BOOL {
            ::Sleep(isAgain ? 100 : 0); // gives Close time to cancel
            return ::ReadFile(h, buffer, size, count, o);
        });
        Callback callback;
        callback.action = [&](const IAsyncResult* result) {
            stream.EndRead(result);
            isAgain = true;
            stream.BeginRead(&byte, 1, nullptr, nullptr);
        };
        stream.BeginRead(&byte, 1, &callback, nullptr);
        DWORD written = 0;
        for (const HANDLE peer : peers) { // either may be the peer of the stream
            ::WriteFile(peer, "x", 1, &written, nullptr);
        }
        while (!isAgain) {
            ::Sleep(1);
        }
        stream.Close();
    }
    CFileStream last = open();
    last.BeginRead(&byte, 1, nullptr, nullptr);
    const ImportHook shutdown("RtlDllShutdownInProgress", []() -> BOOLEAN { return TRUE; });
    last.Close(); // at the end of the process no thread is left to report
    ::CloseHandle(peers[0]), ::CloseHandle(peers[1]);
}

TEST_F(AsyncFileStream, EndBeforeCompletionWithACallbackAbandonsTheOperation) {
    // A write function that starts nothing and reports it as pending: the test delivers the completion.
    OVERLAPPED* overlapped = nullptr;
    LPOVERLAPPED_COMPLETION_ROUTINE complete = nullptr;
    const ImportHook write("WriteFile", [&](HANDLE, const void*, DWORD, DWORD*, OVERLAPPED* passed) -> BOOL {
        overlapped = passed;
        ::SetLastError(ERROR_IO_PENDING);
        return FALSE;
    });
    const ImportHook binding("BindIoCompletionCallback",
                             [&](HANDLE, LPOVERLAPPED_COMPLETION_ROUTINE routine, ULONG) -> BOOL {
                                 complete = routine;
                                 return TRUE;
                             });
    Callback callback;
    {
        CFileStream stream = Open();
        const IAsyncResult* result = stream.BeginWrite(Bytes("abc"), 3, &callback, nullptr);
        OVERLAPPED* const first = overlapped;
        ExpectThrow<CInvalidOperationException>(
            [&] { stream.EndWrite(result); },
            {.contains = L"Wait handle cannot be used for async operation completion notification"});
        result = stream.BeginWrite(Bytes("abc"), 3, nullptr, nullptr); // no operation is outstanding
        EXPECT_NE(overlapped, first) << "the system still writes to the first one";
        complete(0, 3, first);
        EXPECT_EQ(stream.GetPosition(), 0) << "the abandoned operation counts no more";
        EXPECT_EQ(callback.calls, 0);
        complete(0, 2, overlapped);
        ExpectError(ERROR_DISK_FULL, [&] { stream.EndWrite(result); },
                    {.method = L"ZelCore::IO::CFileStream::CompleteIOCallback"});
        EXPECT_EQ(stream.GetPosition(), 2) << "behind what was written";
        result = stream.BeginWrite(Bytes("abc"), 3, nullptr, nullptr);
        complete(0xC000009Cul, 0, overlapped); // an NTSTATUS instead of an error code
        ExpectError(23, [&] { stream.EndWrite(result); });
        result = stream.BeginWrite(Bytes("abc"), 3, nullptr, nullptr);
        FailingAllocations allocations;
        allocations.FailOn(1);
        complete(ERROR_ACCESS_DENIED, 0, overlapped); // without memory for an exception
        EXPECT_TRUE(allocations.HasFailed());
        allocations.FailOn(0);
        ExpectError(5, [&] { stream.EndWrite(result); });
    }
}

TEST_F(AsyncFileStream, AnImmediateFailureLeavesTheStreamIdle) {
    Put(L"file", "0123456789");
    CFileStream stream = Open(GENERIC_READ);
    unsigned char byte = 0;
    for (int i = 0; i < 300; ++i) {
        ExpectError(5, [&] { stream.BeginWrite(&byte, 1, nullptr, nullptr); }, {.method = L"CFileStream::BeginWrite"});
    }
    EXPECT_EQ(ReadAt(stream, 1), "0");
    // A full disk fails at once, and some systems also report the completion of the operation.
    const std::wstring full = L"Z:\\dev\\full";
    if (::GetFileAttributesW(full.c_str()) != INVALID_FILE_ATTRIBUTES) {
        for (int i = 0; i < 300; ++i) {
            CFileStream device(full, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED);
            ExpectError(ERROR_DISK_FULL, [&] { WriteAt(device, "x"); });
        }
    }
    { // an operation that the system rejects without a result is never reported and must not leak
        const ImportHook read("ReadFile", [](HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) -> BOOL {
            ::SetLastError(ERROR_HANDLE_EOF);
            return FALSE;
        });
        const auto refuse = [&] { EXPECT_THROW(stream.BeginRead(&byte, 1, nullptr, nullptr), CWin32Exception); };
        refuse();
        Balance blocks;
        blocks.Count<&Allocate>("_Znwy", 1);
#ifdef __clang__
        blocks.Count<&ReleaseUnsized>("_ZdlPv", -1);
#else
        blocks.Count<&Release>("_ZdlPvy", -1);
#endif
        for (int i = 0; i < 100; ++i) {
            refuse();
        }
        EXPECT_EQ(blocks.Get(), 0);
        EXPECT_GE(blocks.GetMade(), 200);
    }
    FailingAllocations allocations; // fail only before an operation starts
    const auto use = [&] {
        CFileStream other = Open(GENERIC_READ);
        EXPECT_EQ(ReadAt(other, 1), "0");
    };
    Sweep<CException>(allocations, use, [](int, const CException* e) { EXPECT_EQ(e, nullptr); });
}
