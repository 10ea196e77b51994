// Linear kernels against a plain carry loop: both widths, both tables, arrays that end at an unreadable page.

#include <gtest/gtest.h>

#include "kernels/linear.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"

namespace {

using namespace kvt;
using namespace kvt::test;
using namespace kvt::kernels;

template <class W>
using Words = std::vector<W>;

template <class W>
u32 plain_add(Words<W>& C, const Words<W>& A, const Words<W>& B, u32 carry) {
    DoubleWord<W> sum = carry;
    for (std::size_t i = 0; i < A.size(); ++i) {
        sum += static_cast<DoubleWord<W>>(A[i]) + B[i];
        C[i] = static_cast<W>(sum);
        sum >>= word_bits<W>;
    }
    return static_cast<u32>(sum);
}

// A - B - borrow = ~(~A + B + borrow)
template <class W>
u32 plain_sub(Words<W>& C, const Words<W>& A, const Words<W>& B, u32 borrow) {
    Words<W> inverted(A);
    for (W& word : inverted) word = static_cast<W>(~word);
    const u32 out = plain_add(C, inverted, B, borrow);
    for (W& word : C) word = static_cast<W>(~word);
    return out;
}

template <class W>
W plain_mul(Words<W>& C, const Words<W>& A, W m, W carry) {
    DoubleWord<W> product = carry;
    for (std::size_t i = 0; i < A.size(); ++i) {
        product += static_cast<DoubleWord<W>>(A[i]) * m;
        C[i] = static_cast<W>(product);
        product >>= word_bits<W>;
    }
    return static_cast<W>(product);
}

template <class W>
FencedWords<W> fenced(const Words<W>& words) {
    FencedWords<W> out(words.size());
    std::copy(words.begin(), words.end(), out.begin());
    return out;
}

template <class W>
Words<W> plain(const FencedWords<W>& words) {
    return Words<W>(words.begin(), words.end());
}

template <class W>
struct LinearKernels : testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(LinearKernels, Widths);

template <class W, class Check>
void for_operands(Check check) {
    Rng rng(11);
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        for (std::size_t n = 0; n <= 40; ++n)
            for (const Pattern pattern : hard_patterns)
                for (const u32 carry : {0u, 1u}) check(n, pattern, carry, rng);
        for (const std::size_t n : {63, 64, 65, 127, 255, 1000, 1001}) check(n, Pattern::runs, 1, rng);
    }
}

TYPED_TEST(LinearKernels, AddAndSubtract) {
    using W = TypeParam;
    for_operands<W>([](std::size_t n, Pattern pattern, u32 carry, Rng& rng) {
        const auto a = words<W>(pattern, n, rng);
        auto b = words<W>(rng.below(2) ? pattern : Pattern::random, n, rng);
        if (rng.below(4) == 0)
            for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<W>(~a[i]);  // carries run through every word
        const auto A = fenced(a), B = fenced(b);
        FencedWords<W> C(n);
        Words<W> want(n);

        u32 out = plain_add(want, a, b, carry);
        EXPECT_EQ(add_nr<W>(C, A, B, n, carry ? 0x100 : 0), out) << n << name_of(pattern);
        EXPECT_EQ(plain(C), want) << n;
        const auto in_place = fenced(a);
        EXPECT_EQ(add_ir<W>(in_place, B, n, carry), out);
        EXPECT_EQ(plain(in_place), want);

        out = plain_sub(want, a, b, carry);
        EXPECT_EQ(sub_nr<W>(C, A, B, n, carry ? 0x100 : 0), out) << n << name_of(pattern);
        EXPECT_EQ(plain(C), want) << n;
        const auto reduced = fenced(a);
        EXPECT_EQ(sub_ir<W>(reduced, B, n, carry), out);
        EXPECT_EQ(plain(reduced), want);
    });
}

TYPED_TEST(LinearKernels, OperandsMayBeTheSameArray) {
    using W = TypeParam;
    for_operands<W>([](std::size_t n, Pattern pattern, u32 carry, Rng& rng) {
        const auto a = words<W>(pattern, n, rng);
        auto A = fenced(a);
        Words<W> want(n);
        const u32 out = plain_add(want, a, a, carry);
        EXPECT_EQ(add_ir<W>(A, A, n, carry), out);
        EXPECT_EQ(plain(A), want);
        EXPECT_EQ(sub_ir<W>(A, A, n, 0), 0u);
        EXPECT_EQ(plain(A), Words<W>(n));
        const auto b = words<W>(Pattern::random, n, rng);
        const auto B = fenced(b);
        const u32 borrow = plain_sub(want, a, b, carry);
        EXPECT_EQ(sub_nr<W>(B, fenced(a), B, n, carry), borrow);  // destination is the second operand
        EXPECT_EQ(plain(B), want);
    });
}

