#include "objects/big_int.h"

#include <gtest/gtest.h>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "objects/dyadic.h"
#include "objects/owned.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/operands.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

template <class W>
class BigIntTest : public testing::Test {
  protected:
    using Owned = OwnedBigInt<W>;

    Owned random(u64 n, u64 extra = 0) {
        const Pattern pattern = hard_patterns[rng_.below(std::size(hard_patterns))];
        return Owned(words<W>(pattern, n, rng_), rng_.below(2) != 0, n + extra);
    }
    Rng rng_{20261};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(BigIntTest, Widths);

TYPED_TEST(BigIntTest, SetFromAMachineWord) {
    using W = TypeParam;
    OwnedBigInt<W> x(2);
    x->sign = false;
    set_uL(*x, 0);
    EXPECT_EQ(x->L, 0u);
    EXPECT_FALSE(x->sign);  // zero changes the length alone
    EXPECT_EQ(cmp(*x, *OwnedBigInt<W>(1)), 0);
    set_uL(*x, 7);
    EXPECT_EQ(x->L, 1u);
    EXPECT_EQ(x->T[0], 7u);
    EXPECT_TRUE(x->sign);
    if constexpr (sizeof(W) == 4) {
        EXPECT_EQ(x->T[1], 0u);
    }  // both halves are written
    set_uL(*x, u64{3} << 40);
    EXPECT_EQ(x->L, 8 / sizeof(W));
    EXPECT_EQ(x.exact(), Dyadic::of(std::vector<u64>{u64{3} << 40}.data(), 1));
}

TYPED_TEST(BigIntTest, SetFromWordsDropsZerosAtTheTop) {
    using W = TypeParam;
    const std::vector<W> words{5, 6, 0, 0};
    OwnedBigInt<W> x(4);
    set_uWs(*x, words.data(), 4);
    EXPECT_EQ(x->L, 2u);
    EXPECT_EQ(x.exact(), Dyadic::of(words.data(), 2));
    set_uWs(*x, words.data() + 2, 2);
    EXPECT_EQ(x->L, 0u);
    EXPECT_TRUE(x->sign);
    set_uWs(*x, static_cast<const W*>(nullptr), 0);
    EXPECT_EQ(x->L, 0u);
}

TYPED_TEST(BigIntTest, SumsAndDifferencesAreExactInExactlyTheRoomAskedFor) {
    for (u64 round = 0; round < rounds(3000); ++round) {
        auto A = this->random(this->rng_.below(20)), B = this->random(this->rng_.below(20));
        if (round % 8 == 0) B->L = A->L, B->T = A->T, B->sign = A->L == 0 || !A->sign;  // cancels
        const bool zero = A->L == 0 || B->L == 0;
        const u64 most = std::max(A->L, B->L);
        OwnedBigInt<TypeParam> sum(most + (!zero && A->sign == B->sign));
        set_add(*sum, *A, *B);
        EXPECT_EQ(sum.exact(), A.exact() + B.exact());
        EXPECT_TRUE(normalised(*sum));
        OwnedBigInt<TypeParam> difference(most + (!zero && A->sign != B->sign));
        set_sub(*difference, *A, *B);
        EXPECT_EQ(difference.exact(), A.exact() - B.exact());
        EXPECT_TRUE(normalised(*difference));
    }
}

TYPED_TEST(BigIntTest, TheResultOfASumMayBeAnOperand) {
    for (u64 round = 0; round < rounds(500); ++round) {
        const u64 n = this->rng_.below(12), m = this->rng_.below(12), room = std::max(n, m) + 1;
        for (bool subtract : {false, true}) {
            auto A = this->random(n, room - n), B = this->random(m, room - m);
            const Dyadic a = A.exact(), b = B.exact();
            using Number = BigInt<TypeParam>;
            void (*operation)(Number&, const Number&, const Number&) = set_add;
            if (subtract) operation = set_sub;
            const Dyadic want = subtract ? a - b : a + b;
            operation(*A, *A, *B);
            EXPECT_EQ(A.exact(), want);
            auto C = this->random(n, room - n);
            const Dyadic c = C.exact();
            operation(*B, *C, *B);
            EXPECT_EQ(B.exact(), subtract ? c - b : c + b);
            operation(*C, *C, *C);
            EXPECT_EQ(C.exact(), subtract ? Dyadic{} : c + c);
        }
    }
}

TYPED_TEST(BigIntTest, ShiftsKeepTheirPlaceInTheBuffer) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(1000); ++round) {
        const u64 n = this->rng_.between(1, 12), offset = this->rng_.below(3);
        const u64 bits = this->rng_.below(3) == 0 ? word_bits<W> * this->rng_.below(6) : this->rng_.below(400);
        std::vector<W> content = words<W>(hard_patterns[round % std::size(hard_patterns)], n, this->rng_);
        content[n - 1] |= 1;
        const bool sign = round % 2 != 0;
        OwnedBigInt<W> x(n + offset + bits / word_bits<W> + 1);
        std::copy(content.begin(), content.end(), x->buffer + offset);
        x->T = x->buffer + offset;
        x->L = n;
        x->sign = sign;
        const Dyadic before = x.exact();
        shl(*x, bits);
        EXPECT_EQ(x->T, x->buffer + offset);
        EXPECT_EQ(x.exact(), before.times_power_of_two(static_cast<i64>(bits)));
        EXPECT_TRUE(normalised(*x));
        const u64 back = this->rng_.below(bits + 64 * n + 65);
        shr(*x, back);
        EXPECT_EQ(x->T, x->buffer + offset);
        EXPECT_EQ(x.exact(), before.times_power_of_two(static_cast<i64>(bits - back)).truncated_to(0));
        EXPECT_TRUE(normalised(*x));
    }
}

