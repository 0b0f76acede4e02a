#include "Support/Test.h"

namespace {

class Paths : public FolderTest {};
class FilesAndFolders : public FolderTest {};

} // namespace

TEST_F(Paths, TextOperations) {
    for (const wchar_t* row :
         {L"C:\\a | b | C:\\a\\b", L"C:\\a\\ | b | C:\\a\\b", L"C:/a/ | b | C:/a/b", L"C: | b | C:b", L" | b | b",
          L"a |  | a", L"C:\\a | \\b | \\b", L"C:\\a | /b | /b", L"C:\\a | D:b | D:b", L" |  | "}) {
        const auto [path1, path2, combined] = Cells<3>(row);
        EXPECT_EQ(CPath::Combine(path1.c_str(), path2.c_str()), combined) << row;
    }
    const wchar_t* const rows[][6] = {
        // path, with backslash, file name, directory; parent and child
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
    for (const auto& [path, backslash, fileName, directory, parent, child] : rows) {
        EXPECT_EQ(CPath::AddBackslash(path), backslash);
        EXPECT_EQ(CPath::GetFileName(path), fileName);
        EXPECT_EQ(CPath::GetDirectoryName(path), directory) << path;
        EXPECT_EQ(CPath::SplitParentChild(path), std::make_pair(std::wstring(parent), std::wstring(child)));
    }
    EXPECT_EQ(CPath::GetDirectoryName((L"C:\\" + std::wstring(1000, L'a') + L"\\b").c_str()).size(), 1003u);
    for (const wchar_t* drive : {L"\\\\s\\C:\\x", L"\\\\s\\C%3A\\x", L"\\\\s\\C%3a\\x"}) {
        EXPECT_EQ(CPath::NormalizeUncName(drive), L"\\\\s\\C$\\x");
    }
    for (const wchar_t* other :
         {L"\\\\s\\C:x", L"\\\\s\\share\\C:", L"C:\\x", L"\\\\s", L"", L"\\\\s\\C%3", L"\\\\?\\C:\\x", L"\\\\.\\C:"}) {
        EXPECT_EQ(CPath::NormalizeUncName(other), other);
    }
    EXPECT_EQ(CPath::NormalizeUncName(L"\\\\s\\C:"), L"\\\\s\\C$");
}

TEST_F(Paths, AsksTheSystem) {
    EXPECT_EQ(CPath::GetFullPath(At(L"a\\..\\b").c_str()), At(L"b"));
    EXPECT_EQ(CPath::GetFullPath((L"C:\\" + std::wstring(400, L'a')).c_str()).size(), 403u);
    ExpectError(ERROR_INVALID_NAME, [] { CPath::GetFullPath(L""); });
    EXPECT_EQ(CPath::GetTempPathW(), At(L"tmp\\"));
    const std::wstring file = CPath::GetTempFileNameW(At(L""), L"zip");
    EXPECT_EQ(CPath::GetFileName(file.c_str()).substr(0, 3), L"zip");
    EXPECT_EQ(CFile::GetSize(file.c_str()), 0);
    EXPECT_NE(CPath::GetTempFileNameW(At(L""), L""), file);
    EXPECT_EQ(CPath::NormalizePath(file.c_str()), file);
    ExpectError(2, [&] { CPath::NormalizePath(At(L"missing").c_str()); });
    ExpectThrow<CWin32Exception>([&] { CPath::GetTempFileNameW(At(L"missing"), L"zip"); });
    ExpectMessage<CArgumentException>(
        L"'Source switch '%s' cannot be found in switches collection: argument is out of range, actual "
        L"value was four': parameter name: 'prefix'",
        [&] { CPath::GetTempFileNameW(At(L""), L"four"); });
    ExpectFailing({"GetTempPathW", 0, 0}, [] { CPath::GetTempPathW(); }, {.code = ERROR_INSUFFICIENT_BUFFER});
    ExpectFailing("GetFullPathNameW", [&] { CPath::GetFullPath(L"x"); });
    ExpectError(ERROR_BUFFER_OVERFLOW, [] { CPath::GetTempFileNameW(std::wstring(247, L'a'), L"zip"); });
    int calls = 0; // another thread changes the current folder after the first one
    const ImportHook grows("GetFullPathNameW", [&](const wchar_t* path, DWORD size, wchar_t* buffer, wchar_t** name) {
        return ++calls == 1 ? 3 : ::GetFullPathNameW(path, size, buffer, name);
    });
    EXPECT_EQ(CPath::GetFullPath(L"C:\\folder"), L"C:\\folder");
    EXPECT_EQ(calls, 3);
    const ImportHook hook("GetTempPathW", [](DWORD, wchar_t*) -> DWORD { return 300; });
    ExpectError(ERROR_INSUFFICIENT_BUFFER, [] { CPath::GetTempPathW(); });
}

TEST_F(Paths, NullIsRefusedByName) {
    for (const auto method : {&CPath::AddBackslash, &CPath::GetFileName, &CPath::GetDirectoryName, &CPath::GetFullPath,
                              &CPath::NormalizePath, &CPath::NormalizeUncName}) {
        ExpectNull(L"path", [&] { method(nullptr); });
    }
    ExpectNull(L"path1", [] { CPath::Combine(nullptr, nullptr); });
    ExpectNull(L"path2", [] { CPath::Combine(L"", nullptr); });
    ExpectNull(L"prefix", [] { CPath::GetTempFileNameW(L"", nullptr); });
    ExpectNull(L"filePath", [] { CFile::Exists(nullptr); });
    ExpectNull(L"filePath", [] { CFile::GetSize(nullptr); });
    ExpectNull(L"filePath", [] { CFile::Delete(nullptr, false); });
    ExpectNull(L"source", [] { CFile::Copy(nullptr, nullptr, false); });
    ExpectNull(L"destination", [] { CFile::Copy(L"a", nullptr, false); });
    ExpectNull(L"source", [] { CFile::Move(nullptr, L"", false, false); });
    ExpectNull(L"destination", [] { CFile::Move(L"a", nullptr, false, false); });
    ExpectNull(L"directoryPath", [] { CDirectory::Exists(nullptr); });
    ExpectNull(L"directoryPath", [] { CDirectory::Create(nullptr, nullptr); });
    ExpectNull(L"directoryPath", [] { CDirectory::Delete(nullptr, true, false); });
    const auto expectEmpty = [](const wchar_t* name, const std::function<void()>& action) {
        ExpectArgument(name, action, {.contains = L"Cannot be empty"});
    };
    expectEmpty(L"filePath", [] { CFile::GetSize(L""); });
    expectEmpty(L"filePath", [] { CFile::Delete(L"", false); });
    expectEmpty(L"source", [] { CFile::Copy(L"", nullptr, true); });
    expectEmpty(L"destination", [] { CFile::Move(L"a", L"", true, true); });
    expectEmpty(L"directoryPath", [] { CDirectory::Create(L"", nullptr); });
    expectEmpty(L"directoryPath", [] { CDirectory::Delete(L"", true, false); });
}

TEST_F(FilesAndFolders, ExistOrNot) {
    Put(L"file", "12345");
    EXPECT_TRUE(CFile::Exists(At(L"file").c_str()) && CDirectory::Exists(At(L"tmp").c_str()));
    EXPECT_FALSE(CDirectory::Exists(At(L"file").c_str()) || CFile::Exists(At(L"tmp").c_str()));
    for (const std::wstring& missing : {std::wstring(), At(L"missing"), At(L"missing\\file")}) {
        EXPECT_FALSE(CFile::Exists(missing.c_str()) || CDirectory::Exists(missing.c_str())) << missing;
    }
    ExpectError(123, [] { CFile::Exists(L"a?b"); });
    ExpectFailing({"GetFileAttributesExW", 0, 5}, [&] { CDirectory::Exists(At(L"tmp").c_str()); });
    const FailingCalls notReady(SystemCall("GetFileAttributesExW", 0, ERROR_NOT_READY));
    EXPECT_FALSE(CFile::Exists(At(L"file").c_str()));
}

TEST_F(FilesAndFolders, CopyMoveDelete) {
    Put(L"a", "12345");
    const std::wstring a = At(L"a"), b = At(L"b"), missing = At(L"missing");
    EXPECT_EQ(CFile::GetSize(a.c_str()), 5);
    CFile::Copy(a.c_str(), b.c_str(), false);
    EXPECT_EQ(Get(L"b"), "12345");
    ExpectError(ERROR_FILE_EXISTS, [&] { CFile::Copy(a.c_str(), b.c_str(), false); });
    CFile::Copy(a.c_str(), b.c_str(), true);
    ExpectError(183, [&] { CFile::Move(a.c_str(), b.c_str(), false, false); });
    CFile::Move(a.c_str(), b.c_str(), true, false);
    EXPECT_FALSE(CFile::Exists(a.c_str()));
    ExpectError(2, [&] { CFile::GetSize(a.c_str()); });
    ExpectError(2, [&] { CFile::Delete(missing.c_str(), true); });
    ExpectError(5, [&] { CFile::Delete(At(L"tmp").c_str(), false); });
    CFile::Delete(missing.c_str(), false);
    CFile::Delete((missing + L"\\file").c_str(), false);
    CFile::Delete(b.c_str(), true);
    std::vector<DWORD> flags;
    const ImportHook hook("MoveFileExW", [&](const wchar_t*, const wchar_t*, DWORD passed) -> BOOL {
        flags.push_back(passed);
        return TRUE;
    });
    for (const int choice : {0, 1, 2, 3}) {
        CFile::Move(L"a", L"b", (choice & 1) != 0, (choice & 2) != 0);
    }
    EXPECT_EQ(flags, (std::vector<DWORD>{8, 9, 10, 11}));
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
    std::wstring created;
    const ImportHook hook("CreateDirectoryW", [&](const wchar_t* path, SECURITY_ATTRIBUTES* security) -> BOOL {
        created += path + std::wstring(security != nullptr ? L"*;" : L";");
        return TRUE;
    });
    for (const wchar_t* row :
         {L"C:\\a\\b | C:\\a\\*;C:\\a\\b\\*;", L"C:/a | C:\\a\\*;", L"a\\b | a\\*;a\\b\\*;", L"\\a | \\a\\*;",
          L"\\\\s\\h\\a\\b | \\\\s\\h\\a\\*;\\\\s\\h\\a\\b\\*;", L"//s/h/a | \\\\s\\h\\a\\*;", L"\\\\s\\h | ",
          L"\\\\?\\C:\\a | \\\\?\\C:\\a\\*;", L"C:\\ | ", L"C:a\\b | C:a\\*;C:a\\b\\*;",
          L"\\\\?\\UNC\\s\\h\\a | \\\\?\\UNC\\s\\h\\a\\*;", L"a . | a\\*;", L".. | ..\\*;",
          L"\\\\?\\C:\\a.  | \\\\?\\C:\\a. \\*;"}) {
        const auto [path, levels] = Cells(row);
        created.clear();
        SECURITY_ATTRIBUTES security{};
        CDirectory::Create(path.c_str(), &security);
        EXPECT_EQ(created, levels) << path;
    }
    for (const wchar_t* server : {L"\\\\srv", L"//srv"}) {
        ExpectMessage<CArgumentException>(
            L"'The UNC path should be of the form \\serverhare': parameter name: 'directoryPath'",
            [&] { CDirectory::Create(server, nullptr); });
    }
}

TEST_F(FilesAndFolders, DeleteTakesATreeOrAnEmptyFolder) {
    CDirectory::Create(At(L"tree\\a\\b").c_str(), nullptr);
    Put(L"tree\\a\\file", "x");
    const std::wstring tree = At(L"tree"), missing = At(L"missing");
    ExpectError(ERROR_DIRECTORY, [&] { CDirectory::Delete(At(L"tree\\a\\file").c_str(), true, false); });
    ExpectError(ERROR_DIRECTORY, [&] { CDirectory::Delete(At(L"tree\\a\\file").c_str(), false, false); });
    EXPECT_TRUE(CFile::Exists(At(L"tree\\a\\file").c_str()));
    ExpectError(ERROR_DIR_NOT_EMPTY, [&] { CDirectory::Delete(tree.c_str(), false, false); });
    for (const wchar_t* wild : {L"tr*", L"tre?"}) {
        ExpectArgument(L"directoryPath", [&] { CDirectory::Delete(At(wild).c_str(), true, false); });
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
        ExpectError(2, [&] { CDirectory::Delete(missing.c_str(), recursive, true); });
    }
    // Paths too long for the shell, which would delete something else instead: a folder inside, or the path itself.
    CDirectory::Create(At(L"keep").c_str(), nullptr);
    Put(L"keep\\file", "x");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(At(L"keep"));
    std::wstring deep = tree;
    for (int i = 0; i < 30; ++i) {
        deep += L"\\abcdefghi0";
    }
    CDirectory::Create(deep.c_str(), nullptr);
    for (const std::wstring& file : {deep + L"\\file", tree + L"\\file"}) {
        CFileStream(L"\\\\?\\" + file, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_READONLY);
    }
    ExpectFailing({"RemoveDirectoryW", 0, 5}, [&] { CDirectory::Delete(tree.c_str(), true, true); });
    CDirectory::Delete(tree.c_str(), true, true);
    CDirectory::Delete(deep.c_str(), true, false);
    ExpectThrow<CWin32Exception>([&] { CDirectory::Delete(deep.c_str(), true, true); });
    std::filesystem::current_path(before);
    EXPECT_FALSE(CDirectory::Exists(tree.c_str()));
    EXPECT_TRUE(CFile::Exists(At(L"keep\\file").c_str()));
    CDirectory::Create((L"\\\\?\\" + tree + L"\\a.\\b ").c_str(), nullptr); // the shell removes spaces and dots
    {
        const ImportHook odd("GetFileAttributesW", [](const wchar_t* path) -> DWORD {
            return path[2] == L'?' ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(path);
        });
        ExpectError(ERROR_BAD_PATHNAME, [&] { CDirectory::Delete(tree.c_str(), true, true); });
    }
    CDirectory::Delete(tree.c_str(), true, false);
    EXPECT_FALSE(CDirectory::Exists(tree.c_str()));
    const ImportHook hook("SHFileOperationW", [](SHFILEOPSTRUCTW* operation) -> int {
        operation->fAnyOperationsAborted = TRUE;
        return operation->pFrom[std::wcslen(operation->pFrom) + 1] == L'\0' && operation->fFlags == 0x614 ? 0 : 99;
    });
    ExpectError(ERROR_CANCELLED, [&] { CDirectory::Delete(tree.c_str(), true, false); });
    for (const int says : {0, 2, 124}) { // whatever the shell returns, nothing must remain
        const ImportHook idle("SHFileOperationW", [says](SHFILEOPSTRUCTW*) { return says; });
        CDirectory::Create((tree + L"\\below").c_str(), nullptr);
        CDirectory::Delete(tree.c_str(), true, false);
        EXPECT_FALSE(CDirectory::Exists(tree.c_str()));
    }
    { // not a link but a file stored by a service: its contents are deleted as well
        CDirectory::Create((tree + L"\\below").c_str(), nullptr);
        const ImportHook placeholder("GetFileAttributesW", [&](const wchar_t* path) -> DWORD {
            return ::GetFileAttributesW(path) | (path == L"\\\\?\\" + tree ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
        });
        CDirectory::Delete((L"\\\\?\\" + tree).c_str(), true, true); // not by the shell, which is hooked
    }
    EXPECT_FALSE(CDirectory::Exists(tree.c_str()));
    // A whole drive is searched for links too ("@" here). They are deleted without the shell, and their targets are
    // not.
    std::wstring seen;
    const ImportHook attributes("GetFileAttributesW", [](const wchar_t* path) -> DWORD {
        return std::wcschr(path, L'@') ? 0x410 : std::wcslen(path) > 6 ? 0x10 : INVALID_FILE_ATTRIBUTES; // not "Q:"
    });
    const ImportHook find("FindFirstFileW", [&](const wchar_t* path, WIN32_FIND_DATAW* data) {
        seen += path;
        const bool isLink = path[std::wcslen(path) - 1] == L'@';
        const HANDLE search = isLink ? ::FindFirstFileW(At(L"*").c_str(), data) : INVALID_HANDLE_VALUE;
        data->dwReserved0 = IO_REPARSE_TAG_SYMLINK;
        return search;
    });
    const ImportHook remove("RemoveDirectoryW", [&](const wchar_t* path) -> BOOL { return seen += path, TRUE; });
    ExpectError(ERROR_CANCELLED, [] { CDirectory::Delete(L"Q:\\", true, false); });
    ExpectError(ERROR_CANCELLED, [] { CDirectory::Delete(L"\\\\s\\h\\a", true, false); });
    CDirectory::Delete(L"Q:\\@", true, true);
    EXPECT_EQ(seen, L"\\\\?\\Q:\\*\\\\?\\UNC\\s\\h\\a\\*\\\\?\\Q:\\@\\\\?\\Q:\\@");
}
