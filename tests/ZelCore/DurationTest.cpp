#include "Support/Test.h"

#include <cmath>
#include <limits>
#include <regex>

namespace {

CDuration Parse(const wchar_t* text) {
    CDuration duration;
    EXPECT_TRUE(CDuration::TryParse(text, duration)) << text;
    return duration;
}

} // namespace

TEST(TimeSpan, HasPartsTotalsAndArithmetic) {
    const CTimeSpan span(1, 2, 3, 4, 5);
    EXPECT_EQ(span.ToString(), L"1.02:03:04.0050000");
    EXPECT_EQ(span.Negate().GetHours() * 10'000 + span.GetMilliseconds(), -19'995);
    EXPECT_EQ(span.GetDays() * 1000 + span.GetMinutes() * 10 + span.GetSeconds(), 1034);
    EXPECT_DOUBLE_EQ(CTimeSpan(36, 0, 0).GetTotalDays(), 1.5);
    EXPECT_DOUBLE_EQ(CTimeSpan(0, 1, 30).GetTotalMinutes() + CTimeSpan(0, 30, 0).GetTotalHours(), 2.0);
    EXPECT_DOUBLE_EQ(CTimeSpan(std::int64_t{15'000}).GetTotalMilliseconds() + CTimeSpan(0, 0, 2).GetTotalSeconds(),
                     3.5);
    CTimeSpan sum = CTimeSpan(1, 0, 0) + CTimeSpan(0, 30, 0) * 2;
    sum -= CTimeSpan(0, 0, 1);
    EXPECT_EQ(sum, CTimeSpan(1, 59, 59));
    EXPECT_LT(-sum, CTimeSpan::Zero);
    EXPECT_EQ((-sum).Duration(), sum);
    ExpectRange(L"ticks", [] { CTimeSpan::MaxValue + CTimeSpan(std::int64_t{1}); });
    ExpectRange(L"ticks", [] { CTimeSpan::MinValue - CTimeSpan(std::int64_t{1}); });
    ExpectRange(L"ticks", [] { CTimeSpan::MinValue.Negate(); });
    ExpectRange(L"ticks", [] { CTimeSpan::MaxValue * 2; });
    ExpectRange(L"ticks", [] { CTimeSpan(INT_MAX, 0, 0, 0); });
}

TEST(TimeSpan, ReadsWhatItWrites) {
    for (const std::int64_t ticks :
         {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1}, std::int64_t{863'999'999'999},
          std::int64_t{864'000'000'000}, INT64_MAX, INT64_MIN, std::int64_t{123'456'789'012}}) {
        const CTimeSpan span(ticks);
        EXPECT_EQ(CTimeSpan::Parse(span.ToString().c_str()), span) << ticks;
    }
    EXPECT_EQ(CTimeSpan::Parse(L"1:02:03.5").GetTicks(), CTimeSpan(0, 1, 2, 3, 500).GetTicks());
    for (const wchar_t* bad :
         {L"", L"-", L"1", L"1:2:3", L"24:00:00", L"00:60:00", L"00:00:60", L"00:00:00.", L"+1:00:00",
          L"00:00:00.12345678", L" 0:00:00", L"0:00:00 ", L"1.1.1:00:00", L"99999999.00:00:00", L"1."}) {
        CTimeSpan span(1, 1, 1);
        EXPECT_FALSE(CTimeSpan::TryParse(bad, span)) << bad;
        EXPECT_EQ(span, CTimeSpan::Zero);
        ExpectThrow<CFormatException>([&] { CTimeSpan::Parse(bad); }, {.contains = bad});
    }
    ExpectNull(L"value", [] { CTimeSpan::Parse(nullptr); });
}

TEST(Duration, MatchesLikeItsExpression) {
    const std::wregex expression(LR"(P(?:([0-9]+)Y)?(?:([0-9]+)M(?![0-9]+\.[0-9]+S))?(?:([0-9]+)D)?)"
                                 LR"((?:(T)(?:([0-9]+)H)?(?:([0-9]+)M)?(?:([0-9]+(?:\.[0-9]+)?)S)?)?)");
    const std::wstring pieces[] = {L"P", L"T", L"1", L"20", L"Y", L"M", L"D", L"H",
                                   L"M", L"S", L".", L"5S", L"-", L"W", L"7M"};
    unsigned seed = 1;
    int matched = 0;
    for (int i = 0; i < 30'000; ++i) {
        std::wstring text = L"P";
        for (unsigned count = (seed >> 20) % 9; count != 0; --count) {
            seed = seed * 1664525u + 1013904223u;
            text += pieces[(seed >> 16) % std::size(pieces)];
        }
        seed = seed * 1664525u + 1013904223u;
        std::wsmatch match;
        bool expected = std::regex_match(text, match, expression);
        if (expected) {
            expected = match[4].matched ? match[5].matched || match[6].matched || match[7].matched
                                        : match[1].matched || match[2].matched || match[3].matched;
        }
        CDuration duration(1);
        ASSERT_EQ(CDuration::TryParse(text.c_str(), duration), expected) << text;
        ASSERT_TRUE(expected || duration.ToString() == L"PT0S");
        matched += expected ? 1 : 0;
    }
    EXPECT_GT(matched, 300);
    CDuration kept(3);
    EXPECT_FALSE(CDuration::TryParse(nullptr, kept) || CDuration::TryParse(L"", kept));
    EXPECT_EQ(kept.GetYears(), 3);
    EXPECT_FALSE(CDuration::TryParse(L"P\x0661Y", kept)) << "digits of another script";
    const std::wstring digits(1'000'000, L'1');
    EXPECT_EQ(Parse((L"P" + digits + L"D").c_str()).GetDays(), INT_MAX);
    EXPECT_FALSE(CDuration::TryParse((L"P" + digits).c_str(), kept));
    EXPECT_NEAR(Parse((L"PT0." + digits + L"S").c_str()).GetSeconds(), 0.111111111, 1e-9);
    EXPECT_EQ(Parse((L"PT0." + std::wstring(400, L'0') + L"1S").c_str()).GetSeconds(), 0);
    EXPECT_TRUE(std::isfinite(Parse((L"PT" + digits + L"S").c_str()).GetSeconds()));
}

TEST(Duration, ReadsAndWrites) {
    for (const wchar_t* text :
         {L"P1Y2M3DT4H5M6.5S", L"PT0S", L"PT36H", L"PT90M", L"P1D", L"PT0.00001S", L"PT123456789S"}) {
        EXPECT_EQ(Parse(text).ToString(), text);
    }
    const CDuration all = Parse(L"P1Y2M3DT4H5M6.5S");
    EXPECT_EQ(all.GetYears() * 10'000 + all.GetMonths() * 1000 + all.GetDays() * 100 + all.GetHours() * 10 +
                  all.GetMinutes(),
              12'345);
    EXPECT_EQ(all.GetSeconds(), 6.5);
    EXPECT_EQ(CDuration(INT_MAX, INT_MAX, 2).ToString(), L"P2147483647Y2147483647M2D");
    EXPECT_EQ(CDuration(0, 0, 0, 0, 0, 1e300).ToString().size(), 304u);
    const wchar_t* const names[] = {L"years", L"months", L"days", L"hours", L"minutes", L"seconds"};
    for (int i = 0; i < 6; ++i) {
        const auto value = [i](int k) { return k < i ? 0 : -1 - k; };
        const std::wstring text = L"': argument is out of range, actual value was " + std::to_wstring(-1 - i) +
                                  L"': parameter name: '" + names[i] + L"'";
        ExpectMessage<CArgumentOutOfRangeException>(
            text.c_str(), [&] { CDuration(value(0), value(1), value(2), value(3), value(4), value(5)); },
            {.method = L"ZelCore::CDuration::CDuration"});
    }
    for (const double seconds : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        ExpectRange(L"seconds", [&] { CDuration(0, 0, 0, 0, 0, seconds); });
    }
}

TEST(Duration, BecomesASpanFromAStart) {
    const auto days = [](const wchar_t* text, int year, int month, int day) {
        return Parse(text).ToTimeSpan(CDateTime::FromDate(year, month, day)).GetTotalDays();
    };
    EXPECT_EQ(days(L"P1M", 2024, 1, 31), 29);
    EXPECT_EQ(days(L"P1Y", 2024, 2, 29), 365);
    EXPECT_EQ(days(L"P1Y1M1DT24H", 2023, 1, 31), 396 - 2 + 2);
    EXPECT_EQ(Parse(L"PT0.0004S").ToTimeSpan(), CTimeSpan::Zero);
    int truncated = 0;
    for (int ms = 0; ms < 100'000; ++ms) {
        const auto lost =
            ms * CTimeSpan::TicksPerMillisecond - CDuration(0, 0, 0, 0, 0, ms / 1000.0).ToTimeSpan().GetTicks();
        ASSERT_TRUE(lost == 0 || lost == CTimeSpan::TicksPerMillisecond) << ms;
        truncated += lost != 0 ? 1 : 0;
    }
    EXPECT_EQ(truncated, 741) << "a thousand times the binary fraction lies below";
    EXPECT_EQ(Parse(L"PT1.001S").ToTimeSpan().GetTicks(), 10'000'000) << "1.00099999999999989 seconds";
    EXPECT_EQ(Parse(L"PT1.0029999S").ToTimeSpan().GetTicks(), 10'020'000);
    EXPECT_EQ(Parse(L"PT3000000.5S").ToTimeSpan().GetTicks(), 30'000'005'000'000);
    for (const wchar_t* row : {L"P10000Y | months", L"P9999Y | months", L"P2147483647D | days",
                               L"PT2147483647H | hours", L"PT1000000000000S | seconds"}) {
        const auto [text, param] = Cells(row);
        ExpectRange(param.c_str(), [&] { Parse(text.c_str()).ToTimeSpan(); });
    }
}
