#include "Support/Test.h"

#include "ZelCore/IO/Directory.h"
#include "ZelCore/IO/File.h"
#include "ZelCore/IO/Path.h"

using namespace ZelCore::IO;

namespace {

class Paths : public FolderTest {};
class FilesAndFolders : public FolderTest {};

std::vector<std::wstring> g_created;

} // namespace

TEST_F(Paths, TextOperations) {
    const struct {
        const wchar_t *path1, *path2, *combined;
    } combined[] = {{L"C:\\a", L"b", L"C:\\a\\b"},
                    {L"C:\\a\\", L"b", L"C:\\a\\b"},
                    {L"C:/a/", L"b", L"C:/a/b"},
                    {L"C:", L"b", L"C:b"},
                    {L"", L"b", L"b"},
                    {L"a", L"", L"a"},
                    {L"C:\\a", L"\\b", L"\\b"},
                    {L"C:\\a", L"/b", L"/b"},
                    {L"C:\\a", L"D:b", L"D:b"},
                    {L"", L"", L""}};
    for (const auto& row : combined) {
        EXPECT_EQ(CPath::Combine(row.path1, row.path2), row.combined);
    }
    const struct {
        const wchar_t *path, *backslash, *fileName, *directory, *parent, *child;
    } rows[] = {
        {L"", L"", L"", L"", L"", L""},
        {L"a", L"a\\", L"a", L"", L"", L"a"},
        {L"C:\\a\\b.c", L"C:\\a\\b.c\\", L"b.c", L"C:\\a", L"C:\\a", L"b.c"},
        {L"C:\\a", L"C:\\a\\", L"a", L"C:\\", L"C:\\", L"a"},
        {L"C:\\a\\", L"C:\\a\\", L"", L"C:\\a", L"C:\\a", L""},
        {L"C:a", L"C:a\\", L"a", L"C:", L"", L"C:a"},
        {L"x/y", L"x/y\\", L"y", L"", L"x", L"y"},
        {L"x/", L"x/\\", L"", L"", L"x", L""},
        {L"\\a", L"\\a\\", L"a", L"\\", L"\\", L"a"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CPath::AddBackslash(row.path), row.backslash);
        EXPECT_EQ(CPath::GetFileName(row.path), row.fileName);
        EXPECT_EQ(CPath::GetDirectoryName(row.path), row.directory) << row.path;
        EXPECT_EQ(CPath::SplitParentChild(row.path), std::make_pair(std::wstring(row.parent), std::wstring(row.child)));
    }
    EXPECT_EQ(CPath::GetDirectoryName((L"C:\\" + std::wstring(1000, L'a') + L"\\b").c_str()).size(), 1003u);
    for (const wchar_t* drive : {L"\\\\s\\C:\\x", L"\\\\s\\C%3A\\x", L"\\\\s\\C%3a\\x"}) {
        EXPECT_EQ(CPath::NormalizeUncName(drive), L"\\\\s\\C$\\x");
    }
    for (const wchar_t* other : {L"\\\\s\\C:x", L"\\\\s\\share\\C:", L"C:\\x", L"\\\\s", L"", L"\\\\s\\C%3"}) {
        EXPECT_EQ(CPath::NormalizeUncName(other), other);
    }
    EXPECT_EQ(CPath::NormalizeUncName(L"\\\\s\\C:"), L"\\\\s\\C$");
}

