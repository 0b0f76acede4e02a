#pragma once

#include "ZelCore/TimeSpan.h"

#include <compare>
#include <cstdint>
#include <string>

struct _FILETIME;
struct _SYSTEMTIME;

namespace ZelCore {

/// The time zone of a date-time.
enum class DateTimeKind : std::int32_t {
    Unspecified = 0, ///< not specified; a conversion treats the value as its source kind
    Utc = 1,         ///< Coordinated Universal Time (UTC)
    Local = 2,       ///< the time zone of the computer
};

/// A point in time in the proleptic Gregorian calendar, from year 1 to 9999, in ticks of 100 nanoseconds. A copyable
/// value.
///
/// Comparison and difference use only the ticks, not the kind. An object may be read by several threads at the same
/// time.
class ZELCORE_API CDateTime {
public:
    static const CDateTime MinValue; ///< 0001-01-01 00:00:00
    static const CDateTime MaxValue; ///< the last tick of 9999-12-31

    /// MinValue.
    constexpr CDateTime() noexcept = default;

    /// \param ticks since 0001-01-01 00:00:00; not checked
    constexpr CDateTime(std::int64_t ticks, DateTimeKind kind) noexcept : m_ticks(ticks), m_kind(kind) {}

    /// The same point in time as a FILETIME, whose ticks count from 1601. The value is neither checked nor converted to
    /// the kind.
    CDateTime(const _FILETIME& time, DateTimeKind kind) noexcept;

    /// The fields of a SYSTEMTIME, not converted to the kind. The day of the week is ignored. Throws CWin32Exception
    /// for a value that the system rejects, for example 30 February or a year before 1601.
    CDateTime(const _SYSTEMTIME& time, DateTimeKind kind);

    /// A date at midnight. Throws CArgumentException for "year" (1 to 9999), "month" or "day".
    static CDateTime FromDate(int year, int month, int day, DateTimeKind kind = DateTimeKind::Unspecified);

    /// Returns the system time as Utc. It advances with the system's timer, in steps of up to 16 milliseconds.
    static CDateTime UtcNow() noexcept;

    /// Returns the system time in the computer's time zone, as Local. Throws CWin32Exception if the system cannot
    /// convert it.
    static CDateTime Now();

    /// Parses text that matches the format exactly. The format is one of ToString's letters (except M, m, U, Y, y),
    /// which parse what ToString writes (g also parses a short date and a short time), or a pattern:
    ///
    /// | letters | parsed as |
    /// |---|---|
    /// | d dd | the day, one or two digits, two digits |
    /// | ddd dddd | the short or long name of the day of the week, which must agree with the date |
    /// | M MM MMM MMMM | the month: one or two digits, two digits, short name, long name |
    /// | y yy yyyy | the year: one or two digits, two digits, one digit per letter |
    /// | H HH h hh | the hour of a 24-hour or 12-hour clock |
    /// | m mm s ss | minute, second |
    /// | f ... fffffff | one digit of the fraction of a second per letter |
    /// | F ... FFFFFFF | at most one digit per letter; without digits the preceding point is omitted |
    /// | t tt | the first letter of AM or PM, or the whole, as the locale writes it |
    /// | z zz zzz | the offset from universal time: hours, two digits of hours, hours and minutes |
    /// | K | Z, an offset like zzz, or nothing |
    /// | 'text' "text" | the literal text; two quotation marks in a row stand for one |
    /// | "\" | the following character literally |
    /// | "%" | nothing; before a single letter it makes that letter a pattern instead of one of ToString's letters |
    ///
    /// All other characters are literals. Z makes the value Utc, and an offset makes it Local at the same point in
    /// time; otherwise it is Unspecified. u, R and r yield Utc. Fields that the pattern does not contain are those of 1
    /// January of year 1, midnight. Names are compared case-insensitively. Local fields use today's offset, so they are
    /// one hour off for dates on the other side of a daylight-saving change; ToUniversalTime returns the correct point
    /// in time.
    ///
    /// Throws CArgumentNullException for "value" or "format"; CArgumentException for "format" (empty, an unknown single
    /// letter, an unterminated quotation, "\" or "%" at the end, more than seven f or F, or more than five y) and for
    /// "year", "month" or "day" of an impossible date; CFormatException for text of another form, an impossible time,
    /// or contradicting parts.
    ///
    /// \param locale the LCID whose names and patterns are used; 127 is the invariant locale
    static CDateTime ParseExact(const wchar_t* value, const wchar_t* format, unsigned long locale);

    /// Parses what ToString writes for O, o, s, u, R and r. Fewer digits of the fraction, a time without seconds, a
    /// date alone, and leading and trailing white space are also accepted. Returns false and sets the result to
    /// MinValue for any other text. Never throws.
    static bool TryParse(const std::wstring& value, CDateTime& result) noexcept;

