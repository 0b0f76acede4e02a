#pragma once

#include "ZelCore/Export.h"

#include <compare>
#include <cstdint>
#include <string>

namespace ZelCore {

/// A signed length of time in ticks of 100 nanoseconds. A copyable value.
///
/// Arithmetic beyond 64 bits (29,000 years) throws CArgumentOutOfRangeException for "ticks" and changes nothing.
class ZELCORE_API CTimeSpan {
public:
    /// Number of ticks per unit.
    ///@{
    static constexpr std::int64_t TicksPerMillisecond = 10'000;
    static constexpr std::int64_t TicksPerSecond = 10'000'000;
    static constexpr std::int64_t TicksPerMinute = 600'000'000;
    static constexpr std::int64_t TicksPerHour = 36'000'000'000;
    static constexpr std::int64_t TicksPerDay = 864'000'000'000;
    ///@}

    static const CTimeSpan Zero;     ///< zero
    static const CTimeSpan MinValue; ///< the smallest (negative) value; one tick longer than MaxValue
    static const CTimeSpan MaxValue; ///< the largest value

    /// Zero.
    constexpr CTimeSpan() noexcept = default;

    /// \param ticks of 100 nanoseconds, of either sign
    constexpr explicit CTimeSpan(std::int64_t ticks) noexcept : m_ticks(ticks) {}

    /// Constructs the sum of the parts, each of any size and sign: CTimeSpan(0, 90, 0) is an hour and a half. Throws
    /// CArgumentOutOfRangeException for "ticks" beyond 64 bits.
    ///@{
    CTimeSpan(int hours, int minutes, int seconds);
    CTimeSpan(int days, int hours, int minutes, int seconds, int milliseconds = 0);
    ///@}

    /// Parses "[-][d.]hh:mm:ss[.fffffff]" with hours below 24, minutes and seconds below 60, and a fraction of one to
    /// seven digits. Throws CArgumentNullException for "value"; CFormatException for other text and for a length beyond
    /// 64 bits of ticks.
    static CTimeSpan Parse(const wchar_t* value);

    /// Parse without exceptions: for other text and for null it returns false and sets the result to zero.
    static bool TryParse(const wchar_t* value, CTimeSpan& result) noexcept;

    /// Returns the text that Parse reads. Days and the seven digits of the fraction are omitted if they are 0.
    std::wstring ToString() const;

    /// Returns the whole length in ticks of 100 nanoseconds.
    constexpr std::int64_t GetTicks() const noexcept {
        return m_ticks;
    }

    /// The components of the length. In a negative length all of them are negative or 0.
    int GetDays() const noexcept;         ///< -10675199 to 10675199
    int GetHours() const noexcept;        ///< -23 to 23
    int GetMinutes() const noexcept;      ///< -59 to 59
    int GetSeconds() const noexcept;      ///< -59 to 59
    int GetMilliseconds() const noexcept; ///< -999 to 999

    /// The whole length in one unit, including its fraction, with the precision of a double.
    ///@{
    double GetTotalDays() const noexcept;
    double GetTotalHours() const noexcept;
    double GetTotalMinutes() const noexcept;
    double GetTotalSeconds() const noexcept;
    double GetTotalMilliseconds() const noexcept;
    ///@}

    /// Returns the length with the opposite sign. Throws for MinValue, whose negation does not fit into 64 bits.
    CTimeSpan Negate() const;
    /// Returns the absolute length. Throws for MinValue, whose negation does not fit into 64 bits.
    CTimeSpan Duration() const;

    /// Sums, differences and multiples of lengths, in ticks. If a compound assignment throws, the object is unchanged.
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

    /// Compares the ticks: a negative length is less than a positive one.
    constexpr std::strong_ordering operator<=>(const CTimeSpan&) const noexcept = default;

private:
    std::int64_t m_ticks = 0;
};

} // namespace ZelCore
