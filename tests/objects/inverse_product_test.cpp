#include "objects/inverse_product.h"

#include <gtest/gtest.h>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "multiply/twiddle_table.h"
#include "objects/big_float_parts.h"
#include "objects/owned.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "support/scratch.h"

namespace kvt::objects {
namespace {

using namespace kvt::test;
using multiply::TransformHelper;

template <class W>
class InverseProductTest : public testing::Test {
  protected:
    static constexpr i64 bits = word_bits<W>;
    static Scratch scratch_for(u64 words) {
        multiply::ensure_global_table(64 * 4000);
        return Scratch(TransformHelper<W>::needs(words, 1).scratch_bytes);
    }
    OwnedBigFloat<W> random(u64 n) {
        std::vector<W> content = words<W>(hard_patterns[rng_.below(std::size(hard_patterns))], n, rng_);
        if (content.back() == 0) content.back() = 1;
        return OwnedBigFloat<W>(content, static_cast<i64>(rng_.below(40)) - 20, rng_.below(2) != 0);
    }
    Rng rng_{97};
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(InverseProductTest, Widths);

// The words of x at positions [low, high).
template <class W>
Dyadic range_of(const Dyadic& x, i64 low, i64 high) {
    const Dyadic cut = x.truncated_to(low * static_cast<i64>(word_bits<W>));
    return cut - cut.truncated_to(high * static_cast<i64>(word_bits<W>));
}

TYPED_TEST(InverseProductTest, AnyRangeOfAProductThatFits) {
    using W = TypeParam;
    for (u64 round = 0; round < rounds(120); ++round) {
        const u64 n = this->rng_.between(1, round % 2 != 0 ? 20 : 400), m = this->rng_.between(1, n);
        const auto A = this->random(n), B = this->random(m);
        const Scratch scratch = this->scratch_for(n + m);
        const TransformHelper<W> helper(scratch.parameters(multiply::global_table()), n + m);
        const auto b = transform_first(helper, *B);
        const i64 exp = A->exp + B->exp, length = static_cast<i64>(n + m);
        // B's transform serves three products.
        for (int use = 0; use < 3; ++use) {
            auto a = transform_second(helper, *A);
            const i64 ie = exp - 3 + static_cast<i64>(this->rng_.below(n + m + 3));
            const i64 te = ie + 1 + static_cast<i64>(this->rng_.below(n + m + 6));
            OwnedBigFloat<W> out(static_cast<u64>(std::max<i64>(0, std::min(te, exp + length) - std::max(ie, exp))));
            set_inverse_fmul(*out, helper, a, b, ie, te);
            ASSERT_EQ(out.exact(), range_of<W>(A.exact() * B.exact(), ie, te)) << n << " " << m;
            ASSERT_TRUE(normalised(*out));
        }
        EXPECT_TRUE(scratch.intact());
    }
}

TYPED_TEST(InverseProductTest, AWrappedProductIsRightToOneUnitAboveWhatItSpoils) {
    using W = TypeParam;
    u64 wrapped = 0;
    for (u64 round = 0; round < rounds(60); ++round) {
        const u64 n = this->rng_.between(150, 700), held = n + this->rng_.between(8, n / 2);
        const auto A = this->random(n), B = this->random(n);
        const Scratch scratch = this->scratch_for(held);
        const TransformHelper<W> helper(scratch.parameters(multiply::global_table()), held);
        const u64 spoiled = helper.spoiled_words(2 * n);
        wrapped += spoiled != 0;
        auto a = transform_second(helper, *A);
        const auto b = transform_first(helper, *B);
        const i64 exp = A->exp + B->exp;
        const i64 ie = exp + static_cast<i64>(spoiled);
        const i64 te = exp + static_cast<i64>(std::min(helper.wrap_words(), 2 * n));
        OwnedBigFloat<W> out(static_cast<u64>(te - ie));
        set_inverse_fmul(*out, helper, a, b, ie, te);
        // Within one unit, modulo the range.
        const Dyadic want = range_of<W>(A.exact() * B.exact(), ie, te);
        const u64 one = 1;
        const Dyadic unit = Dyadic::of(&one, 1).times_power_of_two(ie * this->bits);
        const Dyadic size = Dyadic::of(&one, 1).times_power_of_two(te * this->bits);
        const Dyadic error = (out.exact().absolute() - want.absolute()).absolute();
        ASSERT_TRUE(compare(error, unit) <= 0 || compare(size - error, unit) <= 0) << n << " in " << held;
        if (spoiled == 0) {
            ASSERT_EQ(out.exact(), want);
        }
    }
    EXPECT_GT(wrapped, 0u);
}

TYPED_TEST(InverseProductTest, SquaresFromOneTransform) {
    using W = TypeParam;
    for (u64 n : {1, 5, 40, 300}) {
        const auto A = this->random(n);
        const Scratch scratch = this->scratch_for(2 * n);
        const TransformHelper<W> helper(scratch.parameters(multiply::global_table()), 2 * n);
        auto a = transform_first(helper, *A);
        OwnedBigFloat<W> out(2 * n);
        set_inverse_fmul(*out, helper, a, a, INT64_MIN / 4, INT64_MAX / 4);
        EXPECT_EQ(out.exact(), A.exact() * A.exact());
    }
}

TYPED_TEST(InverseProductTest, WholeProductsOfExactFloatsKeepTheirChecksum) {
    using W = TypeParam;
    for (u64 n : {1, 30, 250}) {
        const OwnedExactFloat<W> A(words<W>(Pattern::random, n, this->rng_), 5),
            B(words<W>(Pattern::random, n, this->rng_), -9);
        const Scratch scratch = this->scratch_for(2 * n);
        const TransformHelper<W> helper(scratch.parameters(multiply::global_table()), 2 * n);
        TransformedExact<W> a{helper.forward_second(A->T, A->L), A->exp, A->hash};
        const TransformedExact<W> b{helper.forward_first(B->T, B->L), B->exp, B->hash};
        OwnedExactFloat<W> out(2 * n);
        set_inverse_fmul(*out, helper, a, b);
        EXPECT_EQ(out.exact(), A.exact() * B.exact());
        EXPECT_TRUE(out.sound());
    }
}

TYPED_TEST(InverseProductTest, TheRangeMustFitTheResult) {
    using W = TypeParam;
    ConsoleCapture console(set_console_sink);
    const auto A = this->random(3), B = this->random(3);
    const Scratch scratch = this->scratch_for(6);
    const TransformHelper<W> helper(scratch.parameters(multiply::global_table()), 6);
    auto a = transform_first(helper, *A);
    const auto b = transform_second(helper, *B);
    OwnedBigFloat<W> out(3);
    try {
        set_inverse_fmul(*out, helper, a, b, A->exp + B->exp + 2, INT64_MAX / 4);
        FAIL();
    } catch (const BufferTooSmallException& error) {
        EXPECT_STREQ(error.location, "BigFloat::set_inverse_fmul()");
        EXPECT_EQ(error.required_size, 4u);
    }
}

// What a child prepares: two set-ups for 8 words over operands of 5.
struct Fatal {
    u64 words[5] = {1, 2, 3, 4, 5}, result[10];
    unsigned char memory[2][4096];
    BasicParameters params[2] = {{multiply::global_table(), memory[0], sizeof memory[0], 1},
                                 {multiply::global_table(), memory[1], sizeof memory[1], 1}};
    TransformHelper<u64> first{params[0], 8}, second{params[1], 8};
    BigFloat<u64> x{words, 5, 0, true, words, 5}, out{result, 0, 0, true, result, 10};
    ExactFloat<u64> exact_out{result, 0, 0, 0, result, 10};
};
const ChildCase mismatch{"fmul_mismatch", [] {
                             Fatal f;
                             auto a = transform_first(f.first, f.x);
                             const auto b = transform_first(f.second, f.x);
                             set_inverse_fmul(f.out, f.first, a, b, 0, 4);
                         }};
const ChildCase truncated{"fmul_truncated", [] {
                              Fatal f;
                              auto a = transform_first(f.first, f.x);
                              set_inverse_fmul(f.out, f.first, a, a, 2, 10);
                          }};
const ChildCase exact_mismatch{"fmul_exact_mismatch", [] {
                                   Fatal f;
                                   TransformedExact<u64> a{f.first.forward_first(f.words, 4), 0, 0}, none{};
                                   set_inverse_fmul(f.exact_out, f.first, a, none);
                               }};
const ChildCase exact_truncated{"fmul_exact_truncated", [] {
                                    Fatal f;
                                    TransformedExact<u64> a{f.first.forward_first(f.words, 5), 0, 0};
                                    set_inverse_fmul(f.exact_out, f.first, a, a);
                                }};

TEST(InverseProductDeath, MisuseEndsTheProcessWithItsText) {
    const struct {
        const ChildCase& test;
        const char* output;
    } cases[] = {
        {mismatch, "BigFloat::set_inverse_fmul(): Mismatching Transform Parameters\n"},
        {truncated, "ie = 2\nte = 10\nBigFloat::set_inverse_fmul(): Truncated Range\n\n\n"},
        {exact_mismatch, "ExactFloat::set_inverse_fmul(): Mismatching Transform Parameters\n"},
        {exact_truncated, "ie = 0\nte = 10\nExactFloat::set_inverse_fmul(): Truncated Range\n\n\n"},
    };
    for (const auto& c : cases) {
        const ChildEnd end = c.test.run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output, c.output);
    }
}

}  // namespace
}  // namespace kvt::objects
