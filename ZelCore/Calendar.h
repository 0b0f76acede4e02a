#pragma once

// Private to the library: the proleptic Gregorian calendar, valid for every day number.

#include <cstdint>

namespace ZelCore {

struct CalendarDate {
    std::int64_t year;
    int month; ///< 1 to 12
    int day;   ///< 1 to 31
};

constexpr bool IsLeapYear(std::int64_t year) noexcept {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int GetDaysInMonth(std::int64_t year, int month) noexcept {
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : days[month - 1];
}

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) noexcept {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

constexpr std::int64_t FloorModulo(std::int64_t value, std::int64_t divisor) noexcept {
    return value - FloorDivide(value, divisor) * divisor;
}

// Both conversions count years from the first of March, so that the leap day is the last one and the lengths of the
// months before it follow one line: (153 * month + 2) / 5 days.

constexpr std::int64_t DaysFromCivilToMarch = 306; ///< from 1 March of year 0 to 1 January of year 1
constexpr std::int64_t DaysPerEra = 146'097;       ///< 400 years

/// The number of days from 0001-01-01 to a date of any year.
constexpr std::int64_t ToDayNumber(std::int64_t year, int month, int day) noexcept {
    const std::int64_t y = year - (month <= 2 ? 1 : 0);
    const std::int64_t era = FloorDivide(y, 400);
    const auto yearOfEra = static_cast<unsigned>(y - era * 400);
    const unsigned dayOfYear =
        (153u * static_cast<unsigned>(month + (month > 2 ? -3 : 9)) + 2) / 5 + static_cast<unsigned>(day) - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * DaysPerEra + static_cast<std::int64_t>(dayOfEra) - DaysFromCivilToMarch;
}

/// The date of any day number.
constexpr CalendarDate ToDate(std::int64_t dayNumber) noexcept {
    const std::int64_t shifted = dayNumber + DaysFromCivilToMarch;
    const std::int64_t era = FloorDivide(shifted, DaysPerEra);
    const auto dayOfEra = static_cast<unsigned>(shifted - era * DaysPerEra);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned march = (5 * dayOfYear + 2) / 153;
    const int month = static_cast<int>(march) + (march < 10 ? 3 : -9);
    return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month,
            static_cast<int>(dayOfYear - (153 * march + 2) / 5 + 1)};
}

} // namespace ZelCore
