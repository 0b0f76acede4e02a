#pragma once

#include "ZelCore/Export.h"

#include <compare>
#include <cstdint>
#include <string>

namespace ZelCore {

/// A length of time, forwards or backwards, in ticks of 100 nanoseconds. A copyable value.
///
/// Arithmetic beyond 64 bits (29,000 years) throws CArgumentOutOfRangeException for "ticks" and changes nothing.
class ZELCORE_API CTimeSpan {
public:
    static constexpr std::int64_t TicksPerMillisecond = 10'000;
    static constexpr std::int64_t TicksPerSecond = 10'000'000;
    static constexpr std::int64_t TicksPerMinute = 600'000'000;
    static constexpr std::int64_t TicksPerHour = 36'000'000'000;
    static constexpr std::int64_t TicksPerDay = 864'000'000'000;

    static const CTimeSpan Zero;
    static const CTimeSpan MinValue;
    static const CTimeSpan MaxValue;

    constexpr CTimeSpan() noexcept = default;
    constexpr explicit CTimeSpan(std::int64_t ticks) noexcept : m_ticks(ticks) {}
    CTimeSpan(int hours, int minutes, int seconds);
    CTimeSpan(int days, int hours, int minutes, int seconds, int milliseconds = 0);

    /// Reads "[-][d.]hh:mm:ss[.fffffff]": hours below 24, minutes and seconds below 60, one to seven digits of a
    /// fraction. Throws CArgumentNullException for "value" and CFormatException for other text.
    static CTimeSpan Parse(const wchar_t* value);

    /// The same without exceptions; the result is zero for other text.
    static bool TryParse(const wchar_t* value, CTimeSpan& result) noexcept;

    /// The text that Parse reads; days and the seven digits of the fraction only where they are not 0.
    std::wstring ToString() const;

    constexpr std::int64_t GetTicks() const noexcept {
        return m_ticks;
    }

    /// The parts that make up the length, all of them negative in a negative length.
    int GetDays() const noexcept;
    int GetHours() const noexcept;        ///< -23 to 23
    int GetMinutes() const noexcept;      ///< -59 to 59
    int GetSeconds() const noexcept;      ///< -59 to 59
    int GetMilliseconds() const noexcept; ///< -999 to 999

    /// The whole length in one unit.
    double GetTotalDays() const noexcept;
    double GetTotalHours() const noexcept;
    double GetTotalMinutes() const noexcept;
    double GetTotalSeconds() const noexcept;
    double GetTotalMilliseconds() const noexcept;

    CTimeSpan Negate() const;
    /// The length without its sign.
    CTimeSpan Duration() const;

    CTimeSpan operator-() const {
        return Negate();
    }
    CTimeSpan operator+(const CTimeSpan& other) const;
    CTimeSpan operator-(const CTimeSpan& other) const;
    CTimeSpan operator*(std::int64_t factor) const;
    CTimeSpan& operator+=(const CTimeSpan& other);
    CTimeSpan& operator-=(const CTimeSpan& other);

    constexpr std::strong_ordering operator<=>(const CTimeSpan&) const noexcept = default;

private:
    std::int64_t m_ticks = 0;
};

} // namespace ZelCore
