// Arithmetic modulo 2^M + 1 in both word widths, and products completed from residues modulo several such numbers,
// formed by a slow engine.

#include "multiply/fermat_product.h"

#include "multiply/fermat_ring.h"
#include "multiply/product_support.h"
#include "multiply/slow_engine.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

template <class W>
class FermatNumbers : public testing::Test {
  protected:
    using Words = std::vector<W>;

    // 0, 1, 2^M, 2^M - 1 and others.
    static std::vector<Words> elements(u64 n, Rng& rng) {
        std::vector<Words> all;
        for (Pattern pattern : {Pattern::zero, Pattern::all_ones, Pattern::random, Pattern::sparse, Pattern::runs}) {
            all.push_back(words<W>(pattern, n, rng));
            all.back().push_back(0);
        }
        all.emplace_back(n + 1).back() = 1;
        all.emplace_back(n + 1).front() = 1;
        return all;
    }
};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(FermatNumbers, Widths);

TYPED_TEST(FermatNumbers, ReduceFindsTheElement) {
    using W = TypeParam;
    Rng rng(121);
    for (u64 n : {1, 2, 7}) {
        const FermatRing<W> ring(n);
        std::vector<W> modulus(n + 1);
        modulus.front() = modulus.back() = 1;
        for (const auto& x : this->elements(n, rng)) {
            for (u64 more : {u64{1}, n, n + 1, 3 * n, 4 * n + 1})
                for (Pattern pattern : {Pattern::zero, Pattern::all_ones, Pattern::random, Pattern::power_of_two}) {
                    // A = quotient * (2^M + 1) + x; the quotient's top word is spare.
                    std::vector<W> quotient = words<W>(pattern, more, rng);
                    quotient.back() = 0;
                    std::vector<W> A = reference::product(quotient, modulus);
                    u64 carry = 0;
                    for (u64 i = 0; i < A.size(); ++i) {
                        const u128 sum = u128{A[i]} + (i <= n ? x[i] : W{0}) + carry;
                        A[i] = static_cast<W>(sum);
                        carry = static_cast<u64>(sum >> word_bits<W>);
                    }
                    ASSERT_EQ(carry, 0u);
                    std::vector<W> out(n + 1, W{99});
                    ring.reduce(out.data(), A.data(), A.size());
                    EXPECT_EQ(out, x) << n << " words, quotient of " << more << ' ' << name_of(pattern);
                }
            for (u64 L = 0; L <= n; ++L) {  // what fits stays
                std::vector<W> out(n + 1, W{99}), want(n + 1);
                std::copy_n(x.data(), L, want.data());
                ring.reduce(out.data(), x.data(), L);
                EXPECT_EQ(out, want);
            }
        }
    }
}

TYPED_TEST(FermatNumbers, HalvesAndDifferencesAreUndoneBySums) {
    using W = TypeParam;
    Rng rng(122);
    for (u64 n : {1, 2, 7}) {
        const FermatRing<W> ring(n);
        for (const auto& x : this->elements(n, rng)) {
            std::vector<W> half = x;
            ring.halve(half.data());
            EXPECT_TRUE(half[n] == 0 || (half[n] == 1 && std::count(half.begin(), half.end(), W{0}) == long(n)));
            ring.add(half.data(), half.data(), half.data());
            EXPECT_EQ(half, x);
            for (const auto& y : this->elements(n, rng)) {
                std::vector<W> difference(n + 1);
                ring.subtract(difference.data(), x.data(), y.data());
                ring.add(difference.data(), difference.data(), y.data());
                EXPECT_EQ(difference, x);
            }
        }
    }
}

// The residues of any product of up to 15/8 of the transform's words determine it; so for operands that are -1, which no
// transform takes, modulo one or another of the numbers.
template <class W>
void complete(const std::vector<W>& A, const std::vector<W>& B, bool square, u64 n, Rng& rng) {
    const u64 LA = A.size(), LB = square ? LA : B.size(), d = LA + LB - n;
    SCOPED_TRACE(testing::Message() << word_bits<W> << "-bit words, " << LA << " x " << LB << " over " << n);
    const SlowEngine engine(-1, word_bits<W> * n);
    const TransformPlan first = engine.plan(word_bits<W> * n);
    const FermatPlan plan = plan_fermat<W>(engine, first, d, 1);
    ASSERT_NE(plan.count, 0u);
    const GlobalTwiddleTable table{1 << 20, {}, {}, nullptr};
    FencedWords<W> C(LA + LB);
    {
        std::vector<u8> memory(first.operand_bytes + first.product_bytes + 64);
        u8* const work = memory.data() + first.operand_bytes;
        const Residue residue = engine.forward(first, table, operand_of(A.data(), LA), memory.data(), work, 1);
        engine.product(first, table, memory.data(), residue, square ? Operand{nullptr, 0} : operand_of(B.data(), LB),
                       window_of<W>(C, 0, n + 1), false, work, 1);
    }
    const ExactScratch scratch(plan.scratch_bytes, rng.below(8), 1, &table);
    const BasicParameters& params = scratch;
    complete_by_fermat<W>(engine, first, table, A.data(), LA, square ? nullptr : B.data(), LB, C, d,
                          static_cast<u8*>(params.memory), 1);
    const auto want = reference::product(A, square ? A : B);
    EXPECT_TRUE(same(C.data(), want.data(), LA + LB));
}

TYPED_TEST(FermatNumbers, CompleteProducts) {
    using W = TypeParam;
    Rng rng(123);
    const u64 n = 80;
    const auto power = [](u64 L, u64 bit) {
        std::vector<W> out(L);
        out[bit / word_bits<W>] = static_cast<W>(W{1} << bit % word_bits<W>);
        return out;
    };
    for (u64 d : {1, 9, 10, 11, 20, 25, 40, 41, 50, 60, 69, 70}) {
        const u64 LB = (n + d) / 2, LA = n + d - LB;
        for (Pattern a : hard_patterns)
            for (Pattern b : {a, Pattern::random})
                complete<W>(words<W>(a, LA, rng), words<W>(b, LB, rng), false, n, rng);
        for (Pattern a : hard_patterns)
            if (d % 2 == 0) complete<W>(words<W>(a, LA, rng), {}, true, n, rng);
        complete<W>(words<W>(Pattern::all_ones, n, rng), words<W>(Pattern::all_ones, d, rng), false, n, rng);
        for (u64 m : {10, 20, 40}) {
            const std::vector<W> minus_one = power(LA, word_bits<W> * m),
                                 minus_root = power(LB, word_bits<W> * m / 2);
            complete<W>(minus_one, words<W>(Pattern::random, LB, rng), false, n, rng);
            complete<W>(minus_one, power(LB, word_bits<W> * 10), false, n, rng);
            complete<W>(power(LA, word_bits<W> * m / 2), minus_root, false, n, rng);
        }
        // 2^N, and the squares of its root.
        complete<W>(power(LA, word_bits<W> * n / 2), power(LB, word_bits<W> * n / 2 - 1), false, n, rng);
        if (d > 1) complete<W>(power(LA, word_bits<W> * n / 2), power(LB, word_bits<W> * n / 2), false, n, rng);
    }
    const SlowEngine engine(-1, word_bits<W> * n);
    EXPECT_EQ(plan_fermat<W>(engine, engine.plan(word_bits<W> * n), 71, 1).count, 0u) << "more than seven eighths";
}

}  // namespace
}  // namespace kvt::multiply
