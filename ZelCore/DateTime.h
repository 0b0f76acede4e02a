#pragma once

#include "ZelCore/TimeSpan.h"

#include <compare>
#include <cstdint>
#include <string>

struct _FILETIME;
struct _SYSTEMTIME;

namespace ZelCore {

/// What a date-time refers to.
enum class DateTimeKind : std::int32_t {
    Unspecified = 0, ///< nobody said; conversions take it for what they convert from
    Utc = 1,         ///< universal time
    Local = 2,       ///< the time of the computer's zone
};

/// An instant of the proleptic Gregorian calendar, from year 1 to 9999, in ticks of 100 nanoseconds. A copyable value.
///
/// Comparison and difference look at the ticks alone, not at the kind. Threads may read an object together.
class ZELCORE_API CDateTime {
public:
    static const CDateTime MinValue; ///< 0001-01-01 00:00:00
    static const CDateTime MaxValue; ///< the last tick of 9999-12-31

    /// MinValue.
    constexpr CDateTime() noexcept = default;

    /// \param ticks since 0001-01-01 00:00:00; not checked
    constexpr CDateTime(std::int64_t ticks, DateTimeKind kind) noexcept : m_ticks(ticks), m_kind(kind) {}

    /// The same instant as a FILETIME, which counts its ticks from 1601. Nothing is checked or converted to the kind.
    CDateTime(const _FILETIME& time, DateTimeKind kind) noexcept;

    /// The fields of a SYSTEMTIME, not converted to the kind; its day of the week is ignored. Throws CWin32Exception
    /// for one that the system refuses: a 30 February, say, or a year before 1601.
    CDateTime(const _SYSTEMTIME& time, DateTimeKind kind);

    /// A date at midnight. Throws CArgumentException for "year" (1 to 9999), "month" or "day".
    static CDateTime FromDate(int year, int month, int day, DateTimeKind kind = DateTimeKind::Unspecified);

    /// The system's clock, as Utc. It advances with the system's timer, by up to 16 milliseconds at a time.
    static CDateTime UtcNow() noexcept;

    /// The same clock in the computer's zone, as Local. Throws CWin32Exception when the system cannot convert it.
    static CDateTime Now();

    /// Reads text of exactly this form. The format is one of ToString's letters (not M, m, U, Y, y), which read what
    /// ToString writes (g also a short date and a short time), or a pattern:
    ///
    /// | letters | what they read |
    /// |---|---|
    /// | d dd | the day, one or two digits, two digits |
    /// | ddd dddd | the short or long name of the day of the week, which must agree with the date |
    /// | M MM MMM MMMM | the month: one or two digits, two digits, short name, long name |
    /// | y yy yyyy | the year: one or two digits, two digits, as many digits as letters |
    /// | H HH h hh | the hour of 24 or of 12 |
    /// | m mm s ss | minute, second |
    /// | f ... fffffff | so many digits of the fraction of a second |
    /// | F ... FFFFFFF | at most so many, with a point in front that is left out without them |
    /// | t tt | the first letter of, or the whole of AM or PM as the locale writes it |
    /// | z zz zzz | the offset from universal time: hours, two digits of hours, hours and minutes |
    /// | K | Z, an offset as of zzz, or nothing |
    /// | 'text' "text" | the text as it stands; two quotation marks in a row are one |
    /// | "\" | the character behind it as it stands |
    /// | "%" | nothing: in front of a single letter, it makes a pattern of it and not one of ToString's letters |
    ///
    /// All other characters stand for themselves. Z makes the value Utc, an offset makes it Local at the same instant,
    /// otherwise it is Unspecified; u, R and r read Utc. What the pattern leaves out is the first of January of year 1,
    /// midnight. Names are compared without regard to case. Local fields are those of
    /// today's offset, an hour off for dates on the other side of summer time; ToUniversalTime gives the right instant
    /// back.
    ///
    /// Throws CArgumentNullException for "value" or "format", CArgumentException for "format" (empty, a single letter
    /// that is unknown, an open quotation, "\" or "%" at the end, more than seven f or F or five y) and for "year",
    /// "month" or "day" of an impossible date, CFormatException for text of another form, an impossible time, or parts
    /// that contradict each other.
    ///
    /// \param locale whose names and patterns are used: 127 is the invariant locale
    static CDateTime ParseExact(const wchar_t* value, const wchar_t* format, unsigned long locale);

