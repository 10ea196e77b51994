// The 64-bit transform: constants, plans, and products against the oracle through every radix, stage and entry.

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/ntt64/primes.h"
#include "multiply/ntt64/shape.h"
#include "multiply/ntt64/transform.h"
#include "multiply/twiddle_table.h"
#include "reference/arithmetic.h"
#include "support/console_capture.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"
#include "support/scratch.h"

using namespace kvt;
using namespace kvt::multiply;
using namespace kvt::multiply::ntt64;
using namespace kvt::test;

namespace {

// The oracle without GMP is quadratic.
constexpr bool long_products = KVNUM_HAVE_GMP;

const GlobalTwiddleTable& test_table() {
    static const auto roots = std::make_unique<Roots>();
    static const GlobalTwiddleTable table = table_of_roots(roots.get());
    return table;
}

// Miller-Rabin; these bases decide every 64-bit number.
bool is_prime(u64 n) {
    u64 odd = n - 1;
    int twos = 0;
    for (; odd % 2 == 0; odd /= 2) ++twos;
    for (u64 base : {2u, 3u, 5u, 7u, 11u, 13u, 17u, 19u, 23u, 29u, 31u, 37u}) {
        u64 x = pow_mod(base, odd, n);
        if (x == 1) continue;
        int i = 0;
        for (; i < twos && x != n - 1; ++i) x = mul_mod(x, x, n);
        if (i == twos) return false;
    }
    return true;
}

TEST(Ntt64Constants, PrimesHoldEveryCoefficient) {
    for (const PrimeSet& set : prime_sets) {
        double bits = 0;
        for (unsigned i = 0; i < set.count; ++i) {
            const u64 p = set.primes[i];
            EXPECT_TRUE(is_prime(p)) << p;
            EXPECT_LT(p, u64{1} << (set.point_words == 1 ? 63 : 50));
            EXPECT_EQ((p - 1) & ((u64{1} << set.exponent) - 1), 0u);
            EXPECT_TRUE(!set.odd_radices || (p - 1) % 105 == 0);
            bits += std::log2(static_cast<double>(p));
        }
        const double longest = set.exponent + (set.odd_radices ? std::log2(7.0) : 0);
        EXPECT_GE(bits, 128 * set.point_words + longest + (set.point_words == 1 ? 1 : 4));
    }
}

TEST(Ntt64Constants, RootsHaveTheirExactOrders) {
    const Roots& roots = *roots_of(test_table());
    for (unsigned s = 0; s < 3; ++s) {
        const PrimeSet& set = prime_sets[s];
        for (unsigned i = 0; i < set.count; ++i) {
            const PrimeRoots& r = roots.of(s, i);
            const u64 p = set.primes[i];
            EXPECT_EQ(r.ladder[0], 1u);
            EXPECT_EQ(r.ladder[1], p - 1);
            for (unsigned k = 1; k <= set.exponent; ++k) {
                EXPECT_EQ(mul_mod(r.ladder[k], r.ladder[k], p), r.ladder[k - 1]) << k;
                EXPECT_EQ(mul_mod(r.ladder[k], r.inverse_ladder[k], p), 1u) << k;
            }
            for (unsigned j = 0; j < 3 && set.odd_radices; ++j) {
                EXPECT_NE(r.radix[j], 1u);
                EXPECT_EQ(pow_mod(r.radix[j], odd_radix(j), p), 1u);
            }
            // Each root is a square root of its parent's, or of minus its parent's.
            for (u64 q = 1; q < u64{1} << (inner_levels - 1); ++q) {
                const u64 parent = r.inner[q / 2];
                EXPECT_EQ(mul_mod(r.inner[q], r.inner[q], p), q % 2 == 0 ? parent : p - parent);
            }
        }
    }
}

TEST(Ntt64Table, HoldsTheRootsForLongProductsOnly) {
    GlobalTwiddleTable table{};
    make_table(table, 1 << 20);
    EXPECT_EQ(roots_of(table), nullptr);
    free_table(table);
    table = {};
    make_table(table, (u64{3} << 30) + 1);
    ASSERT_NE(roots_of(table), nullptr);
    EXPECT_EQ(std::memcmp(roots_of(table), roots_of(test_table()), roots_bytes), 0);
    EXPECT_GT(static_cast<const void*>(roots_of(table)), table.block);
    free_table(table);
}

TEST(Ntt64Plan, PicksTheSmallestLength) {
    const TransformEngine& engine = ntt64_engine();
    TransformPlan last;
    for (unsigned e = 3; e <= 45; ++e) {
        for (u64 r : {4u, 5u, 6u, 7u}) {
            const u64 points = r << e;
            const TransformPlan plan = engine.plan(64 * points);
            EXPECT_EQ(plan.points, points);
            EXPECT_EQ(plan.wrap_bits, 64 * points);
            EXPECT_EQ(plan.operand_bytes, 24 * points);
            EXPECT_LE(plan.product_bytes, plan.operand_bytes + plan.work_bytes);
            EXPECT_GE(plan.work_bytes, last.work_bytes);
            EXPECT_GE(plan.task_bytes, last.task_bytes);
            EXPECT_GE(plan.product_bytes, last.product_bytes);
            EXPECT_GT(engine.plan(64 * points + 1).points, points);
            EXPECT_GT(plan.table_bits, u64{3} << 30);
            last = plan;
        }
    }
    EXPECT_EQ(engine.plan(0).points, 8u);
    EXPECT_EQ(engine.plan(u64{7} << 54).points, u64{7} << 48);
    EXPECT_EQ(engine.plan((u64{7} << 54) + 1).points, u64{1} << 51);
    EXPECT_EQ(engine.plan(u64{7} << 59).points, u64{1} << 56);
    ConsoleCapture console(set_console_sink);
    EXPECT_THROW(engine.plan((u64{1} << 62) + 1), kv_exception);
}

// What every entry below needs: fenced operands and scratch of exactly the sizes that the plan asks for.
struct Workplace {
    Workplace(u64 min_bits, u64 tasks, std::size_t skew = 0)
        : plan(ntt64_engine().plan(min_bits)),
          tasks(tasks),
          a(plan.operand_bytes, skew),
          b(plan.operand_bytes, skew + 3),
          work(plan.work_bytes + tasks * plan.task_bytes, skew + 1),
          product_work(plan.product_bytes + tasks * plan.task_bytes, skew) {}

