#include "Support/Test.h"

#include <chrono>

namespace {

using Kind = DateTimeKind;
constexpr unsigned long Invariant = 127;
constexpr unsigned long English = 1033;

CDateTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ticks = 0,
             Kind kind = Kind::Unspecified) {
    CDateTime value = CDateTime::FromDate(year, month, day, kind) + CTimeSpan(hour, minute, second);
    return value + CTimeSpan(std::int64_t{ticks});
}

std::wstring Show(const CDateTime& value) {
    return value.ToString(L"o", Invariant);
}

std::array<int, 3> Parts(std::chrono::sys_days day) {
    const std::chrono::year_month_day date(day);
    return {int(date.year()), static_cast<int>(unsigned(date.month())), static_cast<int>(unsigned(date.day()))};
}

} // namespace

TEST(DateTime, EveryDayIsThatOfAnotherCalendar) {
    using namespace std::chrono;
    const sys_days first = year(1) / 1 / 1;
    CDateTime value = CDateTime::MinValue;
    for (sys_days day = first; day <= sys_days(year(9999) / 12 / 31); day += days(1), value.AddDays(1)) {
        const auto [y, m, d] = Parts(day);
        ASSERT_TRUE(value.GetYear() == y && value.GetMonth() == m && value.GetDay() == d) << y << '-' << m << '-' << d;
        std::array<int, 3> atOnce{};
        value.GetDate(atOnce[0], atOnce[1], atOnce[2]);
        ASSERT_EQ(atOnce, Parts(day));
        ASSERT_EQ(value.GetDayOfWeek(), static_cast<int>(weekday(day).c_encoding()));
        ASSERT_EQ(CDateTime::FromDate(y, m, d), value);
    }
    EXPECT_EQ((value - CDateTime::MaxValue).GetTicks(), 1);
    for (int y = 1999; y <= 2001; ++y) { // every day of a common year and its neighbours, plus up to 30 months
        for (sys_days day = year(y) / 1 / 1; day <= sys_days(year(y) / 12 / 31); day += days(1)) {
            const year_month_day date(day);
            for (int by = -30; by <= 30; ++by) {
                const auto month = year_month(date.year(), date.month()) + months(by);
                const auto [toYear, toMonth, lastDay] = Parts(sys_days(month / last));
                CDateTime moved = At(y, Parts(day)[1], Parts(day)[2], 23, 59);
                moved.AddMonths(by);
                ASSERT_EQ(moved, At(toYear, toMonth, std::min(Parts(day)[2], lastDay), 23, 59));
            }
        }
    }
}

TEST(DateTime, CountsAlsoOutsideOfItsYears) {
    const CDateTime early(-1, Kind::Utc);
    EXPECT_EQ(early.GetYear(), 0);
    EXPECT_EQ(early.GetMonth() * 100 + early.GetDay(), 1231);
    EXPECT_EQ(early.GetDayOfWeek(), 0);
    EXPECT_EQ(early.GetHour() * 100 + early.GetMinute(), 2359);
    EXPECT_EQ(early.GetSecond() * 1000 + early.GetMillisecond(), 59999);
    for (const std::int64_t ticks : {INT64_MIN, INT64_MAX}) {
        CDateTime value(ticks, Kind::Utc);
        EXPECT_EQ(value.GetAsSYSTEMTIME().wHour, value.GetHour());
        EXPECT_FALSE(Show(value).empty());
        ExpectRange(L"months", [&] { value.AddMonths(0); });
        value.AddDays(INT_MAX); // wraps around
        ExpectRange(L"ticks", [&] { CDateTime(ticks, Kind::Utc) - CDateTime(-(ticks / 2), Kind::Utc); });
    }
}

