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
    /// How many ticks a unit has.
    ///@{
    static constexpr std::int64_t TicksPerMillisecond = 10'000;
    static constexpr std::int64_t TicksPerSecond = 10'000'000;
    static constexpr std::int64_t TicksPerMinute = 600'000'000;
    static constexpr std::int64_t TicksPerHour = 36'000'000'000;
    static constexpr std::int64_t TicksPerDay = 864'000'000'000;
    ///@}

    static const CTimeSpan Zero;     ///< no time at all
    static const CTimeSpan MinValue; ///< the longest one backwards, by one tick longer than MaxValue
    static const CTimeSpan MaxValue; ///< the longest one forwards

    /// Zero.
    constexpr CTimeSpan() noexcept = default;

    /// \param ticks of 100 nanoseconds, of either sign
    constexpr explicit CTimeSpan(std::int64_t ticks) noexcept : m_ticks(ticks) {}

    /// The sum of the parts, each of any size and sign: CTimeSpan(0, 90, 0) is an hour and a half. Throw
    /// CArgumentOutOfRangeException for "ticks" beyond 64 bits.
    ///@{
    CTimeSpan(int hours, int minutes, int seconds);
    CTimeSpan(int days, int hours, int minutes, int seconds, int milliseconds = 0);
    ///@}

    /// Reads "[-][d.]hh:mm:ss[.fffffff]": hours below 24, minutes and seconds below 60, one to seven digits of a
    /// fraction. Throws CArgumentNullException for "value" and CFormatException for other text and for a length beyond
    /// 64 bits of ticks.
    static CTimeSpan Parse(const wchar_t* value);

    /// The same without exceptions: returns false, with the result zero, for other text and for null.
    static bool TryParse(const wchar_t* value, CTimeSpan& result) noexcept;

    /// The text that Parse reads; days and the seven digits of the fraction only where they are not 0.
    std::wstring ToString() const;

    /// The whole length in ticks of 100 nanoseconds.
    constexpr std::int64_t GetTicks() const noexcept {
        return m_ticks;
    }

    /// The parts that make up the length, all of them negative in a negative length.
    int GetDays() const noexcept;         ///< -10675199 to 10675199
    int GetHours() const noexcept;        ///< -23 to 23
    int GetMinutes() const noexcept;      ///< -59 to 59
    int GetSeconds() const noexcept;      ///< -59 to 59
    int GetMilliseconds() const noexcept; ///< -999 to 999

    /// The whole length in one unit, with its fraction, as exactly as a double can tell.
    ///@{
    double GetTotalDays() const noexcept;
    double GetTotalHours() const noexcept;
    double GetTotalMinutes() const noexcept;
    double GetTotalSeconds() const noexcept;
    double GetTotalMilliseconds() const noexcept;
    ///@}

    /// The same length in the other direction. MinValue has none, and throws.
    CTimeSpan Negate() const;
    /// The length without its sign. MinValue has none, and throws.
    CTimeSpan Duration() const;

    /// Sums, differences and multiples of lengths, in ticks. Those with "=" change this object, unless they throw.
    ///@{
    CTimeSpan operator-() const {
        return Negate();
    }
    CTimeSpan operator+(const CTimeSpan& other) const;
    CTimeSpan operator-(const CTimeSpan& other) const;
    CTimeSpan operator*(std::int64_t factor) const;
    CTimeSpan& operator+=(const CTimeSpan& other);
    CTimeSpan& operator-=(const CTimeSpan& other);
    ///@}

    /// By the ticks: a length backwards is less than one forwards.
    constexpr std::strong_ordering operator<=>(const CTimeSpan&) const noexcept = default;

private:
    std::int64_t m_ticks = 0;
};

} // namespace ZelCore