TYPED_TEST(BigIntTest, ShiftingEverythingOutLeavesPositiveZero) {
    for (u64 words_out : {2, 3, 1000}) {
        OwnedBigInt<TypeParam> x({1, 2}, false);
        shr(*x, words_out * word_bits<TypeParam>);
        EXPECT_EQ(x->L, 0u);
        EXPECT_TRUE(x->sign);
    }
    OwnedBigInt<TypeParam> one({1}, false);
    shr(*one, 1);
    EXPECT_EQ(one->L, 0u);
    EXPECT_TRUE(one->sign);
}

TYPED_TEST(BigIntTest, TimesAWord) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(1000); ++round) {
        const u64 n = this->rng_.below(14);
        auto A = this->random(n, 1);
        const W m = static_cast<W>(round % 3 == 0 ? ~u64{0} : round % 17 == 0 ? 0 : this->rng_.next());
        const Dyadic want = A.exact() * Dyadic::of(&m, 1);
        OwnedBigInt<W> out(A->L + 1);
        set_mul_uW(*out, *A, m);
        EXPECT_EQ(out.exact(), want);
        EXPECT_TRUE(normalised(*out));
        mul_uW(*A, m);
        EXPECT_EQ(A.exact(), want);
        EXPECT_TRUE(normalised(*A));
    }
}

TYPED_TEST(BigIntTest, ProductsOnBothSidesOfTheDirectOnes) {
    using W = TypeParam;
    const u64 lengths[] = {0, 1, 2, 3, 4, 8, 9, 10, 11, 14, 20, 29};
    for (u64 n : lengths) {
        for (u64 m : lengths) {
            auto A = this->random(n), B = this->random(m);
            if (A->L + B->L > 58 * 8 / sizeof(W)) continue;
            FencedBytes scratch(A->L != 0 && B->L != 0 ? big_int_mul_Psize<W>(A->L, B->L, 1) : 0);
            const BasicParameters params{nullptr, scratch.data(), scratch.size(), 1};
            OwnedBigInt<W> C(A->L + B->L);
            set_mul(*C, params, *A, *B);
            EXPECT_EQ(C.exact(), A.exact() * B.exact()) << n << " x " << m;
            EXPECT_TRUE(normalised(*C));
            if (n != m) continue;
            OwnedBigInt<W> square(2 * A->L);
            FencedBytes square_scratch(A->L != 0 ? big_int_mul_Psize<W>(A->L, A->L, 1) : 0);
            set_sqr(*square, {nullptr, square_scratch.data(), square_scratch.size(), 1}, *A);
            EXPECT_EQ(square.exact(), A.exact() * A.exact()) << n;
            EXPECT_TRUE(normalised(*square));
        }
    }
}

TYPED_TEST(BigIntTest, ComparesAsNumbersDo) {
    for (u64 round = 0; round < rounds(500); ++round) {
        auto A = this->random(this->rng_.below(4)), B = this->random(this->rng_.below(4));
        EXPECT_EQ(cmp(*A, *B), compare(A.exact(), B.exact()));
        EXPECT_EQ(cmp(*A, *A), 0);
    }
    OwnedBigInt<TypeParam> x({7, 9, 3}, false), y({8, 9, 3}, false);
    EXPECT_EQ(cmp(*x, *y), 1);
    EXPECT_EQ(cmp(*y, *x), -1);
}

TYPED_TEST(BigIntTest, RangesArePaddedWithZeros) {
    using W = TypeParam;
    OwnedBigInt<W> x({1, 2, 3}, false);
    std::vector<W> out(4, 9);
    get_range(*x, out.data(), 1, 4);
    EXPECT_EQ(out, (std::vector<W>{2, 3, 0, 0}));
    get_range(*x, out.data(), ~u64{0} - 1, 4);
    EXPECT_EQ(out, (std::vector<W>{0, 0, 0, 0}));
    get_range(*x, out.data(), 0, 2);
    EXPECT_EQ(out, (std::vector<W>{1, 2, 0, 0}));
}

TYPED_TEST(BigIntTest, PrintsAllWordsBelowTwentyAndFiveFromThere) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    OwnedBigInt<W> x({1, 2}, false, 3);
    print(*x);
    EXPECT_EQ(console.take(), "sign            0\nL               2\nbuffer_size     3\n{1,2}\n\n");
    std::vector<W> many(25);
    for (W i = 0; i < 25; ++i) many[i] = static_cast<W>(i + 100);
    print(*OwnedBigInt<W>(many, true));
    EXPECT_EQ(console.take(), "sign            1\nL               25\nbuffer_size     25\n{120,121,122,123,124}\n\n");
    print(*OwnedBigInt<W>(0));
    EXPECT_EQ(console.take(), "sign            1\nL               0\nbuffer_size     0\n{}\n\n");
}

const ChildCase subtracts_too_much{"big_int_negative_difference", [] {
                                       // Not normalised, so the comparison of lengths is fooled.
                                       u64 a[] = {1, 0}, b[] = {5}, c[2];
                                       BigInt<u64> A{a, 2, true, a, 2}, B{b, 1, true, b, 1}, C{c, 0, true, c, 2};
                                       set_sub(C, A, B);
                                   }};

TEST(BigIntDeath, ANegativeDifferenceOfMagnitudesEndsTheProcess) {
    const ChildEnd end = subtracts_too_much.run();
    EXPECT_TRUE(end.exited_with(1));
    EXPECT_EQ(end.output,
              "\nException Encountered: Value is unsupported.\nError Code: 1\nLocation: BigInt::set_sub()\n"
              "A negative value was encountered.\n\n");
}

}  // namespace
}  // namespace kvt::objects
