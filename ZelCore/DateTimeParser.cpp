#include "ZelCore/DateTimeParser.h"

#include "ZelCore/Exception.h"
#include "ZelWin32/Windows.h"

#include <optional>
#include <string_view>

namespace ZelCore {

namespace {

constexpr int FractionDigits = 7;
constexpr int TwoDigitYearLimit = 2029; // if the locale does not define it
constexpr LCID Invariant = 127;
constexpr LCTYPE GenitiveNames = 0x10000000;
const wchar_t* const RoundTripPattern = L"yyyy-MM-ddTHH:mm:ss.fffffff";

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

std::wstring GetLocaleText(LCID locale, LCTYPE type) {
    const int length = ::GetLocaleInfoW(locale, type, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(std::max(length, 1)), L'\0');
    const int written = ::GetLocaleInfoW(locale, type, text.data(), length);
    text.resize(static_cast<std::size_t>(std::max(written, 1)) - 1);
    return text;
}

/// Returns the long-time pattern without its seconds, which the system uses for the short time.
std::wstring GetShortTimePattern(LCID locale) {
    std::wstring pattern = GetLocaleText(locale, LOCALE_STIMEFORMAT);
    const std::size_t seconds = pattern.find(L's');
    if (seconds == std::wstring::npos) {
        return pattern;
    }
    const std::size_t end = pattern.find_first_not_of(L's', seconds);
    const std::size_t begin = pattern.find_last_not_of(L":. ", seconds - (seconds != 0 ? 1 : 0));
    return pattern.erase(begin + 1, std::min(end, pattern.size()) - begin - 1);
}

/// The same for locales that name their units: only AM or PM may follow the minutes.
std::wstring GetBareTimePattern(LCID locale) {
    const std::wstring pattern = GetLocaleText(locale, LOCALE_STIMEFORMAT);
    std::size_t end = 0;
    bool quoted = false, half = false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        quoted = quoted != (pattern[i] == L'\'');
        if (!quoted && pattern[i] == L'm') {
            end = i + 1;
            half = false;
        }
        half = half || (!quoted && pattern[i] == L't');
    }
    return pattern.substr(0, end) + (half ? L" tt" : L"");
}

/// Matches a pattern against a text and stores the fields that were found.
class Parser {
public:
    Parser(std::wstring_view text, LCID locale) : m_text(text), m_locale(locale) {}

    /// Whether the whole text matches the pattern. Throws CArgumentException for an invalid pattern.
    bool Match(std::wstring_view pattern);

    /// Returns the date-time, or no value if the parts contradict each other. Throws CArgumentException for an
    /// impossible date.
    std::optional<CDateTime> GetResult() const;

    void SetUniversal() {
        m_universal = true;
    }

private:
    bool MatchRun(wchar_t letter, int count);
    bool MatchLiteral(wchar_t c);
    bool MatchNumber(int least, int most, std::optional<int>& field);
    bool MatchYear(int count);
    bool MatchFraction(int least, int most);
    bool MatchName(LCTYPE first, int count, std::optional<int>& field);
    bool MatchHalfDay(int count);
    bool MatchEra();
    bool MatchOffset(int count);
    bool MatchZone();
    bool Starts(const std::wstring& name) const;
    static bool Set(std::optional<int>& field, int value);
    std::wstring_view GetRest() const {
        return m_text.substr(m_at);
    }

