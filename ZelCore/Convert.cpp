#include "ZelCore/Convert.h"

#include "ZelCore/Arguments.h"
#include "ZelCore/FloatingPoint.h"
#include "ZelCore/FormatException.h"
#include "ZelCore/String.h"
#include "ZelCore/TextCodec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>
#include <emmintrin.h>

namespace ZelCore {

namespace {

constexpr wchar_t Alphabet[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t GroupsPerLine = 19;

/// Values above 63 in the decoding table: the class of a character that is not a digit.
enum Base64Class : unsigned char { Padding = 64, Space = 65, Invalid = 0x80 };

constexpr auto Base64Values = [] {
    std::array<unsigned char, 256> table{};
    table.fill(Invalid);
    for (unsigned char value = 0; value < 64; ++value) {
        table[static_cast<std::size_t>(Alphabet[value])] = value;
    }
    table[L'='] = Padding;
    table[L' '] = table[L'\t'] = table[L'\r'] = table[L'\n'] = Space;
    return table;
}();

/// Two digits at a time: the pair that encodes a twelve-bit value.
struct DigitPair {
    wchar_t digits[2];
};

constexpr auto Base64Pairs = [] {
    std::array<DigitPair, 4096> table{};
    for (std::size_t value = 0; value < table.size(); ++value) {
        table[value] = {{Alphabet[value >> 6], Alphabet[value & 63]}};
    }
    return table;
}();

constexpr auto HexPairs = [] {
    constexpr wchar_t digits[] = L"0123456789ABCDEF";
    std::array<DigitPair, 256> table{};
    for (std::size_t value = 0; value < table.size(); ++value) {
        table[value] = {{digits[value >> 4], digits[value & 15]}};
    }
    return table;
}();

constexpr auto HexValues = [] {
    std::array<unsigned char, 256> table{};
    table.fill(Invalid);
    for (unsigned char value = 0; value < 16; ++value) {
        table[static_cast<std::size_t>(L"0123456789ABCDEF"[value])] = value;
        table[static_cast<std::size_t>(L"0123456789abcdef"[value])] = value;
    }
    return table;
}();

template <std::size_t Size> unsigned LookUp(const std::array<unsigned char, Size>& table, wchar_t c) {
    return c < Size ? table[c] : static_cast<unsigned>(Invalid);
}

/// Returns the length of a null-terminated text. Texts to decode are long, and the runtime counts one character at a
/// time.
std::size_t GetLength(const wchar_t* text) {
    const wchar_t* p = text;
    for (; reinterpret_cast<std::uintptr_t>(p) % sizeof(__m128i) != 0; ++p) {
        if (*p == L'\0') {
            return static_cast<std::size_t>(p - text);
        }
        if (reinterpret_cast<std::uintptr_t>(p) % sizeof(wchar_t) != 0) {
            return std::wcslen(text);
        }
    }
    for (;; p += 8) { // an aligned block never crosses a page boundary
        const __m128i block = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
        const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_setzero_si128()));
        if (zeros != 0) {
            return static_cast<std::size_t>(p - text) +
                   static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(zeros))) / 2;
        }
    }
}

wchar_t* Put(wchar_t* out, const DigitPair& pair) {
    std::memcpy(out, &pair, sizeof(pair));
    return out + 2;
}

wchar_t* EncodeGroup(const unsigned char* in, wchar_t* out) {
    const unsigned bits = static_cast<unsigned>(in[0] << 16 | in[1] << 8 | in[2]);
    return Put(Put(out, Base64Pairs[bits >> 12]), Base64Pairs[bits & 0xFFF]);
}

wchar_t* EncodeRest(const unsigned char* in, std::size_t size, wchar_t* out) {
    const unsigned char last[3] = {in[0], size == 2 ? in[1] : static_cast<unsigned char>(0), 0};
    wchar_t* end = EncodeGroup(last, out);
    end[-1] = L'=';
    if (size == 1) {
        end[-2] = L'=';
    }
    return end;
}

[[noreturn]] void ThrowInvalidBase64(const wchar_t* method, const wchar_t* file, int line) {
    throw CFormatException(GetMessageText(Message::InvalidBase64), method, file, line);
}

/// Decodes Base64 one character at a time if a group contains anything other than four digits.
class CBase64 {
public:
    CBase64(const wchar_t* begin, const wchar_t* end, unsigned char* out) : m_in(begin), m_end(end), m_out(out) {}

