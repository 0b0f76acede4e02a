#include "ZelCore/Duration.h"

#include "ZelCore/ArgumentOutOfRangeException.h"
#include "ZelCore/Convert.h"
#include "ZelCore/DateTime.h"
#include "ZelCore/FloatingPoint.h"
#include "ZelCore/TextWriter.h"
#include "ZelCore/ThrowSite.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace ZelCore {

namespace {

/// Writes no exponent and the fewest digits that parse to the same number.
std::wstring FormatSeconds(double seconds) {
    char digits[512]; // the largest number needs 309
    const auto result = std::to_chars(digits, digits + sizeof(digits), seconds, std::chars_format::fixed);
    return {digits, result.ptr};
}

void CheckComponent(const wchar_t* name, int value) {
    // Site: checks for the constructor.
    if (value < 0) {
        throw CArgumentOutOfRangeException(name, std::to_wstring(value).c_str(), nullptr,
                                           ZEL_SITE(L"ZelCore::CDuration::CDuration"));
    }
}

bool IsDigit(wchar_t c) noexcept {
    return c >= L'0' && c <= L'9';
}

/// Returns the result of CConvert::ToInt32; faster for numbers of a few digits.
int ToInt32(const std::wstring& digits) {
    constexpr std::size_t fewDigits = 9;
    if (digits.size() > fewDigits) {
        return CConvert::ToInt32(digits.c_str());
    }
    int value = 0;
    for (const wchar_t digit : digits) {
        value = value * 10 + (digit - L'0');
    }
    return value;
}

/// Returns the nearest number; numbers beyond the range become the largest one. If the digits and the power of ten are
/// exact as doubles, their quotient is rounded only once and is therefore correct.
double ToDouble(const std::wstring& number) {
    constexpr std::size_t exactDigits = 15;
    if (number.size() > exactDigits) {
        wchar_t* end = nullptr;
        return std::min(ReadDouble(number.c_str(), &end), std::numeric_limits<double>::max());
    }
    std::int64_t digits = 0, scale = 1;
    bool fraction = false;
    for (const wchar_t c : number) {
        if (c == L'.') {
            fraction = true;
        } else {
            digits = digits * 10 + (c - L'0');
            scale *= fraction ? 10 : 1;
        }
    }
    return static_cast<double>(digits) / static_cast<double>(scale);
}

/// Parses numbers followed by a letter, each letter at most once and in order.
class Reader {
public:
    explicit Reader(const wchar_t* text) noexcept : m_at(text) {}

    /// Whether a number with this letter is next; if so, it is consumed.
    bool Take(wchar_t letter, bool fraction, std::wstring& number) {
        const wchar_t* end = m_at;
        while (IsDigit(*end)) {
            ++end;
        }
        if (fraction && end != m_at && end[0] == L'.' && IsDigit(end[1])) {
            for (++end; IsDigit(*end); ++end) {
            }
        }
        if (end == m_at || *end != letter) {
            return false;
        }
        number.assign(m_at, end);
        m_at = end + 1;
        return true;
    }
    bool TakeLetter(wchar_t letter) noexcept {
        const bool here = *m_at == letter;
        m_at += here ? 1 : 0;
        return here;
    }
    bool IsAtEnd() const noexcept {
        return *m_at == L'\0';
    }

private:
    const wchar_t* m_at;
};

} // namespace

CDuration::CDuration(int years, int months, int days, int hours, int minutes, double seconds)
    : m_years(years), m_months(months), m_days(days), m_hours(hours), m_minutes(minutes), m_seconds(seconds) {
    CheckComponent(L"years", years);
    CheckComponent(L"months", months);
    CheckComponent(L"days", days);
    CheckComponent(L"hours", hours);
    CheckComponent(L"minutes", minutes);
    if (!(seconds >= 0) || std::isinf(seconds)) { // also NaN
        const std::wstring text = std::isfinite(seconds) ? FormatSeconds(seconds) : std::to_wstring(seconds);
        throw CArgumentOutOfRangeException(L"seconds", text.c_str(), nullptr,
                                           ZEL_SITE(L"ZelCore::CDuration::CDuration"));
    }
}

