#include "inverse/short_quotient.h"

#include <gtest/gtest.h>

#include "inverse/inverse_fixture.h"
#include "inverse/reciprocal.h"
#include "support/levels.h"
#include "support/progress_recorder.h"

#if KVNUM_HAVE_GMP
namespace kvt::inverse {
namespace {

template <class W>
class ShortQuotients : public testing::Test {
  protected:
    using Number = objects::BigFloat<W>;
    static Number number(std::vector<W>& words, i64 exp) {
        return {words.data(), words.size(), exp, true, words.data(), words.size()};
    }

    // Within the bound, and not below the true quotient unless words of a were cut.
    static void check(std::vector<W> a, std::vector<W> b, u64 p) {
        SmallFloat<W> q;
        ASSERT_EQ(short_quotient(q, number(a, 11), number(b, -7), p), 0u);
        ASSERT_LE(q.n, p + 2);
        ASSERT_NE(q.w[q.n - 1], 0u);
        Distance distance;
        distance.set(q.w, q.n, q.exp);
        distance.multiply(b.data(), b.size(), -7);
        EXPECT_TRUE(distance.close_to(a.data(), a.size(), 11, word_bits<W> * (p + 1) - 2))
            << "p " << p << " words " << a.size() << " by " << b.size();
    }
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(ShortQuotients, Widths);

TYPED_TEST(ShortQuotients, MeetTheirBoundForHardOperands) {
    using W = TypeParam;
    const auto operands = hard_operands<W>({1, 2, 3, 4, 7, 12, 40, 140, 220}, 2, 1);
    constexpr u64 longest = longest_short_quotient_words * (8 / sizeof(W)) - 1;
    for (u64 p = 1; p <= longest; p += p < 12 ? 1 : p < 44 ? 3 : 8)
        for (u64 i = p % 3; i < operands.size(); i += 3)
            this->check(operands[i], operands[(31 * i + p) % operands.size()], p);
    this->check(operands[0], operands[7], longest);
}

// b * q / b for q that fits: exactly q, whatever zero words b has below.
TYPED_TEST(ShortQuotients, ExactOnesComeOutExactly) {
    using W = TypeParam;
    test::Rng rng(2);
    for (u64 p : {1, 2, 4, 5, 9, 10, 24, 41}) {
        for (test::Pattern pattern : test::hard_patterns) {
            for (u64 round = 0; round < test::rounds(8); ++round) {
                auto b = test::words<W>(pattern, 1 + rng.below(p), rng);
                auto q = test::words<W>(test::hard_patterns[round % 6], 1 + rng.below(p), rng);
                b.back() |= 1, q.back() |= 1, q.front() |= 1;
                std::vector<W> a(b.size() + q.size());
                kernels::mulB(a.data(), b.data(), b.size(), q.data(), q.size());
                if (a.back() == 0) a.pop_back();
                b.insert(b.begin(), round % 3 * 50, W{0});
                SmallFloat<W> out;
                ASSERT_EQ(short_quotient(out, this->number(a, 0), this->number(b, 0), p), 0u);
                out = stripped(out);
                ASSERT_EQ(std::vector<W>(out.w, out.w + out.n), q) << "p " << p << " round " << round;
                EXPECT_EQ(out.exp, -static_cast<i64>(round % 3 * 50));
            }
        }
    }
}

// The text of an inexact quotient that ought to be exact must not begin with 9.99: none lies below its value.
TYPED_TEST(ShortQuotients, InexactOnesAreNotBelowTheirValue) {
    using W = TypeParam;
    test::Rng rng(3);
    mpz_t product, numerator;
    mpz_inits(product, numerator, nullptr);
    for (u64 p = 1; p < 30; ++p) {
        for (u64 round = 0; round < test::rounds(20); ++round) {
            auto a = test::words<W>(test::hard_patterns[round % 6], 1 + rng.below(p), rng);
            auto b = test::words<W>(test::hard_patterns[rng.below(6)], 1 + rng.below(2 * p), rng);
            a.back() |= 1, b.back() |= 1;
            SmallFloat<W> q;
            ASSERT_EQ(short_quotient(q, this->number(a, 300), this->number(b, 0), p), 0u);
            mpz_import(product, q.n, -1, sizeof(W), 0, 0, q.w);
            mpz_import(numerator, b.size(), -1, sizeof(W), 0, 0, b.data());
            mpz_mul(product, product, numerator);
            mpz_mul_2exp(product, product, static_cast<u64>(q.exp + 0) * word_bits<W>);
            mpz_import(numerator, a.size(), -1, sizeof(W), 0, 0, a.data());
            mpz_mul_2exp(numerator, numerator, 300 * word_bits<W>);
            ASSERT_GE(mpz_cmp(product, numerator), 0) << "p " << p << " round " << round;
        }
    }
    mpz_clears(product, numerator, nullptr);
}

// A quotient formed in one go shows the steps that lead to it, as a long one does; below ten words there are none.
TEST(ShortQuotientProgress, TagsComeInTheOrderOfTheSteps) {
    std::vector<u64> x(20, 7), a(20, 5), words(200), out(30);
    const Sizes sizes = division_sizes<u64>(20, 1);
    TestParameters memory(sizes.transform_bytes, 30 * 64);
    objects::BigFloat<u64> result{out.data(), 0, 0, true, out.data(), out.size()};
    const objects::BigFloat<u64> numerator{a.data(), a.size(), 0, true, nullptr, 0};
    const objects::BigFloat<u64> divisor{x.data(), x.size(), 0, true, nullptr, 0};
    const std::string five = "97.", ten = "193.";
    const std::string to_ten = " - 0M - " + five + " - U1M - " + five;
    test::ProgressRecorder<ProgressSink> of_reciprocal, of_division, of_short;
    reciprocal<u64>(memory.params, result, divisor, 20, {words.data(), words.size()}, &of_reciprocal.sink);
    EXPECT_EQ(of_reciprocal.text, to_ten + " - 0M - " + ten + " - U1M - " + ten);
    divide<u64>(memory.params, result, numerator, divisor, 20, {words.data(), words.size()}, &of_division.sink);
    EXPECT_EQ(of_division.text, to_ten + " - 0M - " + ten + " - 1M - " + ten + " - 2M - " + ten);
    reciprocal<u64>(memory.params, result, divisor, 9, {words.data(), words.size()}, &of_short.sink);
    EXPECT_EQ(of_short.text, "");
}

}  // namespace
}  // namespace kvt::inverse
#endif
