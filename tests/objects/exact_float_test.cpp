#include "objects/exact_float.h"

#include <gtest/gtest.h>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "multiply/dispatch.h"
#include "multiply/twiddle_table.h"
#include "objects/owned.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/scratch.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;

template <class W>
class ExactFloatTest : public testing::Test {
  protected:
    using Owned = OwnedExactFloat<W>;
    static constexpr i64 bits = word_bits<W>;

    Owned random(u64 n, u64 capacity = 0, u64 spread = 20) {
        const Pattern pattern = hard_patterns[rng_.below(std::size(hard_patterns))];
        std::vector<W> content = words<W>(pattern, n, rng_);
        if (n > 0 && content.back() == 0) content.back() = 1;
        return Owned(content, static_cast<i64>(rng_.below(spread)) - static_cast<i64>(spread) / 2, capacity);
    }
    static u64 span(const Owned& A, const Owned& B) {
        const i64 top = std::max(A->exp + static_cast<i64>(A->L), B->exp + static_cast<i64>(B->L));
        return static_cast<u64>(top - std::min(A->exp, B->exp));
    }
    Rng rng_{61};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(ExactFloatTest, Widths);

TYPED_TEST(ExactFloatTest, SumsAndDifferencesKeepEveryWord) {
    for (u64 round = 0; round < rounds(4000); ++round) {
        auto A = this->random(this->rng_.between(1, 9)), B = this->random(this->rng_.between(1, 9));
        const Dyadic a = A.exact(), b = B.exact();
        const u64 L = this->span(A, B);
        OwnedExactFloat<TypeParam> out(L + 1);
        set_add(*out, *A, *B);
        ASSERT_EQ(out.exact(), a + b);
        ASSERT_TRUE(out.sound());
        ASSERT_EQ(out->exp, std::min(A->exp, B->exp));
        const int order = compare(a, b);
        if (order == 0) continue;
        const auto& larger = order > 0 ? A : B;
        const auto& smaller = order > 0 ? B : A;
        OwnedExactFloat<TypeParam> difference(L);
        set_sub(*difference, *larger, *smaller);
        ASSERT_EQ(difference.exact(), (a - b).absolute());
        ASSERT_TRUE(difference.sound());
        ASSERT_NE(difference->T[difference->L - 1], 0u);
    }
}

TYPED_TEST(ExactFloatTest, ValuesApartLeaveAGapOfZeros) {
    using W = TypeParam;
    const OwnedExactFloat<W> high({7}, 5), low({3}, 1);
    OwnedExactFloat<W> out(6);
    out->buffer[5] = 0x77;
    set_add(*out, *high, *low);
    EXPECT_EQ(std::vector<W>(out->T, out->T + out->L), (std::vector<W>{3, 0, 0, 0, 7}));
    EXPECT_EQ(out->buffer[5], 0x77u);  // no carry word is written
    set_add(*out, *low, *high);
    EXPECT_EQ(out->L, 5u);
}

TYPED_TEST(ExactFloatTest, AccumulatesInPlace) {
    for (u64 round = 0; round < rounds(3000); ++round) {
        auto x = this->random(this->rng_.between(3, 12), 13), y = this->random(this->rng_.below(4));
        if (y->L > x->L) continue;
        y->exp = x->exp + static_cast<i64>(this->rng_.below(x->L - y->L + 1));
        y->hash = checksum(*y);
        const Dyadic before = x.exact();
        add_to(*x, *y);
        ASSERT_EQ(x.exact(), before + y.exact());
        ASSERT_TRUE(x.sound());
        if (compare(x.exact(), y.exact()) <= 0 || y->L > x->L) continue;
        sub_to(*x, *y);
        ASSERT_EQ(x.exact(), before);
        ASSERT_TRUE(x.sound());
    }
}

TYPED_TEST(ExactFloatTest, PowersOfTwoAndStripping) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(2000); ++round) {
        const u64 n = this->rng_.between(1, 8);
        auto x = this->random(n, n + 1);
        const Dyadic before = x.exact();
        const i64 k = static_cast<i64>(this->rng_.below(1000)) - 500;
        mp2(*x, k);
        ASSERT_EQ(x.exact(), before.times_power_of_two(k));
        ASSERT_TRUE(x.sound());
        strip_tzs_all(*x);
        ASSERT_EQ(x.exact(), before.times_power_of_two(k));
        ASSERT_TRUE(x.sound());
        ASSERT_NE(x->T[0], 0u);
    }
    OwnedExactFloat<W> one({1}, 0);
    EXPECT_EQ(one->hash, 1u);
    mp2(*one, 64);
    EXPECT_EQ(one->hash, 8u);
    EXPECT_EQ(one->exp, 64 / this->bits);
    mp2(*one, -128);
    EXPECT_EQ(one->hash, u64{1} << 58);
}