    unsigned char* Decode() {
        for (;;) {
            DecodePlainGroups();
            unsigned values[4];
            for (unsigned& value : values) {
                if (!ReadValue(value)) {
                    if (&value != values) {
                        ThrowInvalidBase64(ZEL_SITE(L"ZelCore::`anonymous-namespace'::CBase64::Decode"));
                    }
                    return m_out;
                }
            }
            if (!DecodeGroup(values)) {
                return FinishAfterPadding();
            }
        }
    }

private:
    void DecodePlainGroups() {
        const std::size_t done = TextCodec::DecodeBase64(m_in, static_cast<std::size_t>(m_end - m_in), m_out);
        m_in += done;
        m_out += done / 4 * 3;
        while (m_end - m_in >= 4) {
            const unsigned a = LookUp(Base64Values, m_in[0]);
            const unsigned b = LookUp(Base64Values, m_in[1]);
            const unsigned c = LookUp(Base64Values, m_in[2]);
            const unsigned d = LookUp(Base64Values, m_in[3]);
            if ((a | b | c | d) >= Padding) {
                return;
            }
            PutGroup(a << 18 | b << 12 | c << 6 | d, 3);
            m_in += 4;
        }
    }

    bool ReadValue(unsigned& value) {
        while (m_in != m_end) {
            const wchar_t c = *m_in++;
            value = LookUp(Base64Values, c);
            if (value == Invalid) {
                ThrowInvalidBase64(ZEL_SITE(L"ZelCore::`anonymous-namespace'::CBase64::IsInBase64"));
            }
            if (value != Space) {
                return true;
            }
        }
        return false;
    }

    /// Returns false if the group was padded and must therefore be the last one.
    bool DecodeGroup(const unsigned (&v)[4]) {
        if (v[0] == Padding || v[1] == Padding || (v[2] == Padding && v[3] != Padding)) {
            ThrowInvalidBase64(ZEL_SITE(L"ZelCore::`anonymous-namespace'::CBase64::Decode"));
        }
        const int size = v[2] == Padding ? 1 : v[3] == Padding ? 2 : 3;
        PutGroup(v[0] << 18 | v[1] << 12 | (v[2] & 63) << 6 | (v[3] & 63), size);
        return size == 3;
    }

    void PutGroup(unsigned bits, int size) {
        for (int shift = 16; size > 0; --size, shift -= 8) {
            *m_out++ = static_cast<unsigned char>(bits >> shift);
        }
    }

    unsigned char* FinishAfterPadding() {
        unsigned value = 0;
        if (ReadValue(value)) {
            ThrowInvalidBase64(ZEL_SITE(L"ZelCore::`anonymous-namespace'::CBase64::Decode"));
        }
        return m_out;
    }

    const wchar_t* m_in;
    const wchar_t* m_end;
    unsigned char* m_out;
};

/// Runs one of the runtime's number parsers and requires that the text contains nothing but the number.
template <class Parse>
auto ParseNumber(const wchar_t* value, Message invalid, Parse parse, const wchar_t* method, const wchar_t* file,
                 int line) {
    CheckNotEmpty(value, L"value", method, file, line);
    wchar_t* end = nullptr;
    const auto number = parse(value, &end);
    if (end == value || *end != L'\0') {
        throw CArgumentException(L"value", CString::Format(GetMessageText(invalid), value).c_str(), method, file, line);
    }
    return number;
}

} // namespace

std::wstring CConvert::ToBase64String(const unsigned char* data, std::size_t size, bool insertLineBreaks) {
    CheckNotNull(data, L"data", ZEL_SITE(L"ZelCore::CConvert::ToBase64String"));
    if (size == 0) {
        return {};
    }
    const std::size_t groups = (size + 2) / 3;
    const std::size_t breaks = insertLineBreaks ? (groups - 1) / GroupsPerLine : 0;
    const std::size_t length = groups * 4 + breaks * 2;
    std::wstring text;
    text.resize_and_overwrite(length, [&](wchar_t* out, std::size_t) { // GCC 12 passes the capacity
        const unsigned char* in = data;
        std::size_t left = size;
        const std::size_t perLine = insertLineBreaks ? GroupsPerLine : groups;
        while (left >= 3) {
            const std::size_t lineSize = std::min(perLine, left / 3) * 3;
            const std::size_t done = TextCodec::EncodeBase64(in, lineSize, out);
            out += done / 3 * 4;
            for (const unsigned char *end = in + lineSize, *group = in + done; group != end; group += 3) {
                out = EncodeGroup(group, out);
            }
            in += lineSize;
            left -= lineSize;
            if (left != 0 && insertLineBreaks && static_cast<std::size_t>(in - data) % (GroupsPerLine * 3) == 0) {
                *out++ = L'\r';
                *out++ = L'\n';
            }
        }
        if (left != 0) {
            EncodeRest(in, left, out);
        }
        return length;
    });
    return text;
}

