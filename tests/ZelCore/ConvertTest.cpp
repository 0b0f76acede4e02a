#include "Support/Test.h"

#include <clocale>

namespace {

using Blob = std::vector<unsigned char>;

Blob ToBytes(const char* text) {
    return {text, text + std::strlen(text)};
}

const wchar_t* const IsInBase64 = L"ZelCore::`anonymous-namespace'::CBase64::IsInBase64";
const wchar_t* const Decode = L"ZelCore::`anonymous-namespace'::CBase64::Decode";

} // namespace

TEST(Convert, Base64FollowsTheVectorsOfRfc4648) {
    const char* plain[] = {"f", "fo", "foo", "foob", "fooba", "foobar"};
    const wchar_t* encoded[] = {L"Zg==", L"Zm8=", L"Zm9v", L"Zm9vYg==", L"Zm9vYmE=", L"Zm9vYmFy"};
    for (std::size_t i = 0; i < std::size(plain); ++i) {
        const Blob bytes = ToBytes(plain[i]);
        EXPECT_EQ(CConvert::ToBase64String(bytes.data(), bytes.size(), false), encoded[i]);
        EXPECT_EQ(CConvert::FromBase64String(encoded[i]), bytes);
    }
    EXPECT_EQ(CConvert::ToBase64String(ToBytes("x").data(), 0, true), L"");
    ExpectNull(L"data", [] { CConvert::ToBase64String(nullptr, 0, false); });
}

TEST(Convert, Base64BreaksLinesOnlyBetweenThem) {
    for (std::size_t size = 0; size < 400; ++size) {
        Blob bytes(size + 1);
        for (std::size_t i = 0; i < size; ++i) {
            bytes[i] = static_cast<unsigned char>(i * 7 + size);
        }
        const std::wstring flat = CConvert::ToBase64String(bytes.data(), size, false);
        std::wstring broken;
        for (std::size_t i = 0; i < flat.size(); i += 76) {
            broken += (i != 0 ? L"\r\n" : L"") + flat.substr(i, 76);
        }
        ASSERT_EQ(CConvert::ToBase64String(bytes.data(), size, true), broken) << size;
        bytes.resize(size);
        ASSERT_EQ(CConvert::FromBase64String((broken + L" \t\r\n").c_str()), bytes) << size;
    }
}

TEST(Convert, Base64RefusesEverythingElse) {
    for (const wchar_t* row :
         {L"Zg | an incomplete group", L"Zm9vZ | one character too many", L"Zg= | half of the padding",
          L"=Zg= | padding first", L"Z=== | padding second", L"Zg=v | a digit after padding",
          L"Zg==Zg== | data after the end", L"Zm9v==== | a group of padding", L"Zm9v! | no digit",
          L"Zm\u01309v | no ASCII", L"Zg==- | no digit after the end"}) {
        SCOPED_TRACE(row);
        const auto [text, why] = Cells(row);
        const bool digits = !why.starts_with(L"no ");
        ExpectMessage<CFormatException>(L"Invalid base 64 string", [&] { CConvert::FromBase64String(text.c_str()); },
                                        {.method = digits ? Decode : IsInBase64});
    }
    EXPECT_EQ(CConvert::FromBase64String(L" \r\n\t"), Blob());
    EXPECT_EQ(CConvert::FromBase64String(L"Z m\n9\tv"), ToBytes("foo"));
    EXPECT_EQ(CConvert::FromBase64String(L"Zm9v Zg =\r= "), ToBytes("foof"));
    ExpectNull(L"value", [] { CConvert::FromBase64String(nullptr); });
}