TYPED_TEST(LinearKernels, MultiplyByAWord) {
    using W = TypeParam;
    for_operands<W>([](std::size_t n, Pattern pattern, u32 flag, Rng& rng) {
        const auto a = words<W>(pattern, n, rng);
        const W m = flag ? static_cast<W>(~W{0}) : static_cast<W>(rng.next());
        const W carry = flag ? static_cast<W>(~W{0}) : static_cast<W>(rng.next());
        const auto A = fenced(a);
        FencedWords<W> C(n);
        Words<W> want(n);
        const W out = plain_mul(want, a, m, carry);
        EXPECT_EQ(mul_nr<W>(C, A, n, m, carry), out) << n << name_of(pattern);
        EXPECT_EQ(plain(C), want) << n;
        const auto in_place = fenced(a);
        EXPECT_EQ(mul_ir<W>(in_place, n, m, carry), out);
        EXPECT_EQ(plain(in_place), want);

        // addmul_ir: the product is added to what stands there
        const auto c = words<W>(pattern, n, rng);
        const auto sum = fenced(c);
        Words<W> total(n);
        const u32 top = plain_add(total, want, c, 0);
        EXPECT_EQ(addmul_ir<W>(sum, A, n, m, carry), static_cast<W>(out + top));
        EXPECT_EQ(plain(sum), total);
    });
}

TYPED_TEST(LinearKernels, MultiplyByZeroLeavesTheCarry) {
    using W = TypeParam;
    Words<W> a{1, 2, 3};
    EXPECT_EQ(mul_ir<W>(a.data(), 3, 0, 9), W{0});
    EXPECT_EQ(a, (Words<W>{9, 0, 0}));
    EXPECT_EQ(mul_ir<W>(a.data(), 0, 5, 9), W{9});
}

TYPED_TEST(LinearKernels, SingleCarry) {
    using W = TypeParam;
    const W ones = static_cast<W>(~W{0});
    const auto a = fenced(Words<W>{ones, ones, ones});
    EXPECT_EQ(add1_ir<W>(a, 3, 0), 0u);
    EXPECT_EQ(plain(a), (Words<W>{ones, ones, ones}));
    EXPECT_EQ(add1_ir<W>(a, 3, 0x100), 1u);
    EXPECT_EQ(plain(a), (Words<W>{0, 0, 0}));
    EXPECT_EQ(add1_ir<W>(a, 3, 1), 0u);
    EXPECT_EQ(plain(a), (Words<W>{1, 0, 0}));
    const auto b = fenced(Words<W>{ones, ones, 7});
    add1_ip<W>(b, 0);
    EXPECT_EQ(plain(b), (Words<W>{ones, ones, 7}));
    add1_ip<W>(b, 1);
    EXPECT_EQ(plain(b), (Words<W>{0, 0, 8}));
    EXPECT_EQ(sub1_ir<W>(b, 2, 1), 1u);
    sub1_ip<W>(b + 2, 1);
    EXPECT_EQ(plain(b), (Words<W>{ones, ones, 7}));
}

// A carry out of the range ripples exactly as far as it must; the word that absorbs it is the last readable one.
TYPED_TEST(LinearKernels, PropagateIntoTheWordsAbove) {
    using W = TypeParam;
    const W ones = static_cast<W>(~W{0});
    for (const Levels level : all_levels()) {
        const LevelScope scope(level);
        for (std::size_t n = 0; n <= 9; ++n)
            for (std::size_t above = 0; above <= 3; ++above) {
                Words<W> a(n + above + 1, ones), b(n, 0);
                a.back() = 5;
                Words<W> want(n + above + 1, 0);
                want.back() = 6;
                const auto A = fenced(a), B = fenced(b);
                add_ip<W>(A, B, n, 1);
                EXPECT_EQ(plain(A), want) << n << " " << above;
                sub_ip<W>(A, B, n, 1);
                EXPECT_EQ(plain(A), a) << n << " " << above;
                const auto exact = fenced(Words<W>(n, 1));
                add_ip<W>(exact, B, n, 0);  // no carry left: nothing above is touched
                sub_ip<W>(exact, B, n, 0);
                EXPECT_EQ(plain(exact), Words<W>(n, 1));
            }
    }
}

}  // namespace
