#pragma once

#include "ZelCore/TimeSpan.h"

namespace ZelCore {

class CDateTime;

/// A calendar duration (ISO 8601, 4.4.3.2: P1Y2M3DT4H5M6.5S). Years, months, days, hours, minutes and seconds are
/// stored separately, because a month or a year has no fixed length: 90 minutes stay 90 minutes. A copyable value.
class ZELCORE_API CDuration {
public:
    /// Components are not normalized: 90 seconds stay 90 seconds. Throws CArgumentOutOfRangeException, with the name of
    /// the component, for the first negative one, and for "seconds" that are infinite or not a number.
    CDuration(int years = 0, int months = 0, int days = 0, int hours = 0, int minutes = 0, double seconds = 0);

    /// Parses the text form without sign or weeks; only the seconds may have a fraction, with a decimal point. For
    /// other text it returns false with the result zero; for null or empty text the result is unchanged. A number
    /// beyond 32 bits becomes the largest number, as do seconds beyond a double. Throws only std::bad_alloc.
    static bool TryParse(const wchar_t* text, CDuration& result);

    /// Returns the text form without the components that are 0, or PT0S if all are 0.
    std::wstring ToString() const;

    /// The components as constructed or parsed, 0 by default. The seconds include their fraction.
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

    /// Returns the length of the duration from now (UTC) or from a start date: years and months follow the calendar,
    /// the other components are added. Seconds are multiplied by 1000 and truncated to whole milliseconds; a number
    /// without an exact binary representation may thus lose one: 1.001 seconds are 1000 milliseconds. Throws
    /// CArgumentOutOfRangeException for "months" if years and months lead beyond the years of CDateTime, and, beyond 64
    /// bits of ticks, for a smaller component or for "ticks".
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