TEST(Convert, HexadecimalBothWays) {
    Blob all(256);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<unsigned char>(i);
    }
    const std::wstring text = CConvert::ToHexString(all.data(), all.size());
    EXPECT_EQ(text.substr(0, 8) + L"|" + text.substr(504), L"00010203|FCFDFEFF");
    EXPECT_EQ(CConvert::FromHexString(text.c_str()), all);
    EXPECT_EQ(CConvert::FromHexString(L"0a0B"), (Blob{10, 11}));
    EXPECT_EQ(CConvert::FromHexString(L""), Blob());
    EXPECT_EQ(CConvert::ToHexString(all.data(), 0), L"");
    for (const wchar_t* bad : {L"abc", L"0g", L"g0", L"0x", L" 0", L"\u01300", L"0\u0661"}) {
        ExpectMessage<CFormatException>(L"Invalid base 16 string", [&] { CConvert::FromHexString(bad); });
    }
    ExpectNull(L"value", [] { CConvert::FromHexString(nullptr); });
    ExpectNull(L"value", [] { CConvert::ToHexString(nullptr, 0); });
    // The end of a text is found at every alignment.
    for (std::size_t offset = 0; offset < 16; ++offset) {
        for (std::size_t length = 0; length < 40; length += 2) {
            const std::wstring shifted = std::wstring(offset, L'!') + std::wstring(length, L'A');
            ASSERT_EQ(CConvert::FromHexString(shifted.c_str() + offset).size(), length / 2);
        }
    }
}

TEST(Convert, NumbersAreTheWholeTextAndSaturate) {
    EXPECT_EQ(CConvert::ToInt32(L"-12"), -12);
    EXPECT_EQ(CConvert::ToInt32(L"99999999999"), 2147483647);
    EXPECT_EQ(CConvert::ToUInt32(L"4294967295"), 4294967295u);
    EXPECT_EQ(CConvert::ToInt64(L"-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(CConvert::ToUInt64(L"99999999999999999999"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(CConvert::ToDouble(L"-2.5e3"), -2500.0);
    const auto check = [](auto convert, const wchar_t* text, const wchar_t* message) {
        ExpectArgument(L"value", [&] { convert(text); }, {.message = message});
        ExpectMessage<CArgumentException>(L"'Cannot be empty': parameter name: 'value'", [&] { convert(L""); });
        ExpectNull(L"value", [&] { convert(nullptr); });
    };
    const wchar_t* integer = L"'Invalid integer number string '12x'': parameter name: 'value'";
    check(CConvert::ToInt32, L"12x", integer);
    check(CConvert::ToInt64, L"12x", integer);
    check(CConvert::ToUInt32, L"12x", integer);
    check(CConvert::ToUInt64, L"12x", integer);
    check(CConvert::ToDouble, L"x", L"'Invalid floating-point number string 'x'': parameter name: 'value'");
    ExpectArgument(L"value", [] { CConvert::ToInt32(L" "); });
    const std::wstring zeros(400, L'0');
    for (const std::wstring& text :
         {std::wstring(L" 1.5"), std::wstring(L"+.5"), std::wstring(L"5."), std::wstring(L"-1E+2"),
          std::wstring(L"0x1.8p3"), std::wstring(L"-inf"), std::wstring(L"1e999"), std::wstring(L"-1e-999"),
          std::wstring(L"0x1p-9999"), std::wstring(L"1e99999999999999999999"), L"0." + zeros + L"1e400",
          L"0." + zeros + L"1", L"1" + zeros, L"1" + zeros + L"e-400"}) {
        EXPECT_EQ(CConvert::ToDouble(text.c_str()), std::wcstod(text.c_str(), nullptr)) << text;
    }
    for (const wchar_t* bad : {L"+-1", L"0x", L"0xinf", L"\u00A05", L"1e", L"1,5", L"1.5\u0661", L"."}) {
        ExpectArgument(L"value", [&] { CConvert::ToDouble(bad); });
    }
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "German_Germany.1252"); // has a decimal comma
    EXPECT_EQ(CConvert::ToDouble(L"1.5"), 1.5);
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_NEAR(CConvert::ToDouble((L"0." + std::wstring(1'000'000, L'3')).c_str()), 1.0 / 3, 1e-15); // in linear time
}
