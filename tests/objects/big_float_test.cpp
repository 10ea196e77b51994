#include "objects/big_float.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/big_float_parts.h"
#include "objects/owned.h"
#include "support/console_capture.h"
#include "support/operands.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

// The exact value of a double.
Dyadic dyadic(double d) {
    int exponent;
    const auto significand = static_cast<i64>(std::ldexp(std::frexp(d, &exponent), 53));
    const u64 magnitude = static_cast<u64>(significand < 0 ? -significand : significand);
    return Dyadic::of(&magnitude, 1, 0, significand >= 0).times_power_of_two(exponent - 53);
}

template <class W>
class BigFloatTest : public testing::Test {
  protected:
    static constexpr i64 bits = word_bits<W>;

    OwnedBigFloat<W> random(u64 n, u64 capacity = 0) {
        const Pattern pattern = hard_patterns[rng_.below(std::size(hard_patterns))];
        std::vector<W> content = words<W>(pattern, n, rng_);
        return OwnedBigFloat<W>(content, static_cast<i64>(rng_.below(24)) - 12, rng_.below(2) != 0, capacity);
    }
    // One unit of the lowest word.
    static Dyadic unit(const BigFloat<W>& x) {
        const u64 one = 1;
        return Dyadic::of(&one, 1).times_power_of_two(x.exp * bits);
    }
    Rng rng_{53};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(BigFloatTest, Widths);

TYPED_TEST(BigFloatTest, EveryPowerOfTwoThatADoubleHoldsIsSetExactly) {
    using W = TypeParam;
    for (int k = -1074; k <= 1023; ++k) {
        for (double d : {std::ldexp(1.0, k), std::ldexp(-1.75, k), std::nextafter(std::ldexp(1.0, k), 0.0)}) {
            if (d == 0 || std::isinf(d)) continue;
            OwnedBigFloat<W> x(8 / sizeof(W) + 1);
            set_double(*x, d, 3);
            ASSERT_EQ(x.exact(), dyadic(d).times_power_of_two(3 * this->bits)) << d;
            ASSERT_TRUE(normalised(*x));
            i64 exp;
            const double back = to_double(*x, exp);
            ASSERT_EQ(exp, top_of(*x));
            ASSERT_EQ(dyadic(back).times_power_of_two((exp - 3) * this->bits), dyadic(d));
        }
    }
}

TYPED_TEST(BigFloatTest, DoublesTakeTheWordsTheirShiftNeeds) {
    using W = TypeParam;
    OwnedBigFloat<W> x(3);
    set_double(*x, 1.0, 0);
    const std::vector<W> one = sizeof(W) == 8 ? std::vector<W>{0, 1} : std::vector<W>{0, 0, 1};
    EXPECT_EQ(std::vector<W>(x->T, x->T + x->L), one);
    EXPECT_EQ(x->exp, sizeof(W) == 8 ? -1 : -2);
    set_double(*x, 0.5, 0);
    EXPECT_EQ(x->T[x->L - 1], W{1} << (this->bits - 1));
    EXPECT_EQ(top_of(*x), 0);
    set_double(*x, -0.0, 5);
    EXPECT_EQ(x->L, 0u);
    EXPECT_TRUE(x->sign);

    ConsoleCapture console(set_console_sink);
    OwnedBigFloat<W> small(one.size() - 1);
    set_double(*small, 0.5, 0);  // no carry word: fits
    const Dyadic before = small.exact();
    try {
        set_double(*small, 1.0, 0);
        FAIL();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "BigFloat::operator*=()");
        EXPECT_EQ(error.required_size, one.size());
    }
    for (double bad : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        try {
            set_double(*small, bad, 0);
            FAIL();
        } catch (const UnsupportedValueException& error) {
            EXPECT_STREQ(error.what(), "Value is unsupported.");
        }
    }
    EXPECT_EQ(small.exact(), before);
}

TYPED_TEST(BigFloatTest, ToDoubleIsNearTheValue) {
    using W = TypeParam;
    OwnedBigFloat<W> zero(1);
    zero->exp = 7;
    i64 exp;
    EXPECT_EQ(to_double(*zero, exp), 0.0);
    EXPECT_EQ(exp, 7);
    for (u64 round = 0; round < rounds(500); ++round) {
        auto x = this->random(this->rng_.between(1, 6));
        if (x->L == 0) continue;
        const double d = to_double(*x, exp);
        EXPECT_EQ(std::signbit(d), !x->sign);
        EXPECT_EQ(exp, top_of(*x));
        const Dyadic error = (dyadic(d).times_power_of_two(exp * this->bits) - x.exact()).absolute();
        EXPECT_LE(compare(error.times_power_of_two(52), x.exact().absolute()), 0);
    }
}

