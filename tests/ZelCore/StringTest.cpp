#include "Support/Test.h"

TEST(String, FormatsLikeTheRuntime) {
    EXPECT_EQ(CString::Format(L"%s|%S|%d|%lu|%04hu|%+03d|%I64u|%c", L"wide", "narrow", -1, 4000000000ul, 7, 5,
                              0xFFFFFFFFFFFFFFFFull, L'x'),
              L"wide|narrow|-1|4000000000|0007|+05|18446744073709551615|x");
    EXPECT_EQ(CString::Format(L""), L"");
    EXPECT_EQ(CString::Format(L"%s", std::wstring(100'000, L'a').c_str()).size(), 100'000u);
    EXPECT_EQ(CString::FormatPositional(L"%2$s is %1$d", 5, L"five"), L"five is 5");
    EXPECT_EQ(CString::FormatPositional(L"%s %d", L"plain", 5), L"plain 5");
    EXPECT_EQ(CString::FormatPositional(L""), L"");
    EXPECT_EQ(CString::FormatPositional(L"%1$e", 1.5), CString::Format(L"%e", 1.5));
}

TEST(String, RefusesBadFormats) {
    const Failure bad{.param = L"format", .message = L"'': parameter name: 'format'"};
    ExpectArgument(bad, [] { CString::Format(L"%y"); }); // accepted for counting, rejected for printing
    ExpectNull(L"format", [] { CString::Format(nullptr); }, {.method = L"CString::Format"});
    ExpectNull(L"format", [] { CString::FormatV(nullptr, {}); }, {.method = L"CString::FormatV"});
    ExpectNull(L"format", [] { CString::FormatPositional(nullptr); }, {.method = L"CString::FormatPositional"});
    ExpectNull(L"format", [] { CString::FormatPositionalV(nullptr, {}); }, {.method = L"CString::FormatPositionalV"});
    EXPECT_TRUE(RunInChild(L"String.DISABLED_TheRuntimeIsTheSystems"));
    const ImportHook hook("_vscwprintf", [](const wchar_t*, char*) { return -1; });
    ExpectArgument(L"format", [] { CString::Format(L"x"); });
}

/// A file of that name in the program's folder must not be loaded instead.
TEST(String, DISABLED_TheRuntimeIsTheSystems) {
    std::wstring loaded;
    const ImportHook hook("LoadLibraryExW", [&](const wchar_t* name, HANDLE file, DWORD flags) {
        return ::LoadLibraryExW((loaded = name).c_str(), file, flags);
    });
    EXPECT_EQ(CString::FormatPositional(L"%2$d%1$d", 1, 2), L"21");
    wchar_t folder[MAX_PATH] = L"";
    ::GetSystemDirectoryW(folder, MAX_PATH);
    EXPECT_EQ(loaded, std::wstring(folder) + L"\\ucrtbase.dll");
}

TEST(String, ComparesByCodeUnitOrWithoutCase) {
    constexpr auto ignoreCase = StringComparison::OrdinalIgnoreCase;
    constexpr auto ordinal = static_cast<StringComparison>(0);
    EXPECT_EQ(CString::Compare(L"Zel", L"zEL", ignoreCase), 0);
    EXPECT_EQ(CString::Compare(L"_", L"A", ignoreCase), L'_' - L'a') << "letters fold to lower case";
    EXPECT_EQ(CString::Compare(L"ax\uFFFF", L"AX", ignoreCase), 0xFFFF);
    EXPECT_NE(CString::Compare(L"\u00E9", L"\u00C9", ignoreCase), 0);
    EXPECT_EQ(CString::Compare(L"a", L"B", ordinal), 1);
    EXPECT_EQ(CString::Compare(L"ab", L"abc", ordinal), -1);
    EXPECT_EQ(CString::Compare(L"\uFFFF", L"a", ordinal), 1) << "code units have no sign";
    ExpectThrow<CArgumentNullException>([] { CString::Compare(nullptr, L"", ordinal); });
    ExpectThrow<CArgumentNullException>([] { CString::Compare(L"", nullptr, ordinal); });
}

TEST(String, TrimsSplitsAndJoins) {
    EXPECT_EQ(CString::Trim(L"\r\n a \r\n", L"\r\n "), L"a");
    EXPECT_EQ(CString::TrimStart(L"xxaxx", L"x"), L"axx");
    EXPECT_EQ(CString::TrimEnd(L"xxaxx", L"x"), L"xxa");
    for (const auto trim : {CString::Trim, CString::TrimStart, CString::TrimEnd}) {
        EXPECT_EQ(trim(L"xx", L"x"), L"");
        EXPECT_EQ(trim(L"", L"x"), L"");
        EXPECT_EQ(trim(L"ab", L""), L"ab");
    }
    using Pieces = std::vector<std::wstring>;
    EXPECT_EQ(CString::Split(L"a;b,c", L";,"), (Pieces{L"a", L"b", L"c"}));
    EXPECT_EQ(CString::Split(L";;a;", L";"), (Pieces{L"", L"", L"a", L""}));
    EXPECT_EQ(CString::Split(L"", L";"), Pieces{L""});
    EXPECT_EQ(CString::Split(L"a;b", L""), Pieces{L"a;b"});
    ExpectNull(L"separator", [] { CString::Split(L"", nullptr); });
    EXPECT_EQ(CString::Join(L", ", {L"a", L"", L"b"}), L"a, , b");
    EXPECT_EQ(CString::Join(L", ", {L"a"}), L"a");
    EXPECT_EQ(CString::Join(L", ", {}), L"");
}

TEST(String, ConvertsCodePages) {
    EXPECT_EQ(CString::ToMultiByte(L"ab", -1, 65001), std::string("ab\0", 3));
    EXPECT_EQ(CString::ToWideChar("ab", -1, 65001), std::wstring(L"ab\0", 3));
    const std::wstring mixed = L"\u00DCn\u00EF \u6570\u636E \U0001F600";
    const std::string utf8 = "\xC3\x9Cn\xC3\xAF \xE6\x95\xB0\xE6\x8D\xAE \xF0\x9F\x98\x80";
    EXPECT_EQ(CString::ToMultiByte(mixed.c_str(), static_cast<int>(mixed.size()), 65001), utf8);
    EXPECT_EQ(CString::ToWideChar(utf8.c_str(), static_cast<int>(utf8.size()), 65001), mixed);
    EXPECT_EQ(CString::ToMultiByte(L"\xD800", 1, 65001), "\xEF\xBF\xBD");
    EXPECT_EQ(CString::ToWideChar("\xFF", 1, 65001), L"\uFFFD");
    EXPECT_EQ(CString::ToMultiByte(L"", 5, 65001), "");
    EXPECT_EQ(CString::ToWideChar("", -1, 65001), L"");
    ExpectNull(L"value", [] { CString::ToMultiByte(nullptr, 0, 65001); });
    ExpectNull(L"value", [] { CString::ToWideChar(nullptr, 0, 65001); });
    ExpectError(87, [] { CString::ToMultiByte(L"a", 0, 65001); });
    ExpectError(87, [] { CString::ToWideChar("a", 1, 12345); });
    FailingCalls calls({"WideCharToMultiByte", "MultiByteToWideChar"});
    for (const int n : {1, 2}) { // measuring, converting
        calls.FailOn(n);
        ExpectError(1450, [] { CString::ToMultiByte(L"a", 1, 65001); });
        calls.FailOn(n);
        ExpectError(1450, [] { CString::ToWideChar("a", 1, 65001); });
    }
}
