#include <immintrin.h>

#include "text/digit_lanes.h"

namespace kvt::text {
namespace {

using u64 = std::uint64_t;
using V = __m512i;

// Fifteen digits are less than a limb of 52 bits.
constexpr unsigned group_digits = 15, limb_bits = 52;
constexpr unsigned most_groups = (most_lane_digits + group_digits - 1) / group_digits;

inline V set(u64 x) { return _mm512_set1_epi64(static_cast<long long>(x)); }

inline __m128i count(unsigned bits) { return _mm_cvtsi32_si128(static_cast<int>(bits)); }

// The last of sixteen characters that are group k's of so many digits, counted from the end.
inline __mmask16 group_mask(unsigned digits, unsigned k) {
    const unsigned after = k * group_digits, left = digits > after ? digits - after : 0;
    return static_cast<__mmask16>(0xffffu << (16 - (left < group_digits ? left : group_digits)));
}

// Sixteen characters of every other lane, of which the last are group k's, counted from the end; zero before them.
inline V load_groups(const DigitLane* lanes, const __mmask16* masks, unsigned k) {
    const auto load = [&](unsigned l) {
        return _mm_maskz_loadu_epi8(masks[l], lanes[l].end - k * group_digits - 16);
    };
    V x = _mm512_castsi128_si512(load(0));
    x = _mm512_inserti32x4(x, load(2), 1);
    x = _mm512_inserti32x4(x, load(4), 2);
    return _mm512_inserti32x4(x, load(6), 3);
}

// Group k of every lane: by pairs, fours and eights of digits.
inline V group_values(const DigitLane* lanes, const __mmask16* masks, unsigned k) {
    const V digit = _mm512_set1_epi8(15), tens = _mm512_set1_epi16(1 << 8 | 10);
    const V hundreds = _mm512_set1_epi32(1 << 16 | 100), ten_thousands = _mm512_set1_epi32(1 << 16 | 10000);
    const V even = _mm512_and_si512(load_groups(lanes, masks, k), digit),
            odd = _mm512_and_si512(load_groups(lanes + 1, masks + 1, k), digit);
    const V even_fours = _mm512_madd_epi16(_mm512_maddubs_epi16(even, tens), hundreds);
    const V odd_fours = _mm512_madd_epi16(_mm512_maddubs_epi16(odd, tens), hundreds);
    const V eights = _mm512_madd_epi16(_mm512_packus_epi32(even_fours, odd_fours), ten_thousands);
    return _mm512_add_epi64(_mm512_mul_epu32(eights, set(100'000'000)), _mm512_srli_epi64(eights, 32));
}

// Group k of all lanes, which have at least so many digits.
inline V group(const DigitLane* lanes, unsigned fewest, unsigned k) {
    constexpr __mmask16 whole = 0xfffe;
    static constexpr __mmask16 all_whole[digit_lanes] = {whole, whole, whole, whole, whole, whole, whole, whole};
    if ((k + 1) * group_digits <= fewest) return group_values(lanes, all_whole, k);
    __mmask16 masks[digit_lanes];
    for (unsigned l = 0; l < digit_lanes; ++l) masks[l] = group_mask(lanes[l].digits, k);
    return group_values(lanes, masks, k);
}

void read(const DigitLane* lanes, u64* words) noexcept {
    unsigned digits = 0, fewest = most_lane_digits;
    for (unsigned l = 0; l < digit_lanes; ++l) {
        digits = lanes[l].digits > digits ? lanes[l].digits : digits;
        fewest = lanes[l].digits < fewest ? lanes[l].digits : fewest;
    }
    constexpr u64 base = 1'000'000'000'000'000, limb_mask = (u64{1} << limb_bits) - 1;
    constexpr unsigned __int128 square = static_cast<unsigned __int128>(base) * base;
    const V b = set(base), b0 = set(static_cast<u64>(square) & limb_mask),
            b1 = set(static_cast<u64>(square >> limb_bits));
    const V mask = set(limb_mask), zero = _mm512_setzero_si512();

    // Two groups a row: the limbs times base^2, plus the groups. No product waits for a carry.
    V limb[most_groups + 4];
    unsigned n = 0, k = (digits + group_digits - 1) / group_digits;
    if (k % 2 != 0) limb[n++] = group(lanes, fewest, --k);
    for (; k > 0; k -= 2) {
        const V upper = group(lanes, fewest, k - 1), lower = group(lanes, fewest, k - 2);
        V carry = _mm512_madd52lo_epu64(lower, upper, b);  // below 2^55 throughout
        V next = _mm512_madd52hi_epu64(zero, upper, b);
        for (unsigned i = 0; i < n; ++i) {
            const V x = limb[i], low = _mm512_add_epi64(_mm512_madd52lo_epu64(zero, x, b0), carry);
            const V above = _mm512_madd52lo_epu64(_mm512_madd52hi_epu64(next, x, b0), x, b1);
            limb[i] = _mm512_and_si512(low, mask);
            carry = _mm512_add_epi64(above, _mm512_srli_epi64(low, limb_bits));
            next = _mm512_madd52hi_epu64(zero, x, b1);
        }
        limb[n++] = _mm512_and_si512(carry, mask);
        limb[n++] = _mm512_add_epi64(next, _mm512_srli_epi64(carry, limb_bits));
    }
    for (unsigned i = 0; i < 3; ++i) limb[n + i] = zero;
    // A word has bits of two or three limbs.
    const unsigned n_words = lane_words(digits);
    for (unsigned i = 0; i < n_words; ++i) {
        const unsigned at = 64 * i / limb_bits, shift = 64 * i % limb_bits;
        V word = zero;
        if (at < n) {
            const V upper = _mm512_or_si512(_mm512_sll_epi64(limb[at + 1], count(limb_bits - shift)),
                                            _mm512_sll_epi64(limb[at + 2], count(2 * limb_bits - shift)));
            word = _mm512_or_si512(_mm512_srl_epi64(limb[at], count(shift)), upper);
        }
        _mm512_storeu_si512(words + digit_lanes * i, word);
    }
}

}  // namespace

constinit const DigitLaneKernel digit_lanes_avx512ifma{read};

}  // namespace kvt::text
