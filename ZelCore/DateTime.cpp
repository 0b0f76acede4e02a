#include "ZelCore/DateTime.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/Calendar.h"
#include "ZelCore/DateTimeParser.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/NotImplementedException.h"
#include "ZelCore/String.h"
#include "ZelCore/TextWriter.h"
#include "ZelCore/ThrowSite.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <string_view>

namespace ZelCore {

namespace {

constexpr std::int64_t TicksPerMillisecond = CTimeSpan::TicksPerMillisecond;
constexpr std::int64_t TicksPerSecond = CTimeSpan::TicksPerSecond;
constexpr std::int64_t TicksPerMinute = CTimeSpan::TicksPerMinute;
constexpr std::int64_t TicksPerHour = CTimeSpan::TicksPerHour;
constexpr std::int64_t TicksPerDay = CTimeSpan::TicksPerDay;
constexpr std::int64_t FileTimeOffset = 504'911'232'000'000'000; // from year 1 to 1601
constexpr std::int64_t MostMonths = 120'000;
constexpr LCID Invariant = 127;

std::int64_t ToTicks(const FILETIME& time) noexcept {
    const std::uint64_t value = static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return static_cast<std::int64_t>(value + FileTimeOffset);
}

FILETIME ToFileTime(std::int64_t ticks) noexcept {
    const std::uint64_t value = static_cast<std::uint64_t>(ticks) - FileTimeOffset;
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

CalendarDate ToCalendarDate(std::int64_t ticks) noexcept {
    return ToDate(FloorDivide(ticks, TicksPerDay));
}

int GetPart(std::int64_t ticks, std::int64_t unit, std::int64_t count) noexcept {
    return static_cast<int>(FloorModulo(FloorDivide(ticks, unit), count));
}

struct Fields {
    CalendarDate date;
    int dayOfWeek;
    int hour, minute, second;
    int fraction; ///< ticks within the second
};

Fields Split(std::int64_t ticks) noexcept {
    const std::int64_t day = FloorDivide(ticks, TicksPerDay);
    const std::int64_t time = FloorModulo(ticks, TicksPerDay);
    const auto seconds = static_cast<unsigned>(time / TicksPerSecond);
    return {ToDate(day),
            static_cast<int>(FloorModulo(day + 1, 7)),
            static_cast<int>(seconds / 3600),
            static_cast<int>(seconds / 60 % 60),
            static_cast<int>(seconds % 60),
            static_cast<int>(time - seconds * TicksPerSecond)};
}

wchar_t* PutDigits(wchar_t* at, unsigned value, int count) noexcept {
    for (int i = count; i-- > 0; value /= 10) {
        at[i] = static_cast<wchar_t>(L'0' + value % 10);
    }
    return at + count;
}

/// Formats date and time in digits. Years of four digits are written without printf. \param separator between date and
/// time  \param withFraction also write the seven digits of the ticks
std::wstring FormatSortable(const wchar_t* format, std::int64_t ticks, wchar_t separator, bool withFraction,
                            std::wstring_view zone) {
    const Fields fields = Split(ticks);
    const CalendarDate& date = fields.date;
    if (date.year < 0 || date.year > 9999) {
        return CTextWriter(40)
            .Put(format,
                 {date.year, date.month, date.day, fields.hour, fields.minute, fields.second, fields.fraction, zone})
            .Take();
    }
    wchar_t text[40];
    wchar_t* at = PutDigits(text, static_cast<unsigned>(date.year), 4);
    const auto put = [&at](wchar_t before, int value) {
        *at++ = before;
        at = PutDigits(at, static_cast<unsigned>(value), 2);
    };
    put(L'-', date.month);
    put(L'-', date.day);
    put(separator, fields.hour);
    put(L':', fields.minute);
    put(L':', fields.second);
    if (withFraction) {
        *at++ = L'.';
        at = PutDigits(at, static_cast<unsigned>(fields.fraction), 7);
    }
    at += zone.copy(at, zone.size());
    return {text, at};
}

/// Returns the ticks of a date at midnight.
std::int64_t DateToTicks(int year, int month, int day) {
    // Site: published as a method of the class.
    const wchar_t* const method = L"ZelCore::CDateTime::DateToTicks";
    if (year < 1 || year > 9999) {
        throw CArgumentException(L"year", nullptr, ZEL_SITE(method));
    }
    if (month < 1 || month > 12) {
        throw CArgumentException(L"month", nullptr, ZEL_SITE(method));
    }
    if (day < 1 || day > GetDaysInMonth(year, month)) {
        throw CArgumentException(L"day", nullptr, ZEL_SITE(method));
    }
    return ToDayNumber(year, month, day) * TicksPerDay;
}

[[noreturn]] void ThrowMonthsOutOfRange(std::int64_t months) {
    // Site: throws for AddMonths.
    throw CArgumentOutOfRangeException(L"months", std::to_wstring(months).c_str(), nullptr,
                                       ZEL_SITE(L"ZelCore::CDateTime::AddMonths"));
}

using SystemFormatter = int(WINAPI*)(LCID, DWORD, const SYSTEMTIME*, const wchar_t*, wchar_t*, int);

std::wstring SystemFormatByLocale(SystemFormatter format, LCID locale, DWORD flags, const SYSTEMTIME& time,
                                  const wchar_t* picture) {
    const wchar_t* const method = L"`anonymous-namespace'::SystemFormatByLocale";
    const int length = format(locale, flags, &time, picture, nullptr, 0);
    ZelWin32::CheckWin32(length, ZEL_SITE(method));
    std::wstring text(static_cast<std::size_t>(length), L'\0');
    const int written = format(locale, flags, &time, picture, text.data(), length);
    ZelWin32::CheckWin32(written, ZEL_SITE(method));
    text.resize(static_cast<std::size_t>(written) - 1);
    return text;
}

/// The system cannot format years before 1601: 1601 is formatted instead, and its number is replaced in the text.
std::wstring FormatDate(LCID locale, DWORD flags, SYSTEMTIME time, const wchar_t* picture) {
    const wchar_t* const firstYear = L"1601";
    const std::wstring year = CTextWriter(8).Put(L"%04hu", {time.wYear}).Take();
    const bool early = time.wYear < 1602;
    if (early) {
        time.wYear = 1601;
    }
    std::wstring text = SystemFormatByLocale(&::GetDateFormatW, locale, flags, time, picture);
    if (const std::size_t at = text.find(firstYear); early && at != std::wstring::npos) {
        text.replace(at, year.size(), year);
    }
    return text;
}

std::wstring FormatTime(LCID locale, DWORD flags, const SYSTEMTIME& time, const wchar_t* picture) {
    return SystemFormatByLocale(&::GetTimeFormatW, locale, flags, time, picture);
}

enum class ZoneQuery { RoundTrip, Rfc1123 };

std::wstring GetTimeZoneString(const CDateTime& value, ZoneQuery query) {
    const wchar_t* const method = L"`anonymous-namespace'::GetTimeZoneString";
    if (query != ZoneQuery::RoundTrip && query != ZoneQuery::Rfc1123) {
        // Unreached: both callers pass one of the two values.
        throw CArgumentException(L"query", nullptr, ZEL_SITE(method));
    }
    if (value.GetKind() == DateTimeKind::Utc) {
        return query == ZoneQuery::RoundTrip ? L"Z" : L"GMT";
    }
    if (value.GetKind() != DateTimeKind::Local) {
        return {};
    }
    if (query == ZoneQuery::Rfc1123) {
        // Unreached: only UTC values are written in this format.
        throw CNotImplementedException(nullptr, ZEL_SITE(method));
    }
    const int minutes = GetLocalOffset(value);
    return CTextWriter(8).Put(L"%+03d:%02d", {minutes / 60, minutes < 0 ? -(minutes % 60) : minutes % 60}).Take();
}

} // namespace

int GetLocalOffset(const CDateTime& value) {
    const wchar_t* const method = L"`anonymous-namespace'::GetTimeZoneString";
    TIME_ZONE_INFORMATION zone;
    ZelWin32::CheckWin32(::GetTimeZoneInformation(&zone) != TIME_ZONE_ID_INVALID, ZEL_SITE(method));
    // The calendar repeats every 400 years, and time zone rules do not begin before 1601.
    constexpr int firstYear = 1602, lastYear = 9998, era = 400;
    const int year = value.GetYear();
    const std::int64_t eras = year < firstYear  ? (firstYear - year + era - 1) / era
                              : year > lastYear ? -((year - lastYear + era - 1) / era)
                                                : 0;
    const std::uint64_t shift = static_cast<std::uint64_t>(eras * DaysPerEra) * TicksPerDay;
    const CDateTime within(static_cast<std::int64_t>(static_cast<std::uint64_t>(value.GetTicks()) + shift),
                           value.GetKind());
    const CDateTime universal = within.ToUniversalTime();
    const SYSTEMTIME universalTime = universal.GetAsSYSTEMTIME();
    SYSTEMTIME localTime{};
    ZelWin32::CheckWin32(::SystemTimeToTzSpecificLocalTime(&zone, &universalTime, &localTime), ZEL_SITE(method));
    const CDateTime local(localTime, DateTimeKind::Local);
    return static_cast<int>((local.GetTicks() - CDateTime(universalTime, DateTimeKind::Utc).GetTicks()) /
                            TicksPerMinute);
}

void ThrowBadDateTimeFormat() {
    // Site: throws for ParseExact.
    throw CArgumentException(L"format", nullptr, ZEL_SITE(L"ZelCore::CDateTime::ParseExact"));
}

CDateTime CDateTime::ParseExact(const wchar_t* value, const wchar_t* format, unsigned long locale) {
    const wchar_t* const method = L"ZelCore::CDateTime::ParseExact";
    CheckNotNull(value, L"value", ZEL_SITE(method));
    CheckNotNull(format, L"format", ZEL_SITE(method));
    if (*format == L'\0') {
        ThrowBadDateTimeFormat();
    }
    const auto result = ParseDateTime(value, format, locale);
    if (!result) {
        throw CFormatException(
            CString::Format(L"The text '%s' is no date-time of the format '%s'", value, format).c_str(),
            ZEL_SITE(method));
    }
    return *result;
}

constinit const CDateTime CDateTime::MinValue(0, DateTimeKind::Unspecified);
constinit const CDateTime CDateTime::MaxValue(3'155'378'975'999'999'999, DateTimeKind::Unspecified);

CDateTime::CDateTime(const FILETIME& time, DateTimeKind kind) noexcept : m_ticks(ToTicks(time)), m_kind(kind) {}

CDateTime::CDateTime(const SYSTEMTIME& time, DateTimeKind kind) : m_kind(kind) {
    FILETIME fileTime;
    ZelWin32::CheckWin32(::SystemTimeToFileTime(&time, &fileTime), ZEL_SITE(L"ZelCore::CDateTime::CDateTime"));
    m_ticks = ToTicks(fileTime);
}

CDateTime CDateTime::FromDate(int year, int month, int day, DateTimeKind kind) {
    return {DateToTicks(year, month, day), kind};
}

CDateTime CDateTime::UtcNow() noexcept {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    return {time, DateTimeKind::Utc};
}

CDateTime CDateTime::Now() {
    FILETIME universal, local;
    ::GetSystemTimeAsFileTime(&universal);
    ZelWin32::CheckWin32(::FileTimeToLocalFileTime(&universal, &local), ZEL_SITE(L"ZelCore::CDateTime::Now"));
    return {local, DateTimeKind::Local};
}

void CDateTime::AddYears(int years) {
    AddMonths64(static_cast<std::int64_t>(years) * 12);
}

void CDateTime::AddMonths(int months) {
    AddMonths64(months);
}

void CDateTime::AddMonths64(std::int64_t months) {
    if (months < -MostMonths || months > MostMonths) {
        ThrowMonthsOutOfRange(months);
    }
    const CalendarDate date = ToCalendarDate(m_ticks);
    const std::int64_t total = date.month - 1 + months;
    const std::int64_t year = date.year + FloorDivide(total, 12);
    const int month = static_cast<int>(FloorModulo(total, 12)) + 1;
    if (year < 1 || year > 9999) {
        ThrowMonthsOutOfRange(months);
    }
    const int day = std::min(date.day, GetDaysInMonth(year, month));
    m_ticks = DateToTicks(static_cast<int>(year), month, day) + FloorModulo(m_ticks, TicksPerDay);
}

void CDateTime::AddTicks(std::int64_t count, std::int64_t unit) noexcept {
    m_ticks = static_cast<std::int64_t>(static_cast<std::uint64_t>(m_ticks) +
                                        static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(unit));
}

void CDateTime::AddDays(int days) noexcept {
    AddTicks(days, TicksPerDay);
}

void CDateTime::AddHours(int hours) noexcept {
    AddTicks(hours, TicksPerHour);
}

void CDateTime::AddMinutes(int minutes) noexcept {
    AddTicks(minutes, TicksPerMinute);
}

void CDateTime::AddSeconds(int seconds) noexcept {
    AddTicks(seconds, TicksPerSecond);
}

void CDateTime::AddMilliseconds(int milliseconds) noexcept {
    AddTicks(milliseconds, TicksPerMillisecond);
}

void CDateTime::GetDate(int& year, int& month, int& day) const noexcept {
    const CalendarDate date = ToCalendarDate(m_ticks);
    year = static_cast<int>(date.year);
    month = date.month;
    day = date.day;
}

int CDateTime::GetYear() const noexcept {
    return static_cast<int>(ToCalendarDate(m_ticks).year);
}

int CDateTime::GetMonth() const noexcept {
    return ToCalendarDate(m_ticks).month;
}

int CDateTime::GetDay() const noexcept {
    return ToCalendarDate(m_ticks).day;
}

int CDateTime::GetDayOfWeek() const noexcept {
    return static_cast<int>(FloorModulo(FloorDivide(m_ticks, TicksPerDay) + 1, 7));
}

int CDateTime::GetHour() const noexcept {
    return GetPart(m_ticks, TicksPerHour, 24);
}

int CDateTime::GetMinute() const noexcept {
    return GetPart(m_ticks, TicksPerMinute, 60);
}

int CDateTime::GetSecond() const noexcept {
    return GetPart(m_ticks, TicksPerSecond, 60);
}

int CDateTime::GetMillisecond() const noexcept {
    return GetPart(m_ticks, TicksPerMillisecond, 1000);
}

FILETIME CDateTime::GetAsFILETIME() const noexcept {
    return ToFileTime(m_ticks);
}

SYSTEMTIME CDateTime::GetAsSYSTEMTIME() const noexcept {
    const Fields fields = Split(m_ticks);
    const auto word = [](std::int64_t value) { return static_cast<WORD>(value); };
    return {word(fields.date.year), word(fields.date.month),
            word(fields.dayOfWeek), word(fields.date.day),
            word(fields.hour),      word(fields.minute),
            word(fields.second),    word(fields.fraction / TicksPerMillisecond)};
}

CDateTime CDateTime::ToLocalTime() const noexcept {
    if (m_kind == DateTimeKind::Local) {
        return *this;
    }
    const FILETIME universal = GetAsFILETIME();
    FILETIME local = universal; // unchanged if the system call fails
    ::FileTimeToLocalFileTime(&universal, &local);
    return {local, DateTimeKind::Local};
}

CDateTime CDateTime::ToUniversalTime() const noexcept {
    if (m_kind == DateTimeKind::Utc) {
        return *this;
    }
    const FILETIME local = GetAsFILETIME();
    FILETIME universal = local;
    ::LocalFileTimeToFileTime(&local, &universal);
    return {universal, DateTimeKind::Utc};
}

std::wstring CDateTime::ToString(const wchar_t* format, unsigned long locale) const {
    const wchar_t* const method = L"ZelCore::CDateTime::ToString";
    CheckNotNull(format, L"format", ZEL_SITE(method));
    if (format[0] == L'\0' || format[1] != L'\0') {
        throw CArgumentException(L"format", nullptr, ZEL_SITE(method));
    }
    switch (*format) {
    case L'D':
        return ToLongDateString(locale);
    case L'd':
        return ToShortDateString(locale);
    case L'T':
        return ToLongTimeString(locale);
    case L't':
        return ToShortTimeString(locale);
    case L'F':
        return ToLongDateString(locale) + L" " + ToLongTimeString(locale);
    case L'f':
        return ToLongDateString(locale) + L" " + ToShortTimeString(locale);
    case L'G':
        return ToShortDateString(locale) + L" " + ToLongTimeString(locale);
    case L'g': {
        const std::wstring date = ToShortDateString(locale);
        return date + L" " + date;
    }
    case L'O':
    case L'o':
        return FormatSortable(L"%04hd-%02hd-%02hdT%02hd:%02hd:%02hd.%.7d%s", m_ticks, L'T', true,
                              GetTimeZoneString(*this, ZoneQuery::RoundTrip));
    case L'R':
    case L'r': {
        const SYSTEMTIME time = GetAsSYSTEMTIME();
        const std::wstring date = FormatDate(Invariant, 0, time, L"ddd',' dd MMM yyyy");
        return date + CTextWriter().Put(L" %s %s", {FormatTime(Invariant, 0, time, L"HH':'mm':'ss"), L"GMT"}).Take();
    }
    case L's':
        return FormatSortable(L"%04hd-%02hd-%02hdT%02hd:%02hd:%02hd", m_ticks, L'T', false, {});
    case L'u':
        return FormatSortable(L"%04hd-%02hd-%02hd %02hd:%02hd:%02hdZ", m_ticks, L' ', false, L"Z");
    case L'M':
    case L'm':
    case L'U':
    case L'Y':
    case L'y':
        throw CNotImplementedException(nullptr, ZEL_SITE(method));
    default:
        throw CArgumentException(L"format", nullptr, ZEL_SITE(method));
    }
}

std::wstring CDateTime::ToLongDateString(unsigned long locale) const {
    return FormatDate(locale, DATE_LONGDATE, GetAsSYSTEMTIME(), nullptr);
}

std::wstring CDateTime::ToShortDateString(unsigned long locale) const {
    return FormatDate(locale, DATE_SHORTDATE, GetAsSYSTEMTIME(), nullptr);
}

std::wstring CDateTime::ToLongTimeString(unsigned long locale) const {
    return FormatTime(locale, 0, GetAsSYSTEMTIME(), nullptr);
}

std::wstring CDateTime::ToShortTimeString(unsigned long locale) const {
    return FormatTime(locale, TIME_NOSECONDS, GetAsSYSTEMTIME(), nullptr);
}

CTimeSpan CDateTime::operator-(const CDateTime& other) const {
    return CTimeSpan(m_ticks) - CTimeSpan(other.m_ticks);
}

CDateTime CDateTime::operator+(const CTimeSpan& span) const {
    return {(CTimeSpan(m_ticks) + span).GetTicks(), m_kind};
}

CDateTime CDateTime::operator-(const CTimeSpan& span) const {
    return {(CTimeSpan(m_ticks) - span).GetTicks(), m_kind};
}

CDateTime& CDateTime::operator+=(const CTimeSpan& span) {
    return *this = *this + span;
}

CDateTime& CDateTime::operator-=(const CTimeSpan& span) {
    return *this = *this - span;
}

} // namespace ZelCore