TYPED_TEST(BigFloatTest, KeepsTheTopWordsOfACopy) {
    using W = TypeParam;
    const OwnedBigFloat<W> x({1, 2, 3, 4, 5}, -2, false);
    OwnedBigFloat<W> y(3);
    set_BigFloat(*y, *x, 1);
    EXPECT_EQ(std::vector<W>(y->T, y->T + y->L), (std::vector<W>{3, 4, 5}));
    EXPECT_EQ(y->exp, 0);
    EXPECT_FALSE(y->sign);
    OwnedBigFloat<W> all(5);
    set_BigFloat(*all, *x, ~u64{0});
    EXPECT_EQ(all.exact(), x.exact());
}

TYPED_TEST(BigFloatTest, RangesAndStripping) {
    using W = TypeParam;
    OwnedBigFloat<W> x({0, 0, 7, 8}, -1, false);
    std::vector<W> out(8, 9);
    get_range(*x, out.data(), -3, 8);
    EXPECT_EQ(out, (std::vector<W>{0, 0, 0, 0, 7, 8, 0, 0}));
    get_range(*x, out.data(), std::numeric_limits<i64>::min(), 2);
    EXPECT_EQ(out[0] | out[1], 0u);
    get_range(*x, out.data(), std::numeric_limits<i64>::max() - 1, 1);
    EXPECT_EQ(out[0], 0u);
    get_range(*x, out.data(), 2, 1);
    EXPECT_EQ(out[0], 8u);
    const Dyadic before = x.exact();
    strip_tzs_all(*x);
    EXPECT_EQ(x.exact(), before);
    EXPECT_EQ(x->L, 2u);
    EXPECT_EQ(x->exp, 1);
    EXPECT_EQ(x->T, x->buffer + 2);
}

TYPED_TEST(BigFloatTest, ComparesAsNumbersDo) {
    for (u64 round = 0; round < rounds(1000); ++round) {
        auto A = this->random(this->rng_.below(4)), B = this->random(this->rng_.below(4));
        if (round % 2 == 0 && A->L != 0 && B->L != 0) B->exp = top_of(*A) - static_cast<i64>(B->L);
        EXPECT_EQ(cmp(*A, *B), compare(A.exact(), B.exact()));
        EXPECT_EQ(cmp(*A, *A), 0);
    }
    const OwnedBigFloat<TypeParam> shorter({5}, 0, false), longer({0, 1, 5}, -2, false), padded({0, 5}, -1, false);
    EXPECT_EQ(cmp(*shorter, *longer), 1);
    EXPECT_EQ(cmp(*longer, *shorter), -1);
    EXPECT_EQ(cmp(*shorter, *padded), 0);
}

TYPED_TEST(BigFloatTest, ScalesByPowersOfTwoAndWords) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(1000); ++round) {
        const u64 n = this->rng_.below(8);
        auto x = this->random(n, n + 1);
        const Dyadic before = x.exact();
        const i64 k = static_cast<i64>(this->rng_.below(400)) - 200;
        mp2(*x, k);
        EXPECT_EQ(x.exact(), before.times_power_of_two(k));
        auto y = this->random(n, n + 1);
        const Dyadic second = y.exact();
        const W m = static_cast<W>(round % 5 == 0 ? round % 3 : this->rng_.next());
        const Dyadic want = second * Dyadic::of(&m, 1);
        OwnedBigFloat<W> out(y->L + 1);
        set_mul_uW(*out, *y, m);
        EXPECT_EQ(out.exact(), want);
        mul_uW(*y, m);
        EXPECT_EQ(y.exact(), want);
        EXPECT_TRUE(normalised(*y));
    }
    OwnedBigFloat<W> one({1}, 0, true, 2);
    mp2(*one, -1);
    EXPECT_EQ(one->exp, -1);
    EXPECT_EQ(one->T[0], W{1} << (this->bits - 1));
}

// The operands are cut below the lowest kept word, then added or subtracted.
TYPED_TEST(BigFloatTest, SumsAreExactDownToTheWordsTheyKeep) {
    for (u64 round = 0; round < rounds(5000); ++round) {
        auto A = this->random(this->rng_.below(12)), B = this->random(this->rng_.below(12));
        if (round % 16 == 0) B->L = A->L, B->T = A->T, B->exp = A->exp, B->sign = !A->sign;
        const u64 p = this->rng_.below(4) == 0 ? ~u64{0} : this->rng_.below(14);
        const bool subtract = round % 2 != 0;
        const Dyadic exact = subtract ? A.exact() - B.exact() : A.exact() + B.exact();
        OwnedBigFloat<TypeParam> out(40);
        if (subtract)
            set_sub(*out, *A, *B, p);
        else
            set_add(*out, *A, *B, p);
        ASSERT_TRUE(normalised(*out));
        if (p == ~u64{0}) {
            ASSERT_EQ(out.exact(), exact);
            continue;
        }
        ASSERT_LE(out->L, p + 2);
        const Dyadic error = out.exact().absolute() - exact.absolute();
        const bool added = (A->sign == B->sign) != subtract || A->L == 0 || B->L == 0;
        if (added) {
            ASSERT_LE(compare(error, {}), 0);
        }
        // Each operand that reaches below the kept words loses less than one unit.
        const Dyadic units = this->unit(*out).times_power_of_two(A->exp < out->exp && B->exp < out->exp && added);
        if (out->L != 0) {
            ASSERT_LE(compare(error.absolute(), units), added ? -1 : 0);
        }
    }
}

