#include "inverse/reciprocal.h"

#include <gtest/gtest.h>

#include <bit>

#include "inverse/inverse_fixture.h"
#include "inverse/inverse_sqrt.h"
#include "inverse/power.h"
#include "kernels/schoolbook.h"
#include "support/levels.h"

#if KVNUM_HAVE_GMP
namespace kvt::inverse {
namespace {

template <class W>
class InverseOperations : public testing::Test {
  protected:
    using Number = objects::BigFloat<W>;
    static Number number(std::vector<W>& words, i64 exp, bool sign = true) {
        return {words.data(), words.size(), exp, sign, words.data(), words.size()};
    }

    // Precisions around the switch of engines and of transforms.
    static std::vector<u64> precisions() {
        std::vector<u64> out;
        for (u64 p = 0; p <= 60; ++p) out.push_back(p);
        for (u64 p : {63, 64, 71, 72, 73, 100, 127, 128, 150, 199, 300, 511, 640, 1000, 1500, 3000}) out.push_back(p);
        for (u64 p : {221, 222, 223, 224, 451, 452, 453, 454}) out.push_back(p);  // ends of plain products
        return out;
    }

    static constexpr u64 accuracy_bits(u64 p) { return p == 0 ? 51 : word_bits<W> * p + word_bits<W> - 2; }
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(InverseOperations, Widths);

TYPED_TEST(InverseOperations, ReciprocalMeetsItsBoundWithinTheQueriedSpace) {
    using W = TypeParam;
    const auto operands = hard_operands<W>({1, 2, 3, 8, 21, 60, 200}, 4, 1);
    for (u64 p : this->precisions()) {
        const Sizes sizes = reciprocal_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (p + 9) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        for (u64 i = p % 7; i < operands.size(); i += p < 20 ? 1 : p < 200 ? 7 : 41) {
            auto x = operands[i];
            TestNumber<W> out(sizes.out_words);
            reciprocal<W>(memory.params, out.value, this->number(x, -5, i % 2 == 0), p, {scratch, scratch.size()},
                          nullptr);
            const auto& r = out.value;
            ASSERT_NE(r.L, 0u);
            EXPECT_NE(r.T[r.L - 1], 0u);
            EXPECT_EQ(r.sign, i % 2 == 0);
            Distance distance;
            distance.set(r.T, r.L, r.exp);
            distance.multiply(x.data(), x.size(), -5);
            ASSERT_TRUE(distance.template close_to_one<W>(this->accuracy_bits(p))) << "p " << p << " operand " << i;
        }
    }
}

// A long transform may need less scratch than the shorter one of the step before.
TYPED_TEST(InverseOperations, QueriedSpaceHoldsTheShorterStepsToo) {
    using W = TypeParam;
    for (const auto& [p, tasks] : {std::pair<u64, u64>{98'296, 1}, {98'296, 2}, {32'760, 16}, {49'152, 16}}) {
        const u64 words = p * 8 / sizeof(W);
        const Sizes sizes = reciprocal_sizes<W>(words, tasks);
        TestParameters memory(sizes.transform_bytes, (words + 9) * word_bits<W>, tasks);
        test::FencedWords<W> scratch(sizes.scratch_words);
        std::vector<W> x{3};
        TestNumber<W> out(sizes.out_words);
        reciprocal<W>(memory.params, out.value, this->number(x, 0), words, {scratch, scratch.size()}, nullptr);
        const auto& r = out.value;
        for (u64 i = r.L - words; i < r.L; ++i) ASSERT_EQ(r.T[i], static_cast<W>(~W{0} / 3)) << i;
    }
}

TYPED_TEST(InverseOperations, ReciprocalsOfPowersOfTwoAreExactAtEveryPrecision) {
    using W = TypeParam;
    for (u64 p : this->precisions()) {
        const Sizes sizes = reciprocal_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (p + 9) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        for (unsigned bit : {0u, 1u, 17u, static_cast<unsigned>(word_bits<W> - 1)}) {
            for (u64 zeros : {0, 3, 40}) {
                std::vector<W> x(zeros + 1, 0);
                x.back() = static_cast<W>(W{1} << bit);
                TestNumber<W> out(sizes.out_words);
                reciprocal<W>(memory.params, out.value, this->number(x, 7, false), p, {scratch, scratch.size()},
                              nullptr);
                objects::strip_tzs_all(out.value);
                ASSERT_EQ(out.value.L, 1u) << "p " << p << " bit " << bit;
                EXPECT_EQ(out.value.T[0], bit == 0 ? W{1} : static_cast<W>(W{1} << (word_bits<W> - bit)));
                EXPECT_EQ(out.value.exp, -7 - static_cast<i64>(zeros) - (bit != 0));
                EXPECT_FALSE(out.value.sign);
            }
        }
    }
}

TYPED_TEST(InverseOperations, DivisionMeetsItsBoundWithinTheQueriedSpace) {
    using W = TypeParam;
    const auto operands = hard_operands<W>({1, 2, 3, 8, 21, 60, 200}, 2, 2);
    for (u64 p : this->precisions()) {
        const Sizes sizes = division_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (p + 9) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        for (u64 i = p % 5; i < operands.size(); i += p < 20 ? 2 : p < 200 ? 7 : 31) {
            auto a = operands[i], b = operands[(i * 17 + p) % operands.size()];
            TestNumber<W> out(sizes.out_words);
            divide<W>(memory.params, out.value, this->number(a, 4, false), this->number(b, -9), p,
                      {scratch, scratch.size()}, nullptr);
            const auto& q = out.value;
            EXPECT_FALSE(q.sign);
            EXPECT_NE(q.T[q.L - 1], 0u);
            Distance distance;
            distance.set(q.T, q.L, q.exp);
            distance.multiply(b.data(), b.size(), -9);
            if (p == 0) continue;
            const u64 bits = word_bits<W> * p - 1;
            ASSERT_TRUE(distance.close_to(a.data(), a.size(), 4, bits)) << "p " << p << " operands " << i;
        }
    }
}

// Where the methods change without the products in radix 2^52.
TYPED_TEST(InverseOperations, MeetTheirBoundsAtEveryLevel) {
    using W = TypeParam;
    constexpr u64 per_word = 8 / sizeof(W);
    for (const kernels::Levels levels : test::all_levels()) {
        const test::LevelScope scope(levels);
        test::Rng rng(6);
        for (u64 middle : {10 / per_word, u64{21}, u64{24}, u64{36}, u64{42}, u64{64}, u64{87}, u64{222}, u64{592}}) {
            for (u64 p = middle * per_word - 2; p <= middle * per_word + 1; ++p) {
                const Sizes sizes = division_sizes<W>(p, 1);
                TestParameters memory(sizes.transform_bytes, (p + 9) * word_bits<W>);
                test::FencedWords<W> scratch(sizes.scratch_words);
                for (test::Pattern pattern : test::hard_patterns) {
                    auto a = test::words<W>(pattern, 1 + rng.below(2 * p), rng);
                    auto b = test::words<W>(test::hard_patterns[rng.below(6)], p + 3 - rng.below(6), rng);
                    a.back() |= 1, b.back() |= 1;
                    TestNumber<W> q(p + 2), r(p + 3), root(p + 4);
                    Distance distance;
                    divide<W>(memory.params, q.value, this->number(a, 0), this->number(b, 0), p,
                              {scratch, scratch.size()}, nullptr);
                    distance.set(q.value.T, q.value.L, q.value.exp);
                    distance.multiply(b.data(), b.size(), 0);
                    EXPECT_TRUE(distance.close_to(a.data(), a.size(), 0, word_bits<W> * p - 1)) << "a / b, p " << p;
                    reciprocal<W>(memory.params, r.value, this->number(b, 0), p, {scratch, scratch.size()}, nullptr);
                    distance.set(r.value.T, r.value.L, r.value.exp);
                    distance.multiply(b.data(), b.size(), 0);
                    EXPECT_TRUE(distance.template close_to_one<W>(this->accuracy_bits(p))) << "1 / b, p " << p;
                    const W x = static_cast<W>(rng.next() >> rng.below(word_bits<W>)) | 2;
                    inverse_sqrt<W>(memory.params, root.value, x, p, {scratch, scratch.size()}, nullptr);
                    distance.set(root.value.T, root.value.L, root.value.exp);
                    distance.multiply(root.value.T, root.value.L, root.value.exp);
                    distance.multiply(&x, 1, 0);
                    EXPECT_TRUE(distance.template close_to_one<W>(this->accuracy_bits(p) - 1)) << "root, p " << p;
                }
            }
        }
    }
}

// Numerators that end at the guard position, and quotients that are exact.
TYPED_TEST(InverseOperations, ExactQuotientsAndShortNumerators) {
    using W = TypeParam;
    test::Rng rng(3);
    for (u64 p : {10, 11, 20, 33, 40}) {
        const u64 h = (p + 1) / 2;
        const Sizes sizes = division_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (p + 9) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        for (u64 round = 0; round < test::rounds(60); ++round) {
            auto b = test::words<W>(test::hard_patterns[round % 6], 1 + rng.below(p), rng);
            if (b.back() == 0) b.back() = 3;
            auto q =
                test::words<W>(round % 3 ? test::Pattern::random : test::Pattern::sparse, 1 + rng.below(h - 2), rng);
            if (q.back() == 0) q.back() = 1;
            std::vector<W> a(b.size() + q.size());
            kernels::mulB(a.data(), b.data(), b.size(), q.data(), q.size());
            while (a.back() == 0) a.pop_back();
            if (round % 2) a.resize(h - 2, 1);  // a numerator of h - 2 words
            a.back() |= 1;
            TestNumber<W> out(sizes.out_words);
            divide<W>(memory.params, out.value, this->number(a, 0), this->number(b, 0), p, {scratch, scratch.size()},
                      nullptr);
            Distance distance;
            distance.set(out.value.T, out.value.L, out.value.exp);
            distance.multiply(b.data(), b.size(), 0);
            ASSERT_TRUE(distance.close_to(a.data(), a.size(), 0, word_bits<W> * p - 1)) << "p " << p;
        }
    }
}

TYPED_TEST(InverseOperations, InverseSquareRootMeetsItsBoundWithinTheQueriedSpace) {
    using W = TypeParam;
    test::Rng rng(4);
    for (u64 p : this->precisions()) {
        const Sizes sizes = inverse_sqrt_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (p + 8) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        std::vector<W> xs{1, 2, 3, 4, 10, static_cast<W>(~W{0}), static_cast<W>(W{1} << (word_bits<W> - 2))};
        for (int i = 0; i < 4; ++i) xs.push_back(static_cast<W>(rng.next() | 1));
        for (W x : xs) {
            TestNumber<W> out(sizes.out_words);
            inverse_sqrt<W>(memory.params, out.value, x, p, {scratch, scratch.size()}, nullptr);
            Distance distance;
            distance.set(out.value.T, out.value.L, out.value.exp);
            distance.multiply(out.value.T, out.value.L, out.value.exp);
            distance.multiply(&x, 1, 0);
            const u64 bits = p == 0   ? 50
                             : p == 1 ? std::min<u64>(100, 2 * word_bits<W> - 3)
                                      : this->accuracy_bits(p) - 1;
            ASSERT_TRUE(distance.template close_to_one<W>(bits)) << "p " << p << " x " << +x;
        }
    }
}

TYPED_TEST(InverseOperations, PowersAreExactWhileTheyFitAndCloseBeyond) {
    using W = TypeParam;
    for (u64 p : {1, 5, 12, 40, 80}) {
        const Sizes sizes = power_signed_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (2 * p + 6) * word_bits<W>);
        test::FencedWords<W> scratch(sizes.scratch_words);
        mpz_t exact;
        mpz_init(exact);
        for (W x : {W{0}, W{1}, W{2}, W{3}, W{10}, static_cast<W>(~W{0})}) {
            for (u64 n : {0, 1, 2, 3, 7, 64, 100, 333}) {
                TestNumber<W> out(sizes.out_words);
                power<W>(memory.params, out.value, x, n, p, nullptr);
                mpz_set_ui(exact, x);
                mpz_pow_ui(exact, exact, n);
                std::vector<W> words(mpz_size(exact) * 8 / sizeof(W) + 1);
                size_t count = 0;
                mpz_export(words.data(), &count, -1, sizeof(W), 0, 0, exact);
                if (count == 0) {
                    EXPECT_EQ(out.value.L, 0u);
                    continue;
                }
                Distance distance;
                distance.set(out.value.T, out.value.L, out.value.exp);
                const bool fits = count <= p + 2;
                EXPECT_TRUE(distance.close_to(words.data(), count, 0,
                                              fits ? word_bits<W> * (p + 3) : word_bits<W> * (p + 1) - 10))
                    << "p " << p << " x " << +x << " n " << n;
                if (n == 0) continue;
                power_signed<W>(memory.params, out.value, x, -static_cast<i64>(n), p, {scratch, scratch.size()},
                                nullptr);
                distance.set(out.value.T, out.value.L, out.value.exp);
                distance.multiply(words.data(), count, 0);
                EXPECT_TRUE(distance.template close_to_one<W>(word_bits<W> * p))
                    << "p " << p << " x " << +x << " n -" << n;
            }
        }
        mpz_clear(exact);
    }
}

// Short powers are formed of bare words: the same words as by the numbers' own squares and products, cut ones included.
TYPED_TEST(InverseOperations, ShortPowersAreThoseOfTheNumbersOwnProducts) {
    using W = TypeParam;
    test::Rng rng(5);
    for (u64 p : {0, 1, 2, 7, 8, 9, 37, 38, 39, 77, 78, 79}) {
        const Sizes sizes = power_sizes<W>(p, 1);
        TestParameters memory(sizes.transform_bytes, (2 * p + 6) * word_bits<W>);
        std::vector<W> bases{2, 3, 10, 16, W{1} << (word_bits<W> / 2), static_cast<W>(~W{0})};
        for (int i = 0; i < 4; ++i) bases.push_back(static_cast<W>(rng.next() >> rng.below(word_bits<W>)) | 2);
        for (W x : bases) {
            for (u64 n : {u64{2}, u64{3}, 40 * p + 1, 64 * p + 63, 200 * p + 5, rng.below(u64{1} << 40) + 2}) {
                TestNumber<W> out(sizes.out_words), expected(sizes.out_words);
                power<W>(memory.params, out.value, x, n, p, nullptr);
                objects::BigFloat<W>& y = expected.value;
                y.T[0] = x;
                y.L = 1;
                for (u64 bit = std::bit_floor(n) >> 1; bit != 0; bit >>= 1) {
                    objects::set_sqr_ip(y, memory.params, p);
                    objects::strip_tzs_all(y);
                    if ((n & bit) != 0) objects::mul_uW(y, x);
                }
                ASSERT_EQ(std::vector<W>(out.value.T, out.value.T + out.value.L), std::vector<W>(y.T, y.T + y.L))
                    << "p " << p << " x " << +x << " n " << n;
                ASSERT_EQ(out.value.exp, y.exp);
            }
        }
    }
}

}  // namespace
}  // namespace kvt::inverse
#endif