bool CDuration::TryParse(const wchar_t* text, CDuration& result) {
    if (text == nullptr || *text == L'\0') {
        return false;
    }
    result = CDuration();
    CDuration parsed;
    std::wstring number;
    const struct {
        wchar_t letter;
        int CDuration::*field;
    } date[] = {{L'Y', &CDuration::m_years}, {L'M', &CDuration::m_months}, {L'D', &CDuration::m_days}},
      time[] = {{L'H', &CDuration::m_hours}, {L'M', &CDuration::m_minutes}};
    Reader reader(text);
    bool any = false;
    const auto take = [&](const auto& parts) {
        for (const auto& part : parts) {
            if (reader.Take(part.letter, false, number)) {
                parsed.*part.field = ToInt32(number);
                any = true;
            }
        }
    };
    if (!reader.TakeLetter(L'P')) {
        return false;
    }
    take(date);
    if (reader.TakeLetter(L'T')) {
        any = false; // a component has to follow
        take(time);
        if (reader.Take(L'S', true, number)) {
            parsed.m_seconds = ToDouble(number);
            any = true;
        }
    }
    if (!any || !reader.IsAtEnd()) {
        return false;
    }
    result = parsed;
    return true;
}

std::wstring CDuration::ToString() const {
    CTextWriter text(32);
    const auto put = [&](int value, const wchar_t* format) {
        if (value > 0) {
            text.Put(format, {value});
        }
    };
    text.Put(L"P", {});
    put(m_years, L"%dY");
    put(m_months, L"%dM");
    put(m_days, L"%dD");
    if (m_hours < 1 && m_minutes < 1 && !(m_seconds > 0)) {
        return text.Take() + (m_years == 0 && m_months == 0 && m_days == 0 ? L"T0S" : L"");
    }
    text.Put(L"T", {});
    put(m_hours, L"%dH");
    put(m_minutes, L"%dM");
    if (m_seconds > 0) {
        text.Put(L"%sS", {FormatSeconds(m_seconds)});
    }
    return text.Take();
}

CTimeSpan CDuration::ToTimeSpan() const {
    return ToTimeSpan(CDateTime::UtcNow());
}

CTimeSpan CDuration::ToTimeSpan(const CDateTime& start) const {
    const wchar_t* const method = L"ZelCore::CDuration::ToTimeSpan";
    CDateTime end = start;
    end.AddYears(m_years);
    end.AddMonths(m_months);
    std::int64_t ticks = 0;
    const auto add = [&](const wchar_t* name, std::int64_t count, std::int64_t unit, const std::wstring& text) {
        std::int64_t product = 0;
        if (__builtin_mul_overflow(count, unit, &product) || __builtin_add_overflow(ticks, product, &ticks)) {
            throw CArgumentOutOfRangeException(name, text.c_str(), nullptr, ZEL_SITE(method));
        }
    };
    add(L"days", m_days, CTimeSpan::TicksPerDay, std::to_wstring(m_days));
    add(L"hours", m_hours, CTimeSpan::TicksPerHour, std::to_wstring(m_hours));
    add(L"minutes", m_minutes, CTimeSpan::TicksPerMinute, std::to_wstring(m_minutes));
    constexpr double countable = 9.2e18; // below 64 bits, which a double cannot represent exactly
    const double milliseconds = m_seconds * 1000;
    if (!(milliseconds < countable)) {
        throw CArgumentOutOfRangeException(L"seconds", FormatSeconds(m_seconds).c_str(), nullptr, ZEL_SITE(method));
    }
    add(L"seconds", static_cast<std::int64_t>(milliseconds), CTimeSpan::TicksPerMillisecond, FormatSeconds(m_seconds));
    return (end - start) + CTimeSpan(ticks);
}

} // namespace ZelCore