TEST(DateTime, AddsByTheCalendarOrThrows) {
    CDateTime leap = At(2024, 1, 31, 12);
    leap.AddMonths(1);
    EXPECT_EQ(leap, At(2024, 2, 29, 12));
    leap.AddYears(1);
    EXPECT_EQ(leap, At(2025, 2, 28, 12));
    leap.AddHours(-36), leap.AddMinutes(90), leap.AddSeconds(-1), leap.AddMilliseconds(2500);
    EXPECT_EQ(leap, At(2025, 2, 27, 1, 30, 1, 5'000'000));
    CDateTime value = At(1, 1, 15, 0, 0, 0, 0, Kind::Local);
    const wchar_t* const method = L"ZelCore::CDateTime::AddMonths";
    ExpectRange(L"months", [&] { value.AddMonths(120001); },
                {.message = L"': argument is out of range, actual value was 120001': parameter name: 'months'",
                 .method = method});
    ExpectRange(L"months", [&] { value.AddMonths(-1); }, {.contains = L"value was -1", .method = method});
    ExpectThrow<CArgumentOutOfRangeException>([&] { value.AddYears(INT_MAX); }, {.contains = L"25769803764"});
    EXPECT_EQ(value, At(1, 1, 15));
    value.AddMonths(119'987);
    EXPECT_EQ(value, At(9999, 12, 15));
    EXPECT_EQ(value.GetKind(), Kind::Local);
    const auto refuse = [](const wchar_t* param, int year, int month, int day) {
        ExpectArgument(param, [&] { CDateTime::FromDate(year, month, day); });
    };
    refuse(L"year", 0, 1, 1), refuse(L"year", 10000, 1, 1), refuse(L"month", 1, 13, 1);
    refuse(L"day", 2023, 2, 29), refuse(L"day", 2024, 4, 31), refuse(L"day", 2024, 4, 0);
}

TEST(DateTime, GoesToTheSystemAndBack) {
    const CDateTime value = At(2024, 2, 29, 13, 14, 15, 1'230'000, Kind::Utc);
    EXPECT_EQ(CDateTime(value.GetAsFILETIME(), Kind::Utc), value);
    const SYSTEMTIME fields = value.GetAsSYSTEMTIME();
    EXPECT_EQ(CDateTime(fields, Kind::Utc), value);
    EXPECT_EQ(fields.wDayOfWeek, 4);
    EXPECT_EQ(fields.wMilliseconds, 123);
    SYSTEMTIME bad = fields;
    bad.wMonth = 13;
    ExpectThrow<CWin32Exception>([&] { CDateTime(bad, Kind::Utc); }, {.method = L"CDateTime::CDateTime"});
    EXPECT_LT((CDateTime::UtcNow() - CDateTime::Now().ToUniversalTime()).Duration(), CTimeSpan(0, 0, 10));
    EXPECT_EQ(value.ToUniversalTime(), value);
    EXPECT_EQ(value.ToLocalTime().ToUniversalTime(), value);
    EXPECT_EQ(value.ToLocalTime().GetKind(), Kind::Local);
    ExpectFailing("FileTimeToLocalFileTime", [] { CDateTime::Now(); }, {.method = L"CDateTime::Now"});
    const FailingCalls there("FileTimeToLocalFileTime"), back("LocalFileTimeToFileTime");
    EXPECT_EQ(value.ToLocalTime(), value) << "nothing checks the call";
    EXPECT_EQ(CDateTime(5, Kind::Local).ToUniversalTime(), CDateTime(5, Kind::Utc));
}

TEST(DateTime, WritesEveryFormat) {
    const CDateTime value = At(2024, 2, 9, 3, 4, 5, 67, Kind::Utc);
    for (const wchar_t* row :
         {L"o | 2024-02-09T03:04:05.0000067Z", L"O | 2024-02-09T03:04:05.0000067Z",
          L"R | Fri, 09 Feb 2024 03:04:05 GMT", L"r | Fri, 09 Feb 2024 03:04:05 GMT", L"s | 2024-02-09T03:04:05",
          L"u | 2024-02-09 03:04:05Z", L"D | Friday, February 9, 2024", L"d | 2/9/2024", L"T | 3:04:05 AM",
          L"t | 3:04 AM", L"G | 2/9/2024 3:04:05 AM", L"g | 2/9/2024 2/9/2024",
          L"F | Friday, February 9, 2024 3:04:05 AM", L"f | Friday, February 9, 2024 3:04 AM"}) {
        const auto [format, text] = Cells(row);
        EXPECT_EQ(value.ToString(format.c_str(), English), text);
    }
    EXPECT_EQ(Show(CDateTime(value.GetTicks(), Kind::Unspecified)), L"2024-02-09T03:04:05.0000067");
    EXPECT_EQ(At(1500, 1, 31).ToString(L"d", English), L"1/31/1500");
    EXPECT_EQ(At(1601, 1, 31).ToString(L"d", English), L"1/31/1601");
    EXPECT_TRUE(At(0x63, 1, 31).ToString(L"R", English).ends_with(L" 31 Jan 0099 00:00:00 GMT"));
    for (const wchar_t* refused : {L"M", L"m", L"U", L"Y", L"y"}) {
        ExpectThrow<CNotImplementedException>([&] { value.ToString(refused, Invariant); });
    }
    for (const wchar_t* unknown : {L"", L"x", L"yyyy"}) {
        ExpectArgument(L"format", [&] { value.ToString(unknown, Invariant); });
    }
    ExpectNull(L"format", [&] { value.ToString(nullptr, Invariant); });
    FailingCalls calls({"GetDateFormatW", "GetTimeFormatW"});
    for (const int n : {1, 2, 3, 4}) {
        calls.FailOn(n);
        ExpectError(1450, [&] { value.ToString(L"F", English); },
                    {.method = L"`anonymous-namespace'::SystemFormatByLocale"});
    }
}

TEST(DateTime, LocalValuesTellTheOffsetOfTheirDate) {
    LONG current = 0;
    const ImportHook zone("GetTimeZoneInformation", [&](TIME_ZONE_INFORMATION* info) -> DWORD {
        *info = {};
        info->Bias = current;
        return TIME_ZONE_ID_UNKNOWN;
    });
    const std::map<LONG, std::wstring> offsets = {{0, L"+00:00"}, {-120, L"+02:00"}, {210, L"-03:30"}, {30, L"+00:30"}};
    for (const auto& [bias, suffix] : offsets) { // half an hour is written without the sign, as the format requires
        current = bias;
        const CDateTime value = At(2024, 7, 15, 12, 0, 0, 0, Kind::Local);
        EXPECT_EQ(Show(value), L"2024-07-15T12:00:00.0000000" + suffix);
        if (bias != 30) {
            const CDateTime back = CDateTime::ParseExact(Show(value).c_str(), L"o", Invariant);
            EXPECT_EQ(Show(back), Show(value)) << "reads what was written";
            EXPECT_EQ(back.GetKind(), Kind::Local);
        }
    }
}

TEST(DateTime, ReadsPatterns) {
    for (const wchar_t* row :
         {L"2024-02-09T15:04:05.1234567 | o | 2024-02-09T15:04:05.1234567",
          L"2024-02-09T15:04:05.1234567Z | O | 2024-02-09T15:04:05.1234567Z",
          L"2024-02-09T15:04:05.1234567 | yyyy-MM-ddTHH:mm:ss.fffffff | 2024-02-09T15:04:05.1234567",
          L"Fri, 09 Feb 2024 15:04:05 GMT | r | 2024-02-09T15:04:05.0000000Z",
          L"2024-02-09 15:04:05Z | u | 2024-02-09T15:04:05.0000000Z",
          L"2024-02-09T15:04:05 | s | 2024-02-09T15:04:05.0000000",
          L"9/2/24 3:4:5 pm | d/M/yy h:m:s tt | 2024-02-09T15:04:05.0000000",
          L"12 a | hh t | 0001-01-01T00:00:00.0000000", L"12 P | hh t | 0001-01-01T12:00:00.0000000",
          L"Tue 9 Feb 1999 | ddd d MMM yyyy | 1999-02-09T00:00:00.0000000",
          L"30.12.95 | dd.MM.yy | 1995-12-30T00:00:00.0000000", L"7 | %d | 0001-01-07T00:00:00.0000000",
          L"12:30:15.5 | HH:mm:ss.FFF | 0001-01-01T12:30:15.5000000",
          L"12:30:15 | HH:mm:ss.FFF | 0001-01-01T12:30:15.0000000",
          L"at 5 o'clock | 'at' H \"o'clock\" | 0001-01-01T05:00:00.0000000",
          L"5H | H\\H | 0001-01-01T05:00:00.0000000", L"it's 5 | 'it''s' d | 0001-01-05T00:00:00.0000000",
          L"2024-02-09 2024 | yyyy-MM-dd yyyy | 2024-02-09T00:00:00.0000000"}) {
        const auto [text, format, value] = Cells<3>(row);
        EXPECT_EQ(Show(CDateTime::ParseExact(text.c_str(), format.c_str(), English)), value);
    }
    for (const wchar_t* row :
         {L"Friday 09 february 1999x | dddd dd MMMM yyyy'x' | - | was a Tuesday",
          L"12345 | yyyyy | year | beyond the calendar",
          L"2024 Z +02:00 | yyyy K zzz | - | universal and two hours ahead",
          L"2024-02-09 2023 | yyyy-MM-dd yyyy | - | two years", L"24:00 | HH:mm | - | no hour of a day",
          L"13 PM | hh tt | - | no hour of twelve", L"15 AM | HH tt | - | in the afternoon",
          L" 12 | HH | - | a blank before", L"12  | HH | - | a blank after", L"1 | HH | - | one digit",
          L"x | %z | - | no sign", L"2024-02-09 +15 | yyyy-MM-dd zz | - | no zone is further ahead than 14 hours",
          L"2024-02-09 -15:00 | yyyy-MM-dd zzz | - | nor behind", L"2024-02-09 +05:60 | yyyy-MM-dd zzz | - | minutes",
          L"2024-13-01 | yyyy-MM-dd | month | no month"}) {
        const auto [text, format, param, why] = Cells<4>(row);
        SCOPED_TRACE(why);
        const auto parse = [&] { CDateTime::ParseExact(text.c_str(), format.c_str(), Invariant); };
        param == L"-" ? ExpectThrow<CFormatException>(parse, {.file = L"DateTime.cpp"})
                      : ExpectArgument(param.c_str(), parse);
    }
    EXPECT_EQ(CDateTime::ParseExact(L"2024-02-09 +14", L"yyyy-MM-dd zz", Invariant).ToUniversalTime(),
              At(2024, 2, 8, 10));
    const CDateTime offset = CDateTime::ParseExact(L"2024-02-09 15 +05:30", L"yyyy-MM-dd HH zzz", Invariant);
    EXPECT_EQ(offset.GetKind(), Kind::Local);
    EXPECT_EQ(offset.ToUniversalTime(), At(2024, 2, 9, 9, 30));
    ExpectThrow<CFormatException>([] { CDateTime::ParseExact(L"x", L"o", Invariant); }, {.contains = L"'x'"});
    ExpectArgument(L"day", [] { CDateTime::ParseExact(L"2023-02-30", L"yyyy-MM-dd", Invariant); });
    for (const wchar_t* bad : {L"", L"x", L"M", L"'open", L"yyyy\\", L"%%", L"ffffffff", L"yyyyyy"}) {
        ExpectArgument(L"format", [&] { CDateTime::ParseExact(L"1", bad, Invariant); }, {.file = L"DateTime.cpp"});
    }
    ExpectNull(L"value", [] { CDateTime::ParseExact(nullptr, L"o", 127); });
    ExpectNull(L"format", [] { CDateTime::ParseExact(L"", nullptr, 127); });
}

TEST(DateTime, ReadsWhatItWrites) {
    const CDateTime value = At(2024, 12, 31, 23, 59, 58, 7'654'321, Kind::Utc);
    for (const unsigned long locale :
         {Invariant, English, 1031ul, 1036ul, 1049ul, 2057ul, 1041ul, 1026ul, 3084ul, 0x41Eul}) {
        for (const wchar_t* format : {L"D", L"d", L"T", L"t", L"G", L"g", L"F", L"f", L"o", L"s", L"u", L"R"}) {
            const std::wstring text = value.ToString(format, locale);
            SCOPED_TRACE(text);
            EXPECT_EQ(CDateTime::ParseExact(text.c_str(), format, locale).ToString(format, locale), text);
        }
    }
    { // a locale that names its units; what follows the minutes is left out of its short times, except for the half
        const ImportHook hook("GetLocaleInfoW", [](LCID locale, LCTYPE type, wchar_t* text, int size) -> int {
            const std::wstring times = L"h 'h' mm 'min' ss 's' tt";
            return type != LOCALE_STIMEFORMAT ? ::GetLocaleInfoW(locale, type, text, size)
                   : size == 0                ? static_cast<int>(times.size()) + 1
                                              : static_cast<int>(times.copy(text, times.size())) + 1;
        });
        EXPECT_EQ(CDateTime::ParseExact(L"3 h 04 PM", L"t", English).GetHour(), 15);
        EXPECT_THROW(CDateTime::ParseExact(L"3 h 04", L"t", English), CFormatException);
    }
    CDateTime result;
    const auto expectBack = [&](const CDateTime& written, const wchar_t* format) {
        const std::wstring text = written.ToString(format, Invariant);
        ASSERT_TRUE(CDateTime::TryParse(L" " + text + L"\n", result)) << text;
        ASSERT_EQ(result.ToString(format, Invariant), text);
    };
    for (const Kind kind : {Kind::Utc, Kind::Unspecified, Kind::Local}) {
        for (const wchar_t* format : {L"o", L"s", L"u", L"R"}) {
            expectBack(CDateTime(value.GetTicks(), kind), format);
        }
        for (int year = 1; year <= 9999; year += 7) {
            expectBack(At(year, 1 + year % 12, 28, 12, 0, 0, 0, kind), L"o");
            expectBack(At(year, 1 + year % 12, 28, 12, 0, 0, 0, kind), L"R");
        }
    }
    for (const LONG bias : {-14 * 60, -60, 0, 210, 12 * 60}) { // at both ends of the calendar, in every zone
        const ImportHook zone("GetTimeZoneInformation", [&](TIME_ZONE_INFORMATION* info) -> DWORD {
            *info = {};
            info->Bias = bias;
            return TIME_ZONE_ID_UNKNOWN;
        });
        for (const CDateTime& end : {CDateTime::MinValue, CDateTime::MaxValue}) {
            expectBack(CDateTime(end.GetTicks(), Kind::Local), L"o");
        }
    }
    EXPECT_TRUE(CDateTime::TryParse(L"2024-02-29", result) && CDateTime::TryParse(L"2024-02-29 12:30Z", result));
    const std::wstring text = Show(value);
    for (std::size_t i = 0; i < text.size(); ++i) {
        EXPECT_FALSE(CDateTime::TryParse(text.substr(0, i) + L'x' + text.substr(i + 1), result));
        EXPECT_FALSE(CDateTime::TryParse(text.substr(0, i) + std::wstring(1, L'\0') + text.substr(i), result));
        CDateTime::TryParse(text.substr(i), result);
    }
    EXPECT_FALSE(CDateTime::TryParse(L"2023-02-29", result) || CDateTime::TryParse(L"", result));
    EXPECT_FALSE(CDateTime::TryParse(L"0001-01-01T00:00:00+01:00", result)) << "before the first instant";
    const ImportHook east("FileTimeToLocalFileTime", [](const FILETIME* universal, FILETIME* local) -> BOOL {
        *local = {universal->dwLowDateTime, universal->dwHighDateTime + 9}; // an hour
        return TRUE;
    });
    EXPECT_FALSE(CDateTime::TryParse(L"9999-12-31T22:30:00-01:00", result)) << "behind the last one";
    EXPECT_EQ(result, CDateTime::MinValue);
}
