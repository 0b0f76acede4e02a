#pragma once

#include "ZelCore/TimeSpan.h"

namespace ZelCore {

class CDateTime;

/// A calendar duration (ISO 8601, 4.4.3.2: P1Y2M3DT4H5M6.5S). Years, months, days, hours, minutes and seconds are kept
/// apart: 90 minutes stay 90 minutes, since a month or a year has no fixed length. A copyable value.
class ZELCORE_API CDuration {
public:
    /// Throws CArgumentOutOfRangeException for the first negative component, and for seconds that are no number.
    CDuration(int years = 0, int months = 0, int days = 0, int hours = 0, int minutes = 0, double seconds = 0);

    /// Reads the text form: no sign, no weeks, a fraction with a point and of the seconds only. Returns false for other
    /// text, with the result zero, or unchanged for null or empty text. A number beyond 32 bits becomes the largest.
    static bool TryParse(const wchar_t* text, CDuration& result);

    /// The text form without components of 0; PT0S for nothing at all.
    std::wstring ToString() const;

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

    /// The length of the duration from now, or from a start: years and months by the calendar, the rest added; below a
    /// millisecond it is cut off. Throws CArgumentOutOfRangeException beyond the years of CDateTime.
    CTimeSpan ToTimeSpan() const;
    CTimeSpan ToTimeSpan(const CDateTime& start) const;

private:
    int m_years;
    int m_months;
    int m_days;
    int m_hours;
    int m_minutes;
    double m_seconds;
};

} // namespace ZelCore