    /// Reads what ToString writes for O, o, s, u, R and r, also with fewer digits of the fraction, without seconds or
    /// as a date alone, between blanks. Returns false, with MinValue as the result, for any other text. Never throws.
    static bool TryParse(const std::wstring& value, CDateTime& result) noexcept;

    /// Add to the value, or take away from it with a negative number; the kind stays.
    ///
    /// Years and months keep the day, or take the last one of a shorter month, and throw CArgumentOutOfRangeException
    /// for "months" beyond 120,000 months or the years 1 to 9999; the value then stays. The others go beyond these
    /// years and wrap around at 64 bits of ticks, silently.
    ///@{
    void AddYears(int years);
    void AddMonths(int months);
    void AddDays(int days) noexcept;
    void AddHours(int hours) noexcept;
    void AddMinutes(int minutes) noexcept;
    void AddSeconds(int seconds) noexcept;
    void AddMilliseconds(int milliseconds) noexcept;
    ///@}

    /// Ticks of 100 nanoseconds since 0001-01-01 00:00:00, whatever the kind.
    constexpr std::int64_t GetTicks() const noexcept {
        return m_ticks;
    }
    /// What the value refers to. It has no part in comparisons.
    constexpr DateTimeKind GetKind() const noexcept {
        return m_kind;
    }
    /// Year, month and day at once, with less work than one after the other. The year of a value before MinValue is 0
    /// or negative.
    void GetDate(int& year, int& month, int& day) const noexcept;
    int GetYear() const noexcept;        ///< 1 to 9999 from MinValue to MaxValue
    int GetMonth() const noexcept;       ///< 1 to 12
    int GetDay() const noexcept;         ///< 1 to 31
    int GetDayOfWeek() const noexcept;   ///< 0 Sunday to 6 Saturday
    int GetHour() const noexcept;        ///< 0 to 23
    int GetMinute() const noexcept;      ///< 0 to 59
    int GetSecond() const noexcept;      ///< 0 to 59: there are no leap seconds
    int GetMillisecond() const noexcept; ///< 0 to 999, cut off

    /// The same ticks counted from 1601, whatever the kind. Before 1601 the number wraps around.
    _FILETIME GetAsFILETIME() const noexcept;

    /// The fields, whatever the kind, cut off below a millisecond. Also for years before 1601, which most functions of
    /// the system refuse.
    _SYSTEMTIME GetAsSYSTEMTIME() const noexcept;

    /// By the offset that is in force today, not on that date. Unspecified values count as universal time in the first
    /// and as local time in the second; a value that is of the kind already stays as it is. Where the system refuses to
    /// convert, only the kind changes.
    ///@{
    CDateTime ToLocalTime() const noexcept;
    CDateTime ToUniversalTime() const noexcept;
    ///@}

    /// Formats by one letter:
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
    /// y, CWin32Exception when the system cannot format.
    ///
    /// \param locale an LCID: 127 is the invariant locale, 1024 the user's. O, o, R, r, s and u look the same in all.
    std::wstring ToString(const wchar_t* format, unsigned long locale) const;

    /// The date or the time as the locale writes it, whatever the kind. Throw CWin32Exception when the system cannot
    /// format, for an unknown locale say.
    ///
    /// Before 1602 the calendar of 1601 is used with another number: the names of the days of the week are that year's,
    /// and a 29 February, which it does not have, is not written rightly.
    ///@{
    std::wstring ToLongDateString(unsigned long locale) const;
    std::wstring ToShortDateString(unsigned long locale) const;
    std::wstring ToLongTimeString(unsigned long locale) const;
    std::wstring ToShortTimeString(unsigned long locale) const;
    ///@}

    /// The time from another date-time to this one, and date-times that lie so much later or earlier; they keep the
    /// kind. Throw CArgumentOutOfRangeException for "ticks" beyond 64 bits and change nothing then; the years 1 to 9999
    /// are not checked.
    ///@{
    CTimeSpan operator-(const CDateTime& other) const;
    CDateTime operator+(const CTimeSpan& span) const;
    CDateTime operator-(const CTimeSpan& span) const;
    CDateTime& operator+=(const CTimeSpan& span);
    CDateTime& operator-=(const CTimeSpan& span);
    ///@}

    /// By the ticks alone: the same fields are equal in different kinds.
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