TYPED_TEST(ExactFloatTest, OnlyACarryThatIsThereNeedsAWord) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    const W high = static_cast<W>(W{1} << (this->bits - 1));
    OwnedExactFloat<W> x({1, static_cast<W>(high >> 1)}, 0, 2);
    mp2(*x, 1);
    EXPECT_EQ(x->T[1], high);
    try {
        mp2(*x, 1);
        FAIL();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "ExactFloat::operator<<=()");
        EXPECT_EQ(error.required_size, 3u);
    }
    EXPECT_EQ(x->T[1], high);
    EXPECT_TRUE(x.sound());
}

TYPED_TEST(ExactFloatTest, ProductsKeepEveryWord) {
    using W = TypeParam;
    const u64 longest = 58 * 8 / sizeof(W) / 2;
    for (u64 round = 0; round < rounds(300); ++round) {
        const u64 n = round % 3 != 0 ? this->rng_.below(14) : this->rng_.below(longest + 1);
        const u64 m = round % 3 != 0 ? this->rng_.below(14) : this->rng_.below(longest + 1);
        const auto A = this->random(n), B = this->random(m);
        const auto scratch_for = [](u64 L) {
            MulSizeRecord record;
            multiply::mul_Psize<W>(record, L, 1);
            return Scratch(record.scratch_bytes);
        };
        const Scratch scratch = scratch_for(n + m), square_scratch = scratch_for(2 * n);
        OwnedExactFloat<W> product(n + m), square(2 * n);
        set_mul(*product, scratch.parameters(), *A, *B);
        ASSERT_EQ(product.exact(), A.exact() * B.exact());
        ASSERT_TRUE(product.sound());
        set_sqr(*square, square_scratch.parameters(), *A);
        ASSERT_EQ(square.exact(), A.exact() * A.exact());
        ASSERT_TRUE(square.sound());

        const i64 lowest = A->exp + B->exp, extend = lowest + 5 - static_cast<i64>(this->rng_.below(12));
        const u64 zeros = lowest > extend ? static_cast<u64>(lowest - extend) : 0;
        OwnedExactFloat<W> extended(n + m + zeros);
        set_mul_extend(*extended, scratch.parameters(), *A, *B, extend);
        ASSERT_EQ(extended.exact(), product.exact());
        ASSERT_TRUE(extended.sound());
        if (n != 0 && m != 0) {
            ASSERT_EQ(extended->exp, std::min(lowest, extend));
        }
    }
}

TYPED_TEST(ExactFloatTest, AProductOfZeroStartsAtItsBuffer) {
    using W = TypeParam;
    const auto A = this->random(3), zero = this->random(0);
    OwnedExactFloat<W> product(3);
    product->T = product->buffer + 1;
    set_mul(*product, BasicParameters{}, *A, *zero);
    EXPECT_EQ(product->L, 0u);
    EXPECT_EQ(product->T, product->buffer);
}

TYPED_TEST(ExactFloatTest, TwoProductsThatShareAFactor) {
    using W = TypeParam;
    const u64 lengths[][3] = {{0, 3, 2}, {5, 9, 2}, {12, 15, 20}, {900, 820, 1000}};
    multiply::ensure_global_table(64 * 2000);
    for (const auto& [la, lb, lc] : lengths) {
        auto A = this->random(la), B = this->random(lb);
        auto C = this->random(lc);
        if (la != 0) A->T[0] = 0;  // the product then ends in a zero word
        A->hash = checksum(*A);
        u64 bytes;
        multiply::mul_iPsize<W>(bytes, lb + std::max(la, lc) + 1, 1);
        const Scratch scratch(bytes);
        const BasicParameters params = scratch.parameters(multiply::global_table());
        OwnedExactFloat<W> AB(la + lb), BC(lb + lc);
        set_mul_AB_BC(*AB, *BC, params, *A, *B, *C);
        EXPECT_EQ(AB.exact(), A.exact() * B.exact());
        EXPECT_EQ(BC.exact(), B.exact() * C.exact());
        EXPECT_TRUE(AB.sound() && BC.sound());
        set_mul_AB_BC_normalize(*AB, *BC, params, *A, *B, *C);
        EXPECT_EQ(AB.exact(), A.exact() * B.exact());
        EXPECT_TRUE(AB.sound() && BC.sound());
        if (la != 0) {
            EXPECT_NE(AB->T[0], 0u);
        }
    }
}