    std::wstring_view m_text;
    LCID m_locale;
    std::size_t m_at = 0;
    std::optional<int> m_year, m_month, m_day, m_dayOfWeek, m_hour, m_hour12, m_half, m_minute, m_second, m_fraction;
    std::optional<int> m_offset; ///< in minutes
    bool m_universal = false;
};

bool Parser::Set(std::optional<int>& field, int value) {
    const bool fits = !field || *field == value;
    field = value;
    return fits;
}

bool Parser::MatchLiteral(wchar_t c) {
    if (m_at == m_text.size() || m_text[m_at] != c) {
        return false;
    }
    ++m_at;
    return true;
}

bool Parser::MatchNumber(int least, int most, std::optional<int>& field) {
    int value = 0, count = 0;
    for (; count < most && m_at < m_text.size() && IsDigit(m_text[m_at]); ++count, ++m_at) {
        value = value * 10 + (m_text[m_at] - L'0');
    }
    return count >= least && Set(field, value);
}

bool Parser::MatchYear(int count) {
    if (count > 2) {
        return MatchNumber(count, count, m_year);
    }
    std::optional<int> year;
    if (!MatchNumber(count, 2, year)) {
        return false;
    }
    DWORD limit = 0;
    if (::GetCalendarInfoW(m_locale, CAL_GREGORIAN, CAL_ITWODIGITYEARMAX | CAL_RETURN_NUMBER, nullptr, 0, &limit) ==
        0) {
        limit = TwoDigitYearLimit;
    }
    const int last = static_cast<int>(limit);
    const int century = last - last % 100;
    return Set(m_year, century + *year - (*year > last % 100 ? 100 : 0));
}

bool Parser::MatchFraction(int least, int most) {
    int ticks = 0, count = 0;
    for (; count < most && m_at < m_text.size() && IsDigit(m_text[m_at]); ++count, ++m_at) {
        ticks = ticks * 10 + (m_text[m_at] - L'0');
    }
    const bool enough = count >= least;
    for (; count < FractionDigits; ++count) {
        ticks *= 10;
    }
    return enough && Set(m_fraction, ticks);
}

bool Parser::Starts(const std::wstring& name) const {
    return GetRest().size() >= name.size() &&
           ::CompareStringW(m_locale, NORM_IGNORECASE, m_text.data() + m_at, static_cast<int>(name.size()), name.data(),
                            static_cast<int>(name.size())) == CSTR_EQUAL;
}

/// Matches the longest of the locale's names at this position; numbers count from 1.
bool Parser::MatchName(LCTYPE first, int count, std::optional<int>& field) {
    std::size_t longest = 0;
    int found = 0;
    for (int i = 0; i < count; ++i) {
        for (const LCTYPE form : {LCTYPE{0}, GenitiveNames}) {
            const std::wstring name = GetLocaleText(m_locale, (first + static_cast<LCTYPE>(i)) | form);
            if (name.size() > longest && Starts(name)) {
                longest = name.size();
                found = i + 1;
            }
        }
    }
    m_at += longest;
    return longest != 0 && Set(field, found);
}

bool Parser::MatchHalfDay(int count) {
    std::wstring names[] = {GetLocaleText(m_locale, LOCALE_S1159), GetLocaleText(m_locale, LOCALE_S2359)};
    for (std::wstring& name : names) {
        name.resize(count == 1 ? std::min<std::size_t>(name.size(), 1) : name.size());
    }
    for (const int half : {1, 0}) { // an empty name matches everywhere
        if (!names[half].empty() && Starts(names[half])) {
            m_at += names[half].size();
            return Set(m_half, half);
        }
    }
    return names[0].empty() && Set(m_half, 0);
}

/// There is only one era. Some systems write it twice.
bool Parser::MatchEra() {
    constexpr int largestEra = 64;
    wchar_t era[largestEra] = L"";
    ::GetCalendarInfoW(m_locale, CAL_GREGORIAN, CAL_SERASTRING, era, largestEra, nullptr);
    while (*era != L'\0' && Starts(era)) {
        m_at += std::wcslen(era);
    }
    return true;
}

bool Parser::MatchOffset(int count) {
    const bool negative = !GetRest().empty() && GetRest().front() == L'-';
    std::optional<int> hours, minutes = 0;
    if (!MatchLiteral(negative ? L'-' : L'+') || !MatchNumber(count == 1 ? 1 : 2, 2, hours)) {
        return false;
    }
    if (count > 2) {
        minutes.reset();
        if (!MatchLiteral(L':') || !MatchNumber(2, 2, minutes)) {
            return false;
        }
    }
    return *hours <= 14 && *minutes < 60 && Set(m_offset, (negative ? -1 : 1) * (*hours * 60 + *minutes));
}

bool Parser::MatchZone() {
    if (GetRest().empty()) {
        return true;
    }
    if (MatchLiteral(L'Z')) {
        m_universal = true;
        return true;
    }
    const wchar_t next = GetRest().front();
    return (next != L'+' && next != L'-') || MatchOffset(3);
}

bool Parser::MatchRun(wchar_t letter, int count) {
    switch (letter) {
    case L'd':
        return count <= 2   ? MatchNumber(count, 2, m_day)
               : count == 3 ? MatchName(LOCALE_SABBREVDAYNAME1, 7, m_dayOfWeek)
                            : MatchName(LOCALE_SDAYNAME1, 7, m_dayOfWeek);
    case L'M':
        return count <= 2   ? MatchNumber(count, 2, m_month)
               : count == 3 ? MatchName(LOCALE_SABBREVMONTHNAME1, 12, m_month)
                            : MatchName(LOCALE_SMONTHNAME1, 12, m_month);
    case L'y':
        return MatchYear(count);
    case L'H':
        return MatchNumber(std::min(count, 2), 2, m_hour);
    case L'h':
        return MatchNumber(std::min(count, 2), 2, m_hour12);
    case L'm':
        return MatchNumber(std::min(count, 2), 2, m_minute);
    case L's':
        return MatchNumber(std::min(count, 2), 2, m_second);
    case L'f':
        return MatchFraction(count, count);
    case L'F':
        return MatchFraction(0, count);
    case L't':
        return MatchHalfDay(count);
    case L'g':
        return MatchEra();
    case L'z':
        return MatchOffset(count);
    default: // K
        return MatchZone();
    }
}

bool Parser::Match(std::wstring_view pattern) {
    constexpr std::wstring_view letters = L"dMyHhmsfFtgzK";
    bool matches = true; // goes on after a mismatch, to validate the rest of the pattern
    for (std::size_t i = 0; i < pattern.size();) {
        const wchar_t c = pattern[i];
        if (c == L'\'' || c == L'"') {
            const std::size_t begin = i++;
            for (;; ++i) {
                if (i == pattern.size()) {
                    ThrowBadDateTimeFormat();
                }
                if (pattern[i] == c && (i + 1 == pattern.size() || pattern[i + 1] != c)) {
                    break;
                }
                i += pattern[i] == c ? 1 : 0; // a doubled quotation mark stands for one
                matches = matches && MatchLiteral(pattern[i]);
            }
            if (i == begin + 1) { // two quotation marks alone as well
                matches = matches && MatchLiteral(c);
            }
            ++i;
        } else if (c == L'\\') {
            if (i + 1 == pattern.size()) {
                ThrowBadDateTimeFormat();
            }
            matches = matches && MatchLiteral(pattern[i + 1]);
            i += 2;
        } else if (c == L'%') {
            if (i + 1 == pattern.size() || pattern[i + 1] == L'%') {
                ThrowBadDateTimeFormat();
            }
            ++i;
        } else if (letters.find(c) != std::wstring_view::npos) {
            const std::size_t end = std::min(pattern.find_first_not_of(c, i), pattern.size());
            const auto count = static_cast<int>(end - i);
            constexpr int yearDigits = 5;
            if (((c == L'f' || c == L'F') && count > FractionDigits) || (c == L'y' && count > yearDigits)) {
                ThrowBadDateTimeFormat();
            }
            matches = matches && MatchRun(c, count);
            i = end;
        } else if (c == L'.' && i + 1 < pattern.size() && pattern[i + 1] == L'F' &&
                   (GetRest().size() < 2 || GetRest()[0] != L'.' || !IsDigit(GetRest()[1]))) {
            i = pattern.find_first_not_of(L'F', i + 1); // the point belongs to the digits
            i = std::min(i, pattern.size());
        } else {
            matches = matches && MatchLiteral(c);
            ++i;
        }
    }
    return matches && m_at == m_text.size();
}

std::optional<CDateTime> Parser::GetResult() const {
    int hour = m_hour.value_or(0);
    if (m_hour12) {
        if (*m_hour12 < 1 || *m_hour12 > 12) {
            return {};
        }
        const int fromTwelve = *m_hour12 % 12 + (m_half.value_or(0) != 0 ? 12 : 0);
        if (m_hour && *m_hour != fromTwelve) {
            return {};
        }
        hour = fromTwelve;
    } else if (m_hour && m_half && (*m_hour >= 12) != (*m_half != 0) &&
               !GetLocaleText(m_locale, LOCALE_S1159).empty()) {
        return {};
    }
    const int minute = m_minute.value_or(0), second = m_second.value_or(0);
    if (hour > 23 || minute > 59 || second > 59) {
        return {};
    }
    const CDateTime date = CDateTime::FromDate(m_year.value_or(1), m_month.value_or(1), m_day.value_or(1));
    // The system's first day is Monday. Before 1602 it writes the days of 1601, which is not a leap year.
    if (const int day = m_dayOfWeek.value_or(0) % 7; m_dayOfWeek && day != date.GetDayOfWeek()) {
        constexpr int firstYear = 1601, february = 2, leapDay = 29;
        const bool isLeapDay = date.GetMonth() == february && date.GetDay() == leapDay;
        if (date.GetYear() > firstYear ||
            (!isLeapDay && day != CDateTime::FromDate(firstYear, date.GetMonth(), date.GetDay()).GetDayOfWeek())) {
            return {};
        }
    }
    const std::int64_t ticks = date.GetTicks() + hour * CTimeSpan::TicksPerHour + minute * CTimeSpan::TicksPerMinute +
                               second * CTimeSpan::TicksPerSecond + m_fraction.value_or(0);
    if (m_universal) {
        if (m_offset.value_or(0) != 0) {
            return {};
        }
        return CDateTime(ticks, DateTimeKind::Utc);
    }
    if (!m_offset) {
        return CDateTime(ticks, DateTimeKind::Unspecified);
    }
    // Text with the offset of local time keeps its fields, even if the zone's offset has changed since then, and even
    // if the time in UTC is outside the range of the calendar.
    const CDateTime local(ticks, DateTimeKind::Local);
    if (GetLocalOffset(local) == *m_offset) {
        return local;
    }
    const CDateTime universal(ticks - *m_offset * CTimeSpan::TicksPerMinute, DateTimeKind::Utc);
    if (universal < CDateTime::MinValue || universal > CDateTime::MaxValue) {
        return {};
    }
    const CDateTime converted = universal.ToLocalTime();
    if (converted < CDateTime::MinValue || converted > CDateTime::MaxValue) {
        return {};
    }
    return converted;
}

std::optional<CDateTime> TryPattern(std::wstring_view text, std::wstring_view pattern, LCID locale, bool universal) {
    Parser parser(text, locale);
    if (!parser.Match(pattern)) {
        return {};
    }
    if (universal) {
        parser.SetUniversal();
    }
    return parser.GetResult();
}

const wchar_t* const SortablePattern = L"yyyy-MM-ddTHH:mm:ss";
const wchar_t* const UniversalPattern = L"yyyy-MM-dd HH:mm:ss'Z'";
const wchar_t* const Rfc1123Pattern = L"ddd',' dd MMM yyyy HH':'mm':'ss 'GMT'";

std::optional<CDateTime> ParseByLetter(std::wstring_view text, wchar_t letter, LCID locale) {
    const auto date = [&](LCTYPE type) { return GetLocaleText(locale, type); };
    const auto longTime = [&] { return GetLocaleText(locale, LOCALE_STIMEFORMAT); };
    const auto parse = [&](const std::wstring& pattern) { return TryPattern(text, pattern, locale, false); };
    const auto parseShort = [&](const std::wstring& before) {
        const auto result = parse(before + GetShortTimePattern(locale));
        const std::size_t end = text.find_last_not_of(L' ') + 1;
        return result ? result : TryPattern(text.substr(0, end), before + GetBareTimePattern(locale), locale, false);
    };
    switch (letter) {
    case L'D':
        return parse(date(LOCALE_SLONGDATE));
    case L'd':
        return parse(date(LOCALE_SSHORTDATE));
    case L'T':
        return parse(longTime());
    case L't':
        return parseShort(L"");
    case L'F':
        return parse(date(LOCALE_SLONGDATE) + L" " + longTime());
    case L'f':
        return parseShort(date(LOCALE_SLONGDATE) + L" ");
    case L'G':
        return parse(date(LOCALE_SSHORTDATE) + L" " + longTime());
    case L'g': {
        const auto twice = parse(date(LOCALE_SSHORTDATE) + L" " + date(LOCALE_SSHORTDATE));
        return twice ? twice : parse(date(LOCALE_SSHORTDATE) + L" " + GetShortTimePattern(locale));
    }
    case L'O':
    case L'o':
        return TryPattern(text, std::wstring(RoundTripPattern) + L"K", Invariant, false);
    case L'R':
    case L'r':
        return TryPattern(text, Rfc1123Pattern, Invariant, true);
    case L's':
        return TryPattern(text, SortablePattern, Invariant, false);
    case L'u':
        return TryPattern(text, UniversalPattern, Invariant, true);
    default:
        ThrowBadDateTimeFormat();
    }
}

} // namespace

std::optional<CDateTime> ParseDateTime(std::wstring_view text, std::wstring_view format, unsigned long locale) {
    return format.size() == 1 ? ParseByLetter(text, format.front(), locale) : TryPattern(text, format, locale, false);
}

bool CDateTime::TryParse(const std::wstring& value, CDateTime& result) noexcept {
    result = CDateTime();
    const struct {
        const wchar_t* pattern;
        bool universal;
    } forms[] = {{L"yyyy-MM-ddTHH:mm:ss.FFFFFFFK", false},
                 {L"yyyy-MM-dd HH:mm:ss.FFFFFFFK", false},
                 {L"yyyy-MM-ddTHH:mmK", false},
                 {L"yyyy-MM-dd HH:mmK", false},
                 {L"yyyy-MM-dd", false},
                 {Rfc1123Pattern, true}};
    std::wstring_view text = value;
    const auto blank = [](wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    for (const auto& form : forms) {
        try {
            if (const auto found = TryPattern(text, form.pattern, Invariant, form.universal)) {
                result = *found;
                return true;
            }
        } catch (const std::exception&) { // no memory for a name
        } catch (const CException&) {     // an impossible date
        }
    }
    return false;
}

} // namespace ZelCore
