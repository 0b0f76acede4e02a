#include "ZelCore/TextCodec.h"

#include <tmmintrin.h>

namespace ZelCore::TextCodec {

namespace {

// Only the functions with this attribute use the instructions; the rest of the library runs on every 64-bit processor.
// Blocks have 16 bytes, because GCC does not align the stack to more on this target.
constexpr std::size_t Block = 16;

bool HasInstructions() noexcept {
    static const bool has = __builtin_cpu_supports("ssse3") != 0;
    return has;
}

[[gnu::target("ssse3")]] inline __m128i Load(const void* address) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(address));
}

[[gnu::target("ssse3")]] inline void Store(void* address, __m128i value) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(address), value);
}

[[gnu::target("ssse3")]] inline void StoreWide(wchar_t* out, __m128i characters) noexcept {
    Store(out, _mm_unpacklo_epi8(characters, _mm_setzero_si128()));
    Store(out + 8, _mm_unpackhi_epi8(characters, _mm_setzero_si128()));
}

/// Converts sixteen characters to bytes. A character that does not fit becomes 0 or 255, which are not digits.
[[gnu::target("ssse3")]] inline __m128i LoadNarrow(const wchar_t* in) noexcept {
    return _mm_packus_epi16(Load(in), Load(in + 8));
}

/// Splits twelve bytes into sixteen values of six bits.
[[gnu::target("ssse3")]] inline __m128i SplitIntoSixBits(__m128i bytes) noexcept {
    const __m128i pairs = _mm_shuffle_epi8(bytes, _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    const __m128i odd = _mm_mulhi_epu16(_mm_and_si128(pairs, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    const __m128i even = _mm_mullo_epi16(_mm_and_si128(pairs, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    return _mm_or_si128(odd, even);
}

/// The digit of a value is the value plus an offset that depends on its range.
[[gnu::target("ssse3")]] inline __m128i ToBase64Digits(__m128i values) noexcept {
    const __m128i offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                          '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    const __m128i isUpper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
    const __m128i range =
        _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)), _mm_and_si128(isUpper, _mm_set1_epi8(13)));
    return _mm_add_epi8(values, _mm_shuffle_epi8(offsets, range));
}

/// Converts sixteen digits to values; returns false if one is invalid. Each character is looked up by both its halves
/// and is valid if the bits found for them do not overlap.
[[gnu::target("ssse3")]] inline bool FromBase64Digits(__m128i digits, __m128i& values) noexcept {
    const __m128i byLow =
        _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
    const __m128i byHigh =
        _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
    const __m128i offsets = _mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
    const __m128i halfMask = _mm_set1_epi8(0x0F);
    const __m128i high = _mm_and_si128(_mm_srli_epi32(digits, 4), halfMask);
    const __m128i common =
        _mm_and_si128(_mm_shuffle_epi8(byLow, _mm_and_si128(digits, halfMask)), _mm_shuffle_epi8(byHigh, high));
    const __m128i isSlash = _mm_cmpeq_epi8(digits, _mm_set1_epi8('/'));
    values = _mm_add_epi8(digits, _mm_shuffle_epi8(offsets, _mm_add_epi8(isSlash, high)));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(common, _mm_setzero_si128())) == 0xFFFF;
}

/// Joins sixteen values of six bits to twelve bytes, followed by four zeros.
[[gnu::target("ssse3")]] inline __m128i JoinSixBits(__m128i values) noexcept {
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    return _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
}

/// Converts sixteen hexadecimal digits to values; returns false if one is invalid.
[[gnu::target("ssse3")]] inline bool FromHexDigits(__m128i digits, __m128i& values) noexcept {
    const __m128i number = _mm_sub_epi8(digits, _mm_set1_epi8('0'));
    const __m128i letter = _mm_sub_epi8(_mm_or_si128(digits, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
    const __m128i isNumber = _mm_cmpeq_epi8(_mm_min_epu8(number, _mm_set1_epi8(9)), number);
    const __m128i isLetter = _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(5)), letter);
    values = _mm_or_si128(_mm_and_si128(isNumber, number),
                          _mm_andnot_si128(isNumber, _mm_add_epi8(letter, _mm_set1_epi8(10))));
    return _mm_movemask_epi8(_mm_or_si128(isNumber, isLetter)) == 0xFFFF;
}

[[gnu::target("ssse3")]] std::size_t EncodeBase64Blocks(const unsigned char* in, std::size_t size,
                                                        wchar_t* out) noexcept {
    std::size_t done = 0;
    for (; done + Block <= size; done += 12, out += Block) {
        StoreWide(out, ToBase64Digits(SplitIntoSixBits(Load(in + done))));
    }
    return done;
}

[[gnu::target("ssse3")]] std::size_t DecodeBase64Blocks(const wchar_t* in, std::size_t length,
                                                        unsigned char* out) noexcept {
    std::size_t done = 0;
    __m128i values;
    // A store writes 16 bytes, of which 12 are valid: there must be room for a second block.
    for (; done + 2 * Block <= length && FromBase64Digits(LoadNarrow(in + done), values); done += Block, out += 12) {
        Store(out, JoinSixBits(values));
    }
    return done;
}

[[gnu::target("ssse3")]] std::size_t EncodeHexBlocks(const unsigned char* in, std::size_t size, wchar_t* out) noexcept {
    const __m128i digits =
        _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
    const __m128i halfMask = _mm_set1_epi8(0x0F);
    std::size_t done = 0;
    for (; done + 8 <= size; done += 8, out += Block) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in + done));
        const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), halfMask);
        const __m128i halves = _mm_unpacklo_epi8(high, _mm_and_si128(bytes, halfMask));
        StoreWide(out, _mm_shuffle_epi8(digits, halves));
    }
    return done;
}

[[gnu::target("ssse3")]] std::size_t DecodeHexBlocks(const wchar_t* in, std::size_t length,
                                                     unsigned char* out) noexcept {
    std::size_t done = 0;
    __m128i values;
    for (; done + Block <= length && FromHexDigits(LoadNarrow(in + done), values); done += Block, out += 8) {
        const __m128i bytes = _mm_maddubs_epi16(values, _mm_set1_epi16(0x0110));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(bytes, bytes));
    }
    return done;
}

} // namespace

std::size_t EncodeBase64(const unsigned char* in, std::size_t size, wchar_t* out) noexcept {
    return HasInstructions() ? EncodeBase64Blocks(in, size, out) : 0;
}

std::size_t DecodeBase64(const wchar_t* in, std::size_t length, unsigned char* out) noexcept {
    return HasInstructions() ? DecodeBase64Blocks(in, length, out) : 0;
}

std::size_t EncodeHex(const unsigned char* in, std::size_t size, wchar_t* out) noexcept {
    return HasInstructions() ? EncodeHexBlocks(in, size, out) : 0;
}

std::size_t DecodeHex(const wchar_t* in, std::size_t length, unsigned char* out) noexcept {
    return HasInstructions() ? DecodeHexBlocks(in, length, out) : 0;
}

} // namespace ZelCore::TextCodec