TYPED_TEST(ExactFloatTest, ChecksumsSurviveLongChains) {
    using W = TypeParam;
    constexpr u64 capacity = 60;
    OwnedExactFloat<W> x({1}, 0, capacity), y(capacity);
    FencedBytes scratch(100000);
    const BasicParameters params{nullptr, scratch.data(), scratch.size(), 1};
    for (u64 step = 0; step < rounds(20000); ++step) {
        if (x->L > 20) {  // keep the top words
            std::vector<W> top(x->T + x->L - 3, x->T + x->L);
            std::copy(top.begin(), top.end(), x->buffer);
            *x = {x->buffer, 3, static_cast<i64>(this->rng_.below(5)), 0, x->buffer, capacity};
            x->hash = checksum(*x);
        }
        auto operand = this->random(this->rng_.between(1, 4));
        operand->exp = x->exp + static_cast<i64>(this->rng_.below(8)) - 4;
        operand->hash = checksum(*operand);
        switch (this->rng_.below(6)) {
            case 0: set_add(*y, *x, *operand); break;
            case 1:
                if (compare(x.exact(), operand.exact()) <= 0) continue;
                set_sub(*y, *x, *operand);
                break;
            case 2: set_mul(*y, params, *x, *operand); break;
            case 3: set_mul_extend(*y, params, *operand, *x, operand->exp + x->exp - 2); break;
            case 4: set_sqr(*y, params, *x); break;
            default:
                mp2(*x, static_cast<i64>(this->rng_.below(300)) - 150);
                strip_tzs_all(*x);
                set_add(*y, *x, *x);
        }
        std::swap(x.value, y.value);
        if (x->exp > 1000 || x->exp < -1000) {
            x->exp = 0;
            x->hash = checksum(*x);
        }
        ASSERT_TRUE(x.sound()) << step;
    }
}

TYPED_TEST(ExactFloatTest, AnyFlippedBitIsPrintedAsAFailure) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    OwnedExactFloat<W> x({5, 0, static_cast<W>(~W{0}), 3}, -7);
    auto prints = [&](const char* verdict) {
        print(*x);
        return console.take().find(verdict) != std::string::npos;
    };
    EXPECT_TRUE(prints("  (ok)\n"));
    for (u64 i = 0; i < x->L; ++i)
        for (i64 bit = 0; bit < this->bits; ++bit) {
            x->T[i] ^= W{1} << bit;
            EXPECT_TRUE(prints("  (fail)\n")) << i << " " << bit;
            x->T[i] ^= W{1} << bit;
        }
    for (int bit = 0; bit < 64; ++bit) {
        x->hash ^= u64{1} << bit;
        EXPECT_TRUE(prints("  (fail)\n")) << bit;
        x->hash ^= u64{1} << bit;
    }
    EXPECT_TRUE(prints("  (ok)\n"));
}

TYPED_TEST(ExactFloatTest, PrintLayout) {
    ConsoleCapture console(set_console_sink);
    print(*OwnedExactFloat<TypeParam>({1, 2}, 0, 3));
    const std::string sum = sizeof(TypeParam) == 8 ? "17" : "8589934593";
    EXPECT_EQ(console.take(), "L               2\nexp             0\nhash            " + sum +
                                  "  (ok)\nbuffer_size     3\n{1,2}\n\n");
}

TEST(ExactFloatChecksum, BothWidthsAgreeOnEqualValues) {
    Rng rng(3);
    for (int round = 0; round < 200; ++round) {
        const auto wide = words<u64>(Pattern::random, rng.between(1, 9), rng);
        std::vector<u32> narrow;
        for (u64 word : wide) {
            narrow.push_back(static_cast<u32>(word));
            narrow.push_back(static_cast<u32>(word >> 32));
        }
        const i64 exp = static_cast<i64>(rng.next()) >> 4;
        EXPECT_EQ(OwnedExactFloat<u64>(wide, exp)->hash, OwnedExactFloat<u32>(narrow, 2 * exp)->hash);
    }
}