    Residue forward(const Scratch& operand, Operand source) const {
        return ntt64_engine().forward(plan, test_table(), source, operand.data(), work.data(), tasks);
    }
    bool intact() const { return a.intact() && b.intact() && work.intact() && product_work.intact(); }

    TransformPlan plan;
    u64 tasks;
    Scratch a, b, work, product_work;
};

template <class W>
Operand operand_of(const FencedWords<W>& words) {
    return {reinterpret_cast<const u8*>(words.data()), words.size() * sizeof(W) / 4};
}

// Bytes of the exact product, modulo 2^bits - 1 if it is longer; the value 0 stays all zeros.
template <class W>
std::vector<u8> expected_product(const FencedWords<W>& a, const FencedWords<W>& b, u64 bits) {
    std::vector<u8> bytes((a.size() + b.size()) * sizeof(W));
    reference::oracle_multiply_bytes(bytes.data(), reinterpret_cast<const u8*>(a.data()), a.size() * sizeof(W),
                                     reinterpret_cast<const u8*>(b.data()), b.size() * sizeof(W));
    const std::size_t n = bits / 8;
    std::vector<u8> folded(bytes.begin(), bytes.begin() + static_cast<long>(std::min(n, bytes.size())));
    folded.resize(n);
    unsigned carry = 0;
    for (std::size_t i = 0, at = n; at < bytes.size() || carry != 0; ++i, ++at) {
        carry += folded[i % n] + (at < bytes.size() ? bytes[at] : 0u);
        folded[i % n] = static_cast<u8>(carry);
        carry >>= 8;
    }
    return folded;
}

template <class W>
void check_product(u64 bits, u64 LA, u64 LB, Pattern pattern_a, Pattern pattern_b, u64 tasks, Rng& rng) {
    SCOPED_TRACE(testing::Message() << bits << " bits, " << LA << " x " << LB << " words of " << sizeof(W) << ", "
                                    << name_of(pattern_a) << " " << name_of(pattern_b) << ", tasks " << tasks);
    FencedWords<W> a(LA), b(LB);
    fill(pattern_a, a.data(), LA, rng);
    fill(pattern_b, b.data(), LB, rng);
    const Workplace run(bits, tasks, rng.below(64));
    const u64 words = run.plan.wrap_bits / 32;
    const bool whole = (LA + LB) * sizeof(W) <= run.plan.wrap_bits / 8;
    const std::vector<u8> want = expected_product(a, b, run.plan.wrap_bits);
    const std::vector<u8> want_square = expected_product(a, a, run.plan.wrap_bits);
    const TransformEngine& engine = ntt64_engine();

    FencedBytes out(4 * words);
    const auto same = [&](const std::vector<u8>& bytes) {
        return std::memcmp(out.data(), bytes.data(), bytes.size()) == 0;
    };
    Residue ra = run.forward(run.a, operand_of(a));
    engine.product(run.plan, test_table(), run.a.data(), ra, operand_of(b), {out.data(), 0, words}, whole,
                   run.product_work.data(), tasks);
    EXPECT_TRUE(same(want)) << "product";

    ra = run.forward(run.a, operand_of(a));
    const Residue rb = run.forward(run.b, operand_of(b));
    EXPECT_EQ(rb.value, reference::residue(b.data(), LB * sizeof(W), kernels::residue_modulus));
    engine.multiply(run.plan, test_table(), run.a.data(), run.b.data(), run.work.data(), tasks);
    const Residue expected{kernels::residue_mul(ra.value, rb.value)};
    const u64 first = rng.below(words), count = rng.between(1, words - first);
    FencedBytes window(4 * count);
    engine.inverse(run.plan, test_table(), run.a.data(), {window.data(), first, count}, whole ? &expected : nullptr,
                   run.work.data(), tasks);
    EXPECT_EQ(std::memcmp(window.data(), want.data() + 4 * first, 4 * count), 0)
        << "window " << first << " " << count;

    const bool square_whole = 2 * LA * sizeof(W) <= run.plan.wrap_bits / 8;
    ra = run.forward(run.a, operand_of(a));
    engine.product(run.plan, test_table(), run.a.data(), ra, {nullptr, 0}, {out.data(), 0, words}, square_whole,
                   run.product_work.data(), tasks);
    EXPECT_TRUE(same(want_square)) << "square";
    run.forward(run.a, operand_of(a));
    engine.multiply(run.plan, test_table(), run.a.data(), run.a.data(), run.work.data(), tasks);
    engine.inverse(run.plan, test_table(), run.a.data(), {out.data(), 0, words}, nullptr, run.work.data(), tasks);
    EXPECT_TRUE(same(want_square)) << "kept square";
    EXPECT_TRUE(run.intact());
}

class Ntt64 : public testing::TestWithParam<kernels::Levels> {
  protected:
    Ntt64() : scope_(GetParam()) {}
    void SetUp() override {
        const kernels::Levels active = kernels::active_levels();
        if (active.word != GetParam().word || active.vector != GetParam().vector)
            GTEST_SKIP() << "not on this machine";
    }

