#include "ZelCore/TimeSpan.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Arguments.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/String.h"
#include "ZelCore/TextWriter.h"
#include "ZelCore/ThrowSite.h"

#include <limits>

namespace ZelCore {

namespace {

using Limits = std::numeric_limits<std::int64_t>;

/// Parses between `least` and `most` digits and advances; returns -1 if there are fewer.
std::int64_t ReadDigits(const wchar_t*& text, int least, int most) noexcept {
    std::int64_t number = 0;
    int count = 0;
    for (; count < most && *text >= L'0' && *text <= L'9'; ++count, ++text) {
        number = number * 10 + (*text - L'0');
    }
    return count >= least ? number : -1;
}

[[noreturn]] void ThrowOutOfRange(const wchar_t* method, const wchar_t* file, int line) {
    throw CArgumentOutOfRangeException(L"ticks", L"beyond 64 bits", nullptr, method, file, line);
}

std::int64_t ToTicks(std::int64_t days, std::int64_t hours, std::int64_t minutes, std::int64_t seconds,
                     std::int64_t milliseconds) {
    // Site: computes for the constructors.
    // Sums of 32-bit numbers stay below 64 bits up to here.
    const std::int64_t total = (((days * 24 + hours) * 60 + minutes) * 60 + seconds) * 1000 + milliseconds;
    std::int64_t ticks = 0;
    if (__builtin_mul_overflow(total, CTimeSpan::TicksPerMillisecond, &ticks)) {
        ThrowOutOfRange(ZEL_SITE(L"ZelCore::CTimeSpan::CTimeSpan"));
    }
    return ticks;
}

} // namespace

constinit const CTimeSpan CTimeSpan::Zero(0);
constinit const CTimeSpan CTimeSpan::MinValue(Limits::min());
constinit const CTimeSpan CTimeSpan::MaxValue(Limits::max());

CTimeSpan::CTimeSpan(int hours, int minutes, int seconds) : m_ticks(ToTicks(0, hours, minutes, seconds, 0)) {}

CTimeSpan::CTimeSpan(int days, int hours, int minutes, int seconds, int milliseconds)
    : m_ticks(ToTicks(days, hours, minutes, seconds, milliseconds)) {}

CTimeSpan CTimeSpan::Parse(const wchar_t* value) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CTimeSpan::Parse"));
    CTimeSpan result;
    if (!TryParse(value, result)) {
        throw CFormatException(
            CString::Format(L"The text '%s' is no time span [-][d.]hh:mm:ss[.fffffff]", value).c_str(),
            ZEL_SITE(L"ZelCore::CTimeSpan::Parse"));
    }
    return result;
}

bool CTimeSpan::TryParse(const wchar_t* value, CTimeSpan& result) noexcept {
    constexpr int mostDayDigits = 8, fractionDigits = 7;
    result = CTimeSpan();
    if (value == nullptr) {
        return false;
    }
    const bool negative = *value == L'-';
    value += negative ? 1 : 0;
    std::int64_t days = 0;
    std::int64_t hours = ReadDigits(value, 1, mostDayDigits);
    if (*value == L'.') {
        days = hours;
        hours = ReadDigits(++value, 1, 2);
    }
    const std::int64_t minutes = *value == L':' ? ReadDigits(++value, 2, 2) : -1;
    const std::int64_t seconds = *value == L':' ? ReadDigits(++value, 2, 2) : -1;
    std::int64_t fraction = 0;
    if (*value == L'.') {
        const wchar_t* const first = ++value;
        fraction = ReadDigits(value, 1, fractionDigits);
        for (auto digits = value - first; fraction > 0 && digits < fractionDigits; ++digits) {
            fraction *= 10;
        }
    }
    if (*value != L'\0' || days < 0 || hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 ||
        seconds > 59 || fraction < 0) {
        return false;
    }
    // The sum is negative, because the range has one more negative tick.
    std::int64_t ticks = -((hours * 60 + minutes) * 60 + seconds) * TicksPerSecond - fraction;
    std::int64_t dayTicks = 0;
    if (__builtin_mul_overflow(days, -TicksPerDay, &dayTicks) || __builtin_add_overflow(ticks, dayTicks, &ticks) ||
        (!negative && ticks == Limits::min())) {
        return false;
    }
    result.m_ticks = negative ? ticks : -ticks;
    return true;
}

