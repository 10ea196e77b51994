// Eight runs of digits at a time, against a digit after the other.

#include "text/digit_lanes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kernels/cpu.h"
#include "support/fenced.h"
#include "support/operands.h"

namespace kvt::text {
namespace {

using namespace kvt::test;

std::vector<u64> value_of(const char* digits, unsigned count, unsigned n_words) {
    std::vector<u64> words(n_words);
    for (unsigned i = 0; i < count; ++i) {
        u64 carry = static_cast<u64>(digits[i] - '0');
        for (u64& word : words) {
            const u128 product = u128{word} * 10 + carry;
            word = static_cast<u64>(product);
            carry = static_cast<u64>(product >> 64);
        }
        EXPECT_EQ(carry, 0u);
    }
    return words;
}

TEST(DigitLanes, AreTheNumbersOfTheirDigits) {
    if (kernels::active_levels().vector != kernels::VectorLevel::avx512ifma) GTEST_SKIP() << "no AVX-512 IFMA";
    Rng rng(31);
    for (u64 round = 0; round < rounds(200); ++round) {
        // All of a length, of lengths about groups of fifteen, of any length, and some empty; one behind the other.
        DigitLane lanes[digit_lanes];
        unsigned total = 0, longest = 0;
        for (unsigned l = 0; l < digit_lanes; ++l) {
            const unsigned any = static_cast<unsigned>(rng.below(most_lane_digits + 1));
            const unsigned digits = round == 0          ? most_lane_digits
                                    : round % 4 == 0    ? static_cast<unsigned>(15 * (round % 60) + rng.below(2))
                                    : round % 4 == 1    ? static_cast<unsigned>(19 * (round % 48) + rng.below(2) * 19)
                                    : rng.below(5) == 0 ? 0
                                                        : any;
            lanes[l].digits = std::min(digits, most_lane_digits);
            total += lanes[l].digits;
            longest = std::max(longest, lanes[l].digits);
        }
        FencedBytes text(total);
        for (unsigned i = 0; i < total; ++i)
            text.data()[i] = round % 3 == 0 ? '9' : static_cast<unsigned char>('0' + rng.below(10));
        const char* at = reinterpret_cast<const char*>(text.data());
        for (DigitLane& lane : lanes) lane.end = at += lane.digits;

        const unsigned n = lane_words(longest);
        FencedWords<u64> words(digit_lanes * n);
        digit_lanes_avx512ifma.read(lanes, words.data());
        for (unsigned l = 0; l < digit_lanes; ++l) {
            const std::vector<u64> want = value_of(lanes[l].end - lanes[l].digits, lanes[l].digits, n);
            for (unsigned i = 0; i < n; ++i)
                ASSERT_EQ(words[digit_lanes * i + l], want[i])
                    << "lane " << l << " of " << lanes[l].digits << " digits";
        }
    }
}

}  // namespace
}  // namespace kvt::text