TYPED_TEST(ExactFloatTest, ShortCapacitiesAndBadDifferencesChangeNothing) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    const OwnedExactFloat<W> A({1, 2}, 0), B({3, 4, 5}, 1);
    const BasicParameters params{};
    auto refused = [&](const char* location, u64 capacity, u64 needed, auto&& call) {
        OwnedExactFloat<W> out({9}, 4, capacity);
        try {
            call(*out);
            ADD_FAILURE() << location;
        } catch (const BufferTooSmallException& error) {
            EXPECT_STREQ(error.location, location);
            EXPECT_EQ(error.buffer_size, capacity);
            EXPECT_EQ(error.required_size, needed);
        }
        EXPECT_EQ(out->T[0], 9u);
        EXPECT_EQ(out->exp, 4);
        EXPECT_TRUE(out.sound());
    };
    using Number = ExactFloat<W>;
    refused("ExactFloat::set_add()", 4, 5, [&](Number& x) { set_add(x, *A, *B); });
    refused("ExactFloat::set_sub()", 3, 4, [&](Number& x) { set_sub(x, *B, *A); });
    refused("ExactFloat::set_sqr()", 3, 4, [&](Number& x) { set_sqr(x, params, *A); });
    refused("ExactFloat::set_mul()", 4, 5, [&](Number& x) { set_mul(x, params, *A, *B); });
    refused("ExactFloat::set_mul(extend)", 7, 8, [&](Number& x) { set_mul_extend(x, params, *A, *B, -2); });

    const OwnedExactFloat<W> inner({1}, 1), double_inner({2}, 1);
    auto unsupported = [&](const char* location, const char* message, auto&& call) {
        OwnedExactFloat<W> out({1}, 1, 4);
        try {
            call(*out);
            ADD_FAILURE() << location << message;
        } catch (const UnsupportedValueException& error) {
            EXPECT_STREQ(error.what(), message);
            EXPECT_STREQ(error.location, location);
        }
        EXPECT_EQ(out.exact(), inner.exact());
    };
    constexpr const char* negative = "A negative value was encountered.";
    constexpr const char* zero = "Zero was encountered.";
    unsupported("ExactFloat::set_sub()", negative, [&](Number& x) { set_sub(x, *A, *B); });
    unsupported("ExactFloat::set_sub()", zero, [&](Number& x) { set_sub(x, *B, *B); });
    unsupported("ExactFloat::operator-=()", negative, [&](Number& x) { sub_to(x, *double_inner); });
    unsupported("ExactFloat::operator-=()", zero, [&](Number& x) { sub_to(x, *inner); });
}

const ChildCase adds_above_its_top{"exact_float_add_above_top", [] {
                                       u64 a[] = {1, 1, 0, 0}, b[] = {1};
                                       ExactFloat<u64> A{a, 2, 0, 9, a, 4}, B{b, 1, 2, 64, b, 1};
                                       add_to(A, B);
                                   }};
const ChildCase has_no_carry_word{"exact_float_no_carry_word", [] {
                                      u64 a[] = {1, 1}, b[] = {1};
                                      ExactFloat<u64> A{a, 2, 0, 9, a, 2}, B{b, 1, 0, 1, b, 1};
                                      add_to(A, B);
                                  }};
const ChildCase subtracts_below_its_bottom{"exact_float_subtract_below", [] {
                                               u64 a[] = {1, 1, 0, 0}, b[] = {1};
                                               ExactFloat<u64> A{a, 2, 0, 9, a, 4}, B{b, 1, -1, 1, b, 1};
                                               sub_to(A, B);
                                           }};

TEST(ExactFloatDeath, OperandsOutsideTheNumbersRangeAreFatalAssertions) {
    for (const ChildCase* test : {&adds_above_its_top, &has_no_carry_word, &subtracts_below_its_bottom}) {
        const ChildEnd end = test->run();
        EXPECT_TRUE(end.faulted);
        EXPECT_NE(end.output.find("Invalid Function Parameters:   ExactFloat::operator"), std::string::npos);
    }
}

}  // namespace
}  // namespace kvt::objects