std::wstring CTimeSpan::ToString() const {
    std::uint64_t ticks = static_cast<std::uint64_t>(m_ticks);
    CTextWriter text(32);
    if (m_ticks < 0) {
        ticks = 0 - ticks;
        text.Put(L"-", {});
    }
    if (ticks >= TicksPerDay) {
        text.Put(L"%d.", {ticks / TicksPerDay});
    }
    text.Put(L"%02d:%02d:%02d", {ticks / TicksPerHour % 24, ticks / TicksPerMinute % 60, ticks / TicksPerSecond % 60});
    if (ticks % TicksPerSecond != 0) {
        text.Put(L".%.7d", {ticks % TicksPerSecond});
    }
    return text.Take();
}

int CTimeSpan::GetDays() const noexcept {
    return static_cast<int>(m_ticks / TicksPerDay);
}

int CTimeSpan::GetHours() const noexcept {
    return static_cast<int>(m_ticks / TicksPerHour % 24);
}

int CTimeSpan::GetMinutes() const noexcept {
    return static_cast<int>(m_ticks / TicksPerMinute % 60);
}

int CTimeSpan::GetSeconds() const noexcept {
    return static_cast<int>(m_ticks / TicksPerSecond % 60);
}

int CTimeSpan::GetMilliseconds() const noexcept {
    return static_cast<int>(m_ticks / TicksPerMillisecond % 1000);
}

double CTimeSpan::GetTotalDays() const noexcept {
    return static_cast<double>(m_ticks) / TicksPerDay;
}

double CTimeSpan::GetTotalHours() const noexcept {
    return static_cast<double>(m_ticks) / TicksPerHour;
}

double CTimeSpan::GetTotalMinutes() const noexcept {
    return static_cast<double>(m_ticks) / TicksPerMinute;
}

double CTimeSpan::GetTotalSeconds() const noexcept {
    return static_cast<double>(m_ticks) / TicksPerSecond;
}

double CTimeSpan::GetTotalMilliseconds() const noexcept {
    return static_cast<double>(m_ticks) / TicksPerMillisecond;
}

CTimeSpan CTimeSpan::Negate() const {
    return Zero - *this;
}

CTimeSpan CTimeSpan::Duration() const {
    return m_ticks < 0 ? Negate() : *this;
}

CTimeSpan CTimeSpan::operator+(const CTimeSpan& other) const {
    CTimeSpan result;
    if (__builtin_add_overflow(m_ticks, other.m_ticks, &result.m_ticks)) {
        ThrowOutOfRange(ZEL_SITE(L"ZelCore::CTimeSpan::operator+"));
    }
    return result;
}

CTimeSpan CTimeSpan::operator-(const CTimeSpan& other) const {
    CTimeSpan result;
    if (__builtin_sub_overflow(m_ticks, other.m_ticks, &result.m_ticks)) {
        ThrowOutOfRange(ZEL_SITE(L"ZelCore::CTimeSpan::operator-"));
    }
    return result;
}

CTimeSpan CTimeSpan::operator*(std::int64_t factor) const {
    CTimeSpan result;
    if (__builtin_mul_overflow(m_ticks, factor, &result.m_ticks)) {
        ThrowOutOfRange(ZEL_SITE(L"ZelCore::CTimeSpan::operator*"));
    }
    return result;
}

CTimeSpan& CTimeSpan::operator+=(const CTimeSpan& other) {
    return *this = *this + other;
}

CTimeSpan& CTimeSpan::operator-=(const CTimeSpan& other) {
    return *this = *this - other;
}

} // namespace ZelCore