    /// Adds to the value, or subtracts for a negative number. The kind does not change.
    ///
    /// AddYears and AddMonths keep the day, or use the last day of a shorter month. They throw
    /// CArgumentOutOfRangeException for "months" if the number exceeds 120,000 months or the result is outside the
    /// years 1 to 9999; the value is then unchanged. The other functions may leave these years, and wrap around
    /// silently at 64 bits of ticks.
    ///@{
    void AddYears(int years);
    void AddMonths(int months);
    void AddDays(int days) noexcept;
    void AddHours(int hours) noexcept;
    void AddMinutes(int minutes) noexcept;
    void AddSeconds(int seconds) noexcept;
    void AddMilliseconds(int milliseconds) noexcept;
    ///@}

    /// Returns the ticks of 100 nanoseconds since 0001-01-01 00:00:00, whatever the kind.
    constexpr std::int64_t GetTicks() const noexcept {
        return m_ticks;
    }
    /// Returns the kind. Comparisons ignore it.
    constexpr DateTimeKind GetKind() const noexcept {
        return m_kind;
    }
    /// Returns year, month and day in one call, which is faster than three calls. The year of a value before MinValue
    /// is 0 or negative.
    void GetDate(int& year, int& month, int& day) const noexcept;
    int GetYear() const noexcept;        ///< 1 to 9999 from MinValue to MaxValue
    int GetMonth() const noexcept;       ///< 1 to 12
    int GetDay() const noexcept;         ///< 1 to 31
    int GetDayOfWeek() const noexcept;   ///< 0 Sunday to 6 Saturday
    int GetHour() const noexcept;        ///< 0 to 23
    int GetMinute() const noexcept;      ///< 0 to 59
    int GetSecond() const noexcept;      ///< 0 to 59: there are no leap seconds
    int GetMillisecond() const noexcept; ///< 0 to 999, truncated

    /// Returns the same ticks counted from 1601, whatever the kind. A value before 1601 wraps around.
    _FILETIME GetAsFILETIME() const noexcept;

    /// Returns the fields, whatever the kind, truncated to milliseconds. It also works for years before 1601, which
    /// most functions of the system reject.
    _SYSTEMTIME GetAsSYSTEMTIME() const noexcept;

    /// Convert by the offset that is in force today, not on the date of the value. ToLocalTime treats an Unspecified
    /// value as Utc, and ToUniversalTime treats it as Local. A value that already has the target kind is returned
    /// unchanged. If the system cannot convert the value, only the kind changes.
    ///@{
    CDateTime ToLocalTime() const noexcept;
    CDateTime ToUniversalTime() const noexcept;
    ///@}

    /// Formats with a single letter:
    ///
    /// | letter | result |
    /// |---|---|
    /// | D d T t | the four functions below: long and short date, long and short time |
    /// | F f G | long date and long time, long date and short time, short date and long time |
    /// | g | the short date twice |
    /// | O o | 2024-02-29T13:14:15.1234567 and Z (Utc), the offset on that date (Local) or nothing (ISO 8601) |
    /// | R r | Thu, 29 Feb 2024 13:14:15 GMT (RFC 1123), without conversion to universal time |
    /// | s | 2024-02-29T13:14:15 |
    /// | u | 2024-02-29 13:14:15Z, without conversion |
    ///
    /// Throws CArgumentNullException and CArgumentException for "format", CNotImplementedException for M, m, U, Y and
    /// y, and CWin32Exception if the system cannot format the value.
    ///
    /// \param locale an LCID: 127 is the invariant locale, 1024 the user's. The output of O, o, R, r, s and u does not
    ///               depend on it.
    std::wstring ToString(const wchar_t* format, unsigned long locale) const;

    /// Return the date or the time in the format of the locale, whatever the kind. Throw CWin32Exception if the system
    /// cannot format the value, for example for an unknown locale.
    ///
    /// Dates before 1602 are formatted with the calendar of 1601 and the year replaced: the names of the days of the
    /// week are those of 1601, and 29 February, which 1601 does not have, is written incorrectly.
    ///@{
    std::wstring ToLongDateString(unsigned long locale) const;
    std::wstring ToShortDateString(unsigned long locale) const;
    std::wstring ToLongTimeString(unsigned long locale) const;
    std::wstring ToShortTimeString(unsigned long locale) const;
    ///@}

    /// The difference between two date-times, and date-times shifted by a time span; the kind is kept. Throw
    /// CArgumentOutOfRangeException for "ticks" beyond 64 bits and then change nothing. The range of the years 1 to
    /// 9999 is not checked.
    ///@{
    CTimeSpan operator-(const CDateTime& other) const;
    CDateTime operator+(const CTimeSpan& span) const;
    CDateTime operator-(const CTimeSpan& span) const;
    CDateTime& operator+=(const CTimeSpan& span);
    CDateTime& operator-=(const CTimeSpan& span);
    ///@}

    /// Compare only the ticks: values with the same fields are equal even if their kinds differ.
    ///@{
    constexpr std::strong_ordering operator<=>(const CDateTime& other) const noexcept {
        return m_ticks <=> other.m_ticks;
    }
    constexpr bool operator==(const CDateTime& other) const noexcept {
        return m_ticks == other.m_ticks;
    }
    ///@}

private:
    void AddTicks(std::int64_t count, std::int64_t unit) noexcept;
    void AddMonths64(std::int64_t months);

    std::int64_t m_ticks = 0;
    DateTimeKind m_kind = DateTimeKind::Unspecified;
};

} // namespace ZelCore