std::vector<unsigned char> CConvert::FromBase64String(const wchar_t* value) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CConvert::FromBase64String"));
    std::size_t length = GetLength(value);
    while (length != 0 && LookUp(Base64Values, value[length - 1]) == Space) {
        --length;
    }
    std::vector<unsigned char> bytes((length + 3) / 4 * 3);
    const unsigned char* end = CBase64(value, value + length, bytes.data()).Decode();
    bytes.resize(static_cast<std::size_t>(end - bytes.data()));
    return bytes;
}

std::wstring CConvert::ToHexString(const unsigned char* value, std::size_t size) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CConvert::ToHexString"));
    std::wstring text;
    text.resize_and_overwrite(size * 2, [&](wchar_t* out, std::size_t) { // GCC 12 passes the capacity
        const std::size_t done = TextCodec::EncodeHex(value, size, out);
        out += done * 2;
        for (std::size_t i = done; i < size; ++i) {
            out = Put(out, HexPairs[value[i]]);
        }
        return size * 2;
    });
    return text;
}

std::vector<unsigned char> CConvert::FromHexString(const wchar_t* value) {
    CheckNotNull(value, L"value", ZEL_SITE(L"ZelCore::CConvert::FromHexString"));
    const std::size_t length = GetLength(value);
    std::vector<unsigned char> bytes(length / 2);
    unsigned seen = length % 2 != 0 ? static_cast<unsigned>(Invalid) : 0;
    const std::size_t done = TextCodec::DecodeHex(value, length, bytes.data());
    for (std::size_t i = done / 2; i < bytes.size(); ++i) {
        const unsigned high = LookUp(HexValues, value[2 * i]);
        const unsigned low = LookUp(HexValues, value[2 * i + 1]);
        seen |= high | low;
        bytes[i] = static_cast<unsigned char>(high << 4 | low);
    }
    if ((seen & Invalid) != 0) {
        throw CFormatException(GetMessageText(Message::InvalidBase16), ZEL_SITE(L"ZelCore::CConvert::FromHexString"));
    }
    return bytes;
}

std::int32_t CConvert::ToInt32(const wchar_t* value) {
    const auto parse = [](const wchar_t* text, wchar_t** end) { return std::wcstol(text, end, 10); };
    return ParseNumber(value, Message::InvalidInteger, parse, ZEL_SITE(L"ZelCore::CConvert::ToInt32"));
}

std::int64_t CConvert::ToInt64(const wchar_t* value) {
    const auto parse = [](const wchar_t* text, wchar_t** end) { return ::_wcstoi64(text, end, 10); };
    return ParseNumber(value, Message::InvalidInteger, parse, ZEL_SITE(L"ZelCore::CConvert::ToInt64"));
}

std::uint32_t CConvert::ToUInt32(const wchar_t* value) {
    const auto parse = [](const wchar_t* text, wchar_t** end) { return std::wcstoul(text, end, 10); };
    return ParseNumber(value, Message::InvalidInteger, parse, ZEL_SITE(L"ZelCore::CConvert::ToUInt32"));
}

std::uint64_t CConvert::ToUInt64(const wchar_t* value) {
    const auto parse = [](const wchar_t* text, wchar_t** end) { return ::_wcstoui64(text, end, 10); };
    return ParseNumber(value, Message::InvalidInteger, parse, ZEL_SITE(L"ZelCore::CConvert::ToUInt64"));
}

double CConvert::ToDouble(const wchar_t* value) {
    return ParseNumber(value, Message::InvalidFloatingPoint, ReadDouble, ZEL_SITE(L"ZelCore::CConvert::ToDouble"));
}

} // namespace ZelCore
