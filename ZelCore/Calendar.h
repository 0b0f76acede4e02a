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
    return value % divisor + (value % divisor < 0 ? divisor : 0);
}

// Both conversions count years from the first of March. The leap day is then the last day of the year, and a linear
// function yields the lengths of the months before it. The fractions are those of C. Neri and L. Schneider, "Euclidean
// affine functions and their application to calendar algorithms" (2022); they are exact in the ranges given here.

constexpr std::int64_t DaysFromMarch = 306;  ///< from 1 March of year 0 to 1 January of year 1
constexpr std::int64_t DaysPerEra = 146'097; ///< 400 years
constexpr std::int64_t Eras = 125;           ///< offset that makes every day number from 64-bit ticks positive

/// Returns the number of days from 0001-01-01 to a date of the years 1 to 9999.
constexpr std::int64_t ToDayNumber(int year, int month, int day) noexcept {
    const bool early = month <= 2;
    const auto y = static_cast<std::uint32_t>(year - (early ? 1 : 0));
    const auto m = static_cast<std::uint32_t>(early ? month + 12 : month);
    const std::uint32_t century = y / 100;
    const std::uint32_t days = 1461 * y / 4 - century + century / 4 + (979 * m - 2919) / 32;
    return static_cast<std::int64_t>(days) + day - 1 - DaysFromMarch;
}

/// Returns the date of any day number that can result from 64-bit ticks.
constexpr CalendarDate ToDate(std::int64_t dayNumber) noexcept {
    const auto days = static_cast<std::uint32_t>(dayNumber + DaysFromMarch + Eras * DaysPerEra);
    const std::uint32_t n1 = 4 * days + 3;
    const std::uint32_t century = n1 / 146'097;
    const std::uint32_t n2 = n1 % 146'097 | 3;
    const std::uint64_t p2 = std::uint64_t{2'939'745} * n2;
    const auto yearOfCentury = static_cast<std::uint32_t>(p2 >> 32);
    const std::uint32_t dayOfYear = static_cast<std::uint32_t>(p2) / 2'939'745 / 4;
    const std::uint32_t n3 = 2141 * dayOfYear + 197'913;
    const bool early = dayOfYear >= DaysFromMarch;
    const std::uint32_t month = n3 >> 16;
    return {static_cast<std::int64_t>(100 * century + yearOfCentury + (early ? 1 : 0)) - Eras * 400,
            static_cast<int>(early ? month - 12 : month), static_cast<int>((n3 & 0xFFFF) / 2141 + 1)};
}

} // namespace ZelCore