TEST_F(Paths, AsksTheSystem) {
    EXPECT_EQ(CPath::GetFullPath(At(L"a\\..\\b").c_str()), At(L"b"));
    EXPECT_EQ(CPath::GetFullPath((L"C:\\" + std::wstring(400, L'a')).c_str()).size(), 403u);
    ExpectThrow<CWin32Exception>([] { CPath::GetFullPath(L""); }, {.code = ERROR_INVALID_NAME});
    EXPECT_EQ(CPath::GetTempPathW(), At(L"tmp\\"));
    const std::wstring file = CPath::GetTempFileNameW(At(L""), L"zip");
    EXPECT_EQ(CPath::GetFileName(file.c_str()).substr(0, 3), L"zip");
    EXPECT_EQ(CFile::GetSize(file.c_str()), 0);
    EXPECT_NE(CPath::GetTempFileNameW(At(L""), L""), file);
    EXPECT_EQ(CPath::NormalizePath(file.c_str()), file);
    ExpectThrow<CWin32Exception>([&] { CPath::NormalizePath(At(L"missing").c_str()); }, {.code = 2});
    ExpectThrow<CWin32Exception>([&] { CPath::GetTempFileNameW(At(L"missing"), L"zip"); });
    ExpectThrow<CArgumentException>(
        [&] { CPath::GetTempFileNameW(At(L""), L"four"); },
        {.message = L"'Source switch '%s' cannot be found in switches collection: argument is out of range, actual "
                    L"value was four': parameter name: 'prefix'"});
    FailingCalls calls({{"GetTempPathW", 0, 0}, {"GetLongPathNameW"}, {"GetFullPathNameW"}, {"GetTempFileNameW"}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([] { CPath::GetTempPathW(); }, {.code = ERROR_INSUFFICIENT_BUFFER});
    calls.FailOn(2);
    ExpectThrow<CWin32Exception>([&] { CPath::GetFullPath(L"x"); }, {.code = 1450});
    static const auto tooLong = [](DWORD, wchar_t*) -> DWORD { return 300; };
    const ImportHook hook("GetTempPathW", tooLong);
    ExpectThrow<CWin32Exception>([] { CPath::GetTempPathW(); }, {.code = ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(Paths, NullIsRefusedByName) {
    const std::pair<const wchar_t*, std::function<void()>> rows[] = {
        {L"path", [] { CPath::AddBackslash(nullptr); }},
        {L"path", [] { CPath::GetFileName(nullptr); }},
        {L"path", [] { CPath::GetDirectoryName(nullptr); }},
        {L"path", [] { CPath::GetFullPath(nullptr); }},
        {L"path", [] { CPath::NormalizePath(nullptr); }},
        {L"path", [] { CPath::NormalizeUncName(nullptr); }},
        {L"path1", [] { CPath::Combine(nullptr, nullptr); }},
        {L"path2", [] { CPath::Combine(L"", nullptr); }},
        {L"prefix", [] { CPath::GetTempFileNameW(L"", nullptr); }},
        {L"filePath", [] { CFile::Exists(nullptr); }},
        {L"filePath", [] { CFile::GetSize(nullptr); }},
        {L"filePath", [] { CFile::Delete(nullptr, false); }},
        {L"source", [] { CFile::Copy(nullptr, nullptr, false); }},
        {L"destination", [] { CFile::Copy(L"a", nullptr, false); }},
        {L"source", [] { CFile::Move(nullptr, L"", false, false); }},
        {L"destination", [] { CFile::Move(L"a", nullptr, false, false); }},
        {L"directoryPath", [] { CDirectory::Exists(nullptr); }},
        {L"directoryPath", [] { CDirectory::Create(nullptr, nullptr); }},
        {L"directoryPath", [] { CDirectory::Delete(nullptr, true, false); }},
    };
    for (const auto& [param, action] : rows) {
        ExpectThrow<CArgumentNullException>(action, {.param = param});
    }
    const std::pair<const wchar_t*, std::function<void()>> empty[] = {
        {L"filePath", [] { CFile::GetSize(L""); }},
        {L"filePath", [] { CFile::Delete(L"", false); }},
        {L"source", [] { CFile::Copy(L"", nullptr, true); }},
        {L"destination", [] { CFile::Move(L"a", L"", true, true); }},
        {L"directoryPath", [] { CDirectory::Create(L"", nullptr); }},
        {L"directoryPath", [] { CDirectory::Delete(L"", true, false); }},
    };
    for (const auto& [param, action] : empty) {
        ExpectThrow<CArgumentException>(action, {.param = param, .contains = L"Cannot be empty"});
    }
}

TEST_F(FilesAndFolders, ExistOrNot) {
    Put(L"file", "12345");
    EXPECT_TRUE(CFile::Exists(At(L"file").c_str()));
    EXPECT_FALSE(CDirectory::Exists(At(L"file").c_str()));
    EXPECT_TRUE(CDirectory::Exists(At(L"tmp").c_str()));
    EXPECT_FALSE(CFile::Exists(At(L"tmp").c_str()));
    for (const std::wstring& missing : {std::wstring(), At(L"missing"), At(L"missing\\file")}) {
        EXPECT_FALSE(CFile::Exists(missing.c_str()));
        EXPECT_FALSE(CDirectory::Exists(missing.c_str()));
    }
    ExpectThrow<CWin32Exception>([] { CFile::Exists(L"a?b"); }, {.code = 123});
    FailingCalls calls({{"GetFileAttributesExW", 0, ERROR_ACCESS_DENIED}});
    calls.FailOn(1);
    ExpectThrow<CWin32Exception>([&] { CDirectory::Exists(At(L"tmp").c_str()); }, {.code = 5});
    FailingCalls notReady({{"GetFileAttributesExW", 0, ERROR_NOT_READY}});
    notReady.FailOn(1);
    EXPECT_FALSE(CFile::Exists(At(L"file").c_str()));
}

TEST_F(FilesAndFolders, CopyMoveDelete) {
    Put(L"a", "12345");
    const std::wstring a = At(L"a"), b = At(L"b"), missing = At(L"missing");
    EXPECT_EQ(CFile::GetSize(a.c_str()), 5);
    CFile::Copy(a.c_str(), b.c_str(), false);
    EXPECT_EQ(Get(L"b"), "12345");
    ExpectThrow<CWin32Exception>([&] { CFile::Copy(a.c_str(), b.c_str(), false); }, {.code = ERROR_FILE_EXISTS});
    CFile::Copy(a.c_str(), b.c_str(), true);
    ExpectThrow<CWin32Exception>([&] { CFile::Move(a.c_str(), b.c_str(), false, false); }, {.code = 183});
    CFile::Move(a.c_str(), b.c_str(), true, false);
    EXPECT_FALSE(CFile::Exists(a.c_str()));
    ExpectThrow<CWin32Exception>([&] { CFile::GetSize(a.c_str()); }, {.code = 2});
    ExpectThrow<CWin32Exception>([&] { CFile::Delete(missing.c_str(), true); }, {.code = 2});
    ExpectThrow<CWin32Exception>([&] { CFile::Delete(At(L"tmp").c_str(), false); }, {.code = 5});
    CFile::Delete(missing.c_str(), false);
    CFile::Delete((missing + L"\\file").c_str(), false);
    CFile::Delete(b.c_str(), true);
    static std::vector<DWORD> s_flags;
    static const auto move = [](const wchar_t*, const wchar_t*, DWORD flags) -> BOOL {
        s_flags.push_back(flags);
        return TRUE;
    };
    const ImportHook hook("MoveFileExW", move);
    for (const int choice : {0, 1, 2, 3}) {
        CFile::Move(L"a", L"b", (choice & 1) != 0, (choice & 2) != 0);
    }
    EXPECT_EQ(s_flags, (std::vector<DWORD>{8, 9, 10, 11}));
}

TEST_F(FilesAndFolders, CreateMakesEveryLevel) {
    const std::wstring deep = At(L"one\\two/three\\\\four\\");
    CDirectory::Create(deep.c_str(), nullptr);
    CDirectory::Create(deep.c_str(), nullptr);
    EXPECT_TRUE(CDirectory::Exists(At(L"one\\two\\three\\four").c_str()));
    Put(L"file", "");
    ExpectThrow<CWin32Exception>(
        [&] { CDirectory::Create(At(L"file\\x").c_str(), nullptr); },
        {.contains = (L"Could not create the part '" + At(L"file\\x\\") + L"' of directory '" + At(L"file\\x") + L"'")
                         .c_str()});
    static const auto record = [](const wchar_t* path, SECURITY_ATTRIBUTES* security) -> BOOL {
        g_created.push_back(path + std::wstring(security != nullptr ? L"*" : L""));
        return TRUE;
    };
    const ImportHook hook("CreateDirectoryW", record);
    const struct {
        const wchar_t* path;
        std::vector<std::wstring> levels;
    } rows[] = {
        {L"C:\\a\\b", {L"C:\\a\\*", L"C:\\a\\b\\*"}},
        {L"C:/a", {L"C:\\a\\*"}},
        {L"a\\b", {L"a\\*", L"a\\b\\*"}},
        {L"\\a", {L"\\a\\*"}},
        {L"\\\\s\\h\\a\\b", {L"\\\\s\\h\\a\\*", L"\\\\s\\h\\a\\b\\*"}},
        {L"//s/h/a", {L"\\\\s\\h\\a\\*"}},
        {L"\\\\s\\h", {}},
        {L"\\\\?\\C:\\a", {L"\\\\?\\C:\\a\\*"}},
        {L"C:\\", {}},
    };
    for (const auto& row : rows) {
        g_created.clear();
        SECURITY_ATTRIBUTES security{};
        CDirectory::Create(row.path, &security);
        EXPECT_EQ(g_created, row.levels) << row.path;
    }
    for (const wchar_t* server : {L"\\\\srv", L"//srv"}) {
        ExpectThrow<CArgumentException>(
            [&] { CDirectory::Create(server, nullptr); },
            {.message = L"'The UNC path should be of the form \\serverhare': parameter name: 'directoryPath'"});
    }
}

TEST_F(FilesAndFolders, DeleteTakesATreeOrAnEmptyFolder) {
    CDirectory::Create(At(L"tree\\a\\b").c_str(), nullptr);
    Put(L"tree\\a\\file", "x");
    const std::wstring tree = At(L"tree"), missing = At(L"missing");
    ExpectThrow<CWin32Exception>([&] { CDirectory::Delete(tree.c_str(), false, false); },
                                 {.code = ERROR_DIR_NOT_EMPTY});
    for (const wchar_t* wild : {L"tr*", L"tre?"}) {
        ExpectThrow<CArgumentException>([&] { CDirectory::Delete(At(wild).c_str(), true, false); },
                                        {.param = L"directoryPath"});
    }
    {
        const std::ofstream open(At(L"tree\\a\\file").c_str());
        const HANDLE held = ::CreateFileW(At(L"tree\\a\\b").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                          FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        ExpectThrow<CWin32Exception>([&] { CDirectory::Delete(tree.c_str(), true, false); });
        ::CloseHandle(held);
    }
    CDirectory::Delete(tree.c_str(), true, true);
    EXPECT_FALSE(CDirectory::Exists(tree.c_str()));
    for (const bool recursive : {false, true}) {
        CDirectory::Delete(missing.c_str(), recursive, false);
        ExpectThrow<CWin32Exception>([&] { CDirectory::Delete(missing.c_str(), recursive, true); }, {.code = 2});
    }
    static const auto aborted = [](SHFILEOPSTRUCTW* operation) -> int {
        operation->fAnyOperationsAborted = TRUE;
        return operation->pFrom[std::wcslen(operation->pFrom) + 1] == L'\0' && operation->fFlags == 0x614 ? 0 : 99;
    };
    const ImportHook hook("SHFileOperationW", aborted);
    ExpectThrow<CWin32Exception>([&] { CDirectory::Delete(tree.c_str(), true, false); }, {.code = ERROR_CANCELLED});
}
