#include "text/digits.h"

#include <emmintrin.h>

#include <cstring>

#include "kernels/residue61.h"

namespace kvt::text {
namespace {

constexpr u64 zeros = 0x3030303030303030;

// The eight digits of value < 10^8 as bytes 0..9, first digit in the lowest byte: halves, then hundreds, then tens,
// all in one register by multiplication with scaled inverses (10486 / 2^20 = 1/100, 103 / 2^10 = 1/10 in range).
u64 eight_digits(u32 value) noexcept {
    const u64 fours = value / 10000 | static_cast<u64>(value % 10000) << 32;
    const u64 hundreds = (fours * 10486 >> 20) & 0x0000007f0000007f;
    const u64 twos = (fours - 100 * hundreds) << 16 | hundreds;
    const u64 tens = (twos * 103 >> 10) & 0x000f000f000f000f;
    return (twos - 10 * tens) << 8 | tens;
}

void write_eight(char* out, u32 value) noexcept {
    const u64 characters = eight_digits(value) + zeros;
    std::memcpy(out, &characters, 8);
}

// The value of eight characters, the first in the lowest byte.
u64 value_of_eight(u64 v) noexcept {
    v &= 0x0f0f0f0f0f0f0f0f;
    v = (v * (10 * 256 + 1) >> 8) & 0x00ff00ff00ff00ff;
    v = (v * (100 * 65536 + 1) >> 16) & 0x0000ffff0000ffff;
    return v * (u64{10000} << 32 | 1) >> 32;
}

// Sixteen characters less '0'; and, twice sixteen at a time, their fours by pairs, then the eights of both, in order.
__m128i sixteen_digits(const char* text) noexcept {
    const __m128i characters = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    return _mm_sub_epi8(characters, _mm_set1_epi8('0'));
}
__m128i eights_of(__m128i a, __m128i b) noexcept {
    const auto fours = [](__m128i d) {
        const __m128i tens = _mm_mullo_epi16(_mm_and_si128(d, _mm_set1_epi16(0xff)), _mm_set1_epi16(10));
        return _mm_madd_epi16(_mm_add_epi16(tens, _mm_srli_epi16(d, 8)), _mm_set1_epi32(1 << 16 | 100));
    };
    return _mm_madd_epi16(_mm_packs_epi32(fours(a), fours(b)), _mm_set1_epi32(1 << 16 | 10000));
}
// Of the lower two eights.
u64 value_of_sixteen(__m128i eights) noexcept {
    const u64 pair = static_cast<u64>(_mm_cvtsi128_si64(eights));
    return (pair & 0xffffffff) * 100'000'000 + (pair >> 32);
}

// 32 characters. False when one is no digit; else the values of the upper and the lower sixteen.
bool read_thirty_two(const char* text, u64& upper, u64& lower) noexcept {
    const __m128i a = sixteen_digits(text), b = sixteen_digits(text + 16), nine = _mm_set1_epi8(9);
    const __m128i beyond = _mm_or_si128(_mm_subs_epu8(a, nine), _mm_subs_epu8(b, nine));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128())) != 0xffff) return false;
    const __m128i eights = eights_of(a, b);
    upper = value_of_sixteen(eights);
    lower = value_of_sixteen(_mm_unpackhi_epi64(eights, eights));
    return true;
}

u64 load_eight(const char* text) noexcept {
    u64 v;
    std::memcpy(&v, text, 8);
    return v;
}

// Eight characters; any byte that is no digit makes ok false (Mula, SIMD-ized digit checks, 2018).
u64 read_eight(const char* text, bool& ok) noexcept {
    const u64 v = load_eight(text);
    ok &= ((v & 0xf0f0f0f0f0f0f0f0) | ((v + 0x0606060606060606) & 0xf0f0f0f0f0f0f0f0) >> 4) == 0x3333333333333333;
    return value_of_eight(v);
}

}  // namespace

char* write_digits_before(char* end, u64 value) noexcept {
    do {
        *--end = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    return end;
}

u64 read_digits(const char* text, unsigned count, bool& ok) noexcept {
    u64 value = 0;
    unsigned i = 0;
    for (; i < count % 8; ++i) {
        const unsigned digit = static_cast<unsigned char>(text[i]) - unsigned{'0'};
        ok &= digit <= 9;
        value = 10 * value + digit;
    }
    for (; i < count; i += 8) value = 100000000 * value + read_eight(text + i, ok);
    return value;
}

template <>
void write_digit_word(char* out, u64 value) noexcept {
    constexpr u64 ten_to_8 = 100'000'000, ten_to_16 = ten_to_8 * ten_to_8;
    const u32 top = static_cast<u32>(value / ten_to_16);
    const u64 rest = value % ten_to_16;
    // The three digits on top as the lower bytes of four; the fourth is written over.
    const u32 hundreds = top * 41 >> 12, twos = top - 100 * hundreds, tens = twos * 103 >> 10;
    const u32 characters = hundreds + (tens << 8) + ((twos - 10 * tens) << 16) + static_cast<u32>(zeros);
    std::memcpy(out, &characters, 4);
    write_eight(out + 3, static_cast<u32>(rest / ten_to_8));
    write_eight(out + 11, static_cast<u32>(rest % ten_to_8));
}

template <>
void write_digit_word(char* out, u32 value) noexcept {
    *out = static_cast<char>('0' + value / 100'000'000);
    write_eight(out + 1, value % 100'000'000);
}

template <>
u64 read_digit_word(const char* text) noexcept {
    const auto digit = [&](unsigned i) { return static_cast<u64>(text[i] - '0'); };
    const __m128i rest = sixteen_digits(text + 3);
    const u64 top = (10 * digit(0) + digit(1)) * 10 + digit(2);
    return top * 10'000'000'000'000'000 + value_of_sixteen(eights_of(rest, rest));
}

template <>
u32 read_digit_word(const char* text) noexcept {
    return static_cast<u32>(text[0] - '0') * 100'000'000 + static_cast<u32>(value_of_eight(load_eight(text + 1)));
}

DigitRun scan_decimal_digits(const char* text, u64 from, u64 chars) noexcept {
    constexpr u64 ten_to_16 = 10'000'000'000'000'000;
    constexpr u64 ten_to_32 = kernels::residue_mul(ten_to_16, ten_to_16);
    static_assert(ten_to_32 < u64{1} << 60);
    // residue * scale + value, for scales below 2^60 and values below 2^62; not reduced to the end, but below 2^62.
    const auto append = [](u64 residue, u64 scale, u64 value) {
        const u128 p = static_cast<u128>(residue) * scale + value;
        return (static_cast<u64>(p) & kernels::residue_modulus) + static_cast<u64>(p >> 61);
    };
    u64 i = from, residue = 0;
    for (u64 upper, lower; chars - i >= 32 && read_thirty_two(text + i, upper, lower); i += 32)
        residue = append(residue, ten_to_32, append(upper, ten_to_16, lower));
    u64 value = 0, scale = 1;
    const auto take = [&] {
        residue = append(residue, scale, value);
        value = 0;
        scale = 1;
    };
    for (; i < chars && text[i] >= '0' && text[i] <= '9'; ++i) {
        value = 10 * value + static_cast<u64>(text[i] - '0');
        scale *= 10;
        if (scale == ten_to_16) take();
    }
    take();
    return {i, kernels::residue_reduce(residue)};
}

}  // namespace kvt::text
