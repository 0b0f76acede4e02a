#pragma once

#include "ZelCore/TimeSpan.h"

namespace ZelCore {

class CDateTime;

/// A calendar duration (ISO 8601, 4.4.3.2: P1Y2M3DT4H5M6.5S). Years, months, days, hours, minutes and seconds are kept
/// apart: 90 minutes stay 90 minutes, since a month or a year has no fixed length. A copyable value.
class ZELCORE_API CDuration {
public:
    /// Nothing is carried over: 90 seconds stay 90 seconds. Throws CArgumentOutOfRangeException for the first component
    /// that is negative, by its name, and for "seconds" that are infinite or no number.
    CDuration(int years = 0, int months = 0, int days = 0, int hours = 0, int minutes = 0, double seconds = 0);

    /// Reads the text form: no sign, no weeks, a fraction with a point and of the seconds only. Returns false for other
    /// text, with the result zero, or unchanged for null or empty text. A number beyond 32 bits becomes the largest, as
    /// do seconds beyond a double. Throws nothing but std::bad_alloc.
    static bool TryParse(const wchar_t* text, CDuration& result);

    /// The text form without components of 0; PT0S for nothing at all.
    std::wstring ToString() const;

    /// The components as they were given or read, 0 where there was none; the seconds with their fraction.
    ///@{
    int GetYears() const noexcept {
        return m_years;
    }
    int GetMonths() const noexcept {
        return m_months;
    }
    int GetDays() const noexcept {
        return m_days;
    }
    int GetHours() const noexcept {
        return m_hours;
    }
    int GetMinutes() const noexcept {
        return m_minutes;
    }
    double GetSeconds() const noexcept {
        return m_seconds;
    }
    ///@}

    /// The length of the duration from now (UTC), or from a start: years and months by the calendar, the rest added.
    /// Seconds count as whole milliseconds: a thousand times their number, truncated. Numbers that binary fractions
    /// only come near to may thus lose one: 1.001 seconds count 1000 milliseconds. Throws CArgumentOutOfRangeException:
    /// for "months" where years and months lead beyond the years of CDateTime, for a smaller component, or "ticks",
    /// beyond 64 bits of ticks.
    ///@{
    CTimeSpan ToTimeSpan() const;
    CTimeSpan ToTimeSpan(const CDateTime& start) const;
    ///@}

private:
    int m_years;
    int m_months;
    int m_days;
    int m_hours;
    int m_minutes;
    double m_seconds;
};

} // namespace ZelCore