TYPED_TEST(BigFloatTest, SumsAtTheEdgesOfTheKeptWindow) {
    using W = TypeParam;
    for (i64 p = 0; p < 6; ++p) {
        const OwnedBigFloat<W> one({1}, 0, true), tiny({1}, -(p + 5), true);
        OwnedBigFloat<W> out(static_cast<u64>(p) + 3);
        set_add(*out, *one, *tiny, static_cast<u64>(p));
        EXPECT_EQ(cmp(*out, *one), 0);
        EXPECT_LE(out->L, static_cast<u64>(p) + 1);
        set_sub(*out, *one, *one, static_cast<u64>(p));
        EXPECT_EQ(out->L, 0u);
        EXPECT_EQ(out->exp, 0);
        EXPECT_TRUE(out->sign);
        const OwnedBigFloat<W> zero(0);
        set_sub(*out, *zero, *one, static_cast<u64>(p));
        EXPECT_EQ(out.exact(), -one.exact());
    }
}

TYPED_TEST(BigFloatTest, TheResultOfASumMayBeTheOperandThatReachesLower) {
    for (u64 round = 0; round < rounds(1500); ++round) {
        const u64 n = this->rng_.between(1, 12), m = this->rng_.between(1, 12), p = this->rng_.below(20);
        auto A = this->random(n, 40), B = this->random(m, 40);
        if (A->L == 0 || B->L == 0) continue;
        OwnedBigFloat<TypeParam> want(40), twice(40);
        using Number = BigFloat<TypeParam>;
        void (*operation)(Number&, const Number&, const Number&, u64) = set_add;
        if (round % 2 != 0) operation = set_sub;
        operation(*want, *A, *B, p);
        set_add(*twice, *A, *A, p);
        auto& lower = A->exp <= B->exp ? A : B;
        if (round % 3 == 0) {  // the operand may lie higher in the buffer than its start
            std::copy_backward(lower->T, lower->T + lower->L, lower->T + lower->L + 5);
            lower->T += 5;
        }
        if (round % 5 == 0) {
            const bool A_untouched = &lower == &A;
            if (!A_untouched) continue;
            set_add(*A, *A, *A, p);
            ASSERT_EQ(A.exact(), twice.exact());
            continue;
        }
        operation(*lower, *A, *B, p);
        ASSERT_EQ(lower.exact(), want.exact());
        ASSERT_EQ(lower->L, want->L);
    }
}

TYPED_TEST(BigFloatTest, DifferencesModuloAWindow) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(2000); ++round) {
        auto A = this->random(this->rng_.below(10)), B = this->random(this->rng_.below(10));
        // Nothing below the window, so the result is exact modulo its size.
        const i64 bottom = std::min(A->exp, B->exp) - static_cast<i64>(this->rng_.below(2));
        const u64 n = this->rng_.between(1, 30);
        OwnedBigFloat<W> D(n);
        set_rsub(*D, *A, *B, bottom, n);
        ASSERT_EQ(D->L, n);
        ASSERT_EQ(D->exp, bottom);
        const u64 one = 1;
        const Dyadic size = Dyadic::of(&one, 1).times_power_of_two((bottom + static_cast<i64>(n)) * this->bits);
        Dyadic want = A.exact() - B.exact();
        Dyadic quotient = want.truncated_to(size.exponent);
        want = want - quotient;
        if (want.negative) want = want + size;
        ASSERT_EQ(D.exact(), want);
    }
}

TYPED_TEST(BigFloatTest, PrintsItsExponent) {
    ConsoleCapture console(set_console_sink);
    print(*OwnedBigFloat<TypeParam>({1, 2}, -3, false, 4));
    EXPECT_EQ(console.take(),
              "sign            0\nL               2\nexp             -3\nbuffer_size     4\n{1,2}\n\n");
}

TYPED_TEST(BigFloatTest, OneUnitMoreMayAddAWord) {
    using W = TypeParam;
    const W ones = static_cast<W>(~W{0});
    OwnedBigFloat<W> x({ones, ones}, -1, true, 3);
    add_one_unit(*x);
    EXPECT_EQ(std::vector<W>(x->T, x->T + x->L), (std::vector<W>{0, 0, 1}));
    OwnedBigFloat<W> y({ones, 4}, -1, true, 2);
    add_one_unit(*y);
    EXPECT_EQ(std::vector<W>(y->T, y->T + y->L), (std::vector<W>{0, 5}));
    ConsoleCapture console(set_console_sink);
    OwnedBigFloat<W> full({ones}, 0, true, 1);
    EXPECT_THROW(add_one_unit(*full), BufferTooSmallException);
    EXPECT_EQ(full->T[0], ones);
}

}  // namespace
}  // namespace kvt::objects