  private:
    LevelScope scope_;
};
INSTANTIATE_TEST_SUITE_P(Levels, Ntt64,
                         testing::Values(kernels::Levels{kernels::VectorLevel::scalar, kernels::WordLevel::scalar},
                                         kernels::Levels{kernels::VectorLevel::scalar, kernels::WordLevel::adx},
                                         kernels::Levels{kernels::VectorLevel::avx512ifma, kernels::WordLevel::adx}),
                         [](const auto& info) {
                             return std::string(info.param.vector == kernels::VectorLevel::scalar
                                                    ? kernels::level_name(info.param.word)
                                                    : kernels::level_name(info.param.vector));
                         });

TEST_P(Ntt64, EveryRadixFromItsFirstLength) {
    Rng rng(641);
    for (unsigned e = 3; e <= (long_products ? 9u : 4u); ++e) {
        for (u64 r : {1u, 3u, 5u, 7u}) {
            const u64 points = r << e;
            for (Pattern pattern : hard_patterns) {
                const u64 LA = rng.between(1, points);  // whole and wrapped products
                check_product<u64>(64 * points, LA, rng.between(1, points), pattern,
                                   hard_patterns[rng.below(std::size(hard_patterns))], rng.between(1, 3), rng);
                check_product<u32>(64 * points, rng.between(1, points), rng.between(1, points), pattern,
                                   Pattern::random, rng.between(1, 3), rng);
            }
            check_product<u64>(64 * points, points, points, Pattern::all_ones, Pattern::all_ones, 1, rng);
        }
    }
}

// Every rounding mode, and exceptions for inexact results, which a join estimates quotients with.
TEST_P(Ntt64, JoinsInItsOwnFloatingPointState) {
    Rng rng(649);
    const unsigned before = _mm_getcsr();
    for (const unsigned state : {0x0f80u, 0x3f80u, 0x5f80u, 0x7f80u}) {
        _mm_setcsr(state);
        check_product<u64>(64 * 128, 128, 128, Pattern::all_ones, Pattern::random, 2, rng);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(after, state);
    }
}

TEST_P(Ntt64, LongerTransformsInAllStages) {
    if (!long_products) GTEST_SKIP() << "no fast oracle";
    Rng rng(642);
    u64 tasks = 0;
    for (u64 points : {u64{7} << 10, u64{1} << 14, u64{1} << 15, u64{3} << 15, u64{5} << 14, u64{7} << 14}) {
        tasks = tasks % 3 + 1;
        check_product<u64>(64 * points, points / 2 + 1, points - points / 2 - 1, Pattern::all_ones, Pattern::all_ones,
                           tasks, rng);
    }
    check_product<u32>(64 << 15, 40'001, 2'345, Pattern::random, Pattern::runs, 3, rng);
}

// Small blocks and few rows nest the column stages as in the longest transforms, with every set of primes.
TEST_P(Ntt64, NestedStagesWithEverySet) {
    Rng rng(643);
    const bool narrow = kernels::active_levels().vector == kernels::VectorLevel::avx512ifma;
    for (unsigned set : {wide_set, longest_set, narrow_set}) {
        if (narrow != (set == narrow_set)) continue;
        for (unsigned radix = 1; radix <= (prime_sets[set].odd_radices ? 7u : 1u); radix += 2) {
            const unsigned block = narrow ? 6 : 4;
            for (unsigned e = narrow ? 6 : 3; e <= (long_products ? 13u : 8u); ++e) {
                const Shape shape{
                    .set = set, .radix = radix, .exponent = e, .block_exponent = block, .row_limit = 16};
                const u64 points = shape.points(), words = shape.bits() / 64, tasks = 1 + e % 3;
                SCOPED_TRACE(testing::Message() << "set " << set << ", " << radix << " << " << e);
                const WorkLayout layout = work_layout(shape);
                EXPECT_TRUE(e < block + 5 || layout.nested_stages >= 1);
                const Scratch work(layout.shared_bytes() + tasks * layout.part_bytes() + 63, rng.below(64));
                FencedWords<u64> a(words / 2), b(words - words / 2);
                fill(hard_patterns[e % std::size(hard_patterns)], a.data(), a.size(), rng);
                fill(e % 2 == 0 ? Pattern::all_ones : Pattern::random, b.data(), b.size(), rng);
                Transform transform(shape, test_table(), work.data(), tasks);
                std::vector<u64> x(transform.primes() * points), y(points);
                for (unsigned i = 0; i < transform.primes(); ++i) {
                    transform.forward(i, operand_of(a), x.data() + i * points);
                    transform.product(i, x.data() + i * points, operand_of(b), y.data());
                }
                transform.join(x.data());
                std::vector<u64> out(words);
                transform.joined(x.data(), 0, words, [&](u64 at, const u8* bytes, u64 count) {
                    std::memcpy(out.data() + at, bytes, 8 * count);
                });
                const std::vector<u8> want = expected_product(a, b, shape.bits());
                EXPECT_EQ(std::memcmp(out.data(), want.data(), want.size()), 0);
                EXPECT_EQ(transform.joined_residue(x.data()).value,
                          reference::residue(want.data(), want.size(), kernels::residue_modulus));
                EXPECT_TRUE(work.intact());
            }
        }
    }
}

TEST_P(Ntt64, OutputMayOverlapTheOperands) {
    Rng rng(644);
    FencedWords<u64> a(40), b(24), buffer(64);
    fill(Pattern::random, a.data(), 40, rng);
    fill(Pattern::random, b.data(), 24, rng);
    const std::vector<u8> want = expected_product(a, b, 64 * 64);
    std::copy_n(a.data(), 40, buffer.data());
    std::copy_n(b.data(), 24, buffer.data() + 40);
    const Workplace run(64 * 64, 1);
    const Residue ra = run.forward(run.a, {reinterpret_cast<const u8*>(buffer.data()), 80});
    ntt64_engine().product(run.plan, test_table(), run.a.data(), ra,
                           {reinterpret_cast<const u8*>(buffer.data() + 40), 48},
                           {reinterpret_cast<u8*>(buffer.data()), 0, 128}, true, run.product_work.data(), 1);
    EXPECT_EQ(std::memcmp(buffer.data(), want.data(), 512), 0);
}

// Words beyond the transform's length are zero.
TEST_P(Ntt64, WindowPastTheEndIsZero) {
    Rng rng(645);
    FencedWords<u32> a(15);
    fill(Pattern::random, a.data(), 15, rng);
    const Workplace run(64 * 8, 1);
    const Residue ra = run.forward(run.a, operand_of(a));
    std::vector<u32> out(20, 7);
    ntt64_engine().product(run.plan, test_table(), run.a.data(), ra, {nullptr, 0},
                           {reinterpret_cast<u8*>(out.data()), 14, 20}, false, run.product_work.data(), 1);
    const std::vector<u8> want = expected_product(a, a, 64 * 8);
    EXPECT_EQ(std::memcmp(out.data(), want.data() + 56, 8), 0);
    EXPECT_TRUE(std::all_of(out.begin() + 2, out.end(), [](u32 w) { return w == 0; }));
}

TEST_P(Ntt64, AFlippedBitIsNoticed) {
    Rng rng(646);
    ConsoleCapture console(set_console_sink);
    FencedWords<u64> a(100), b(92);
    fill(Pattern::random, a.data(), 100, rng);
    fill(Pattern::random, b.data(), 92, rng);
    for (int round = 0; round < 20; ++round) {
        const Workplace run(64 * 192, 1 + rng.below(2));
        const Residue ra = run.forward(run.a, operand_of(a));
        run.a.data()[rng.below(run.plan.operand_bytes)] ^= static_cast<u8>(1 << rng.below(7));
        std::vector<u64> out(192, 5);
        EXPECT_THROW(ntt64_engine().product(run.plan, test_table(), run.a.data(), ra, operand_of(b),
                                            {reinterpret_cast<u8*>(out.data()), 0, 384}, true,
                                            run.product_work.data(), run.tasks),
                     kv_exception);
        EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](u64 w) { return w == 5; }));
        EXPECT_NE(console.take().find("Redundancy Check Failed:  "), std::string::npos);
    }
}

}  // namespace
