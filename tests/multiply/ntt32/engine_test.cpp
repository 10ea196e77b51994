// The 31-bit transforms behind the engine interface, against GMP, over rows, instruction sets and tasks.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/ntt32/layout.h"
#include "multiply/ntt32/prime_sets.h"
#include "multiply/ntt32/root_tables.h"
#include "multiply/twiddle_table.h"
#include "reference/arithmetic.h"
#include "support/console_capture.h"
#include "support/fenced.h"
#include "support/levels.h"
#include "support/operands.h"
#include "support/scratch.h"

using namespace kvt;
using namespace kvt::multiply;
using kvt::test::Pattern;

namespace {

// A table with both number-theoretic sections, for products of up to `bits` bits on either list.
class Roots {
  public:
    explicit Roots(u64 bits) : coarse_(build(ntt32::coarse_list, bits)), fine_(build(ntt32::fine_list, bits)) {
        table.covered = bits;
        table.section[1] = coarse_.data();
        table.section[2] = fine_.data();
    }
    GlobalTwiddleTable table{};

  private:
    static std::vector<u64> build(const ntt32::RowList& list, u64 bits) {
        u64 words[ntt32::RootTables::words] = {};
        ntt32::RootTables tables(list, words);
        tables.configure(bits);
        std::vector<u64> section(tables.bytes() / 8);
        tables.fill(section.data());
        return section;
    }
    std::vector<u64> coarse_, fine_;
};

// Plans for a row of either list, by its number.
TransformPlan plan_of_row(u64 number) {
    TransformPlan plan = ntt32_engine().plan(1);
    ntt32::plan_row(plan, number);
    return plan;
}

// Every way through the engine for one pair of operands.
void check_product(const TransformPlan& plan, const Roots& roots, const std::vector<u32>& a,
                   const std::vector<u32>& b, bool square, u64 tasks) {
    const TransformEngine& engine = ntt32_engine();
    const std::vector<u32> expected = reference::product(a, square ? a : b);
    const u64 n = expected.size();
    test::FencedWords<u32> fa(a.size()), fb(b.size()), out(n);
    std::copy(a.begin(), a.end(), fa.begin());
    std::copy(b.begin(), b.end(), fb.begin());
    const Operand oa{reinterpret_cast<const u8*>(fa.data()), a.size()};
    const Operand ob{square ? nullptr : reinterpret_cast<const u8*>(fb.data()), square ? 0 : b.size()};
    const Window window{reinterpret_cast<u8*>(out.data()), 0, n};

    test::Scratch operand(plan.operand_bytes, 8), work(plan.product_bytes + tasks * plan.task_bytes, 24);
    test::Scratch forward_work(plan.work_bytes + tasks * plan.task_bytes, 40);
    const Residue ra = engine.forward(plan, roots.table, oa, operand.data(), forward_work.data(), tasks);
    engine.product(plan, roots.table, operand.data(), ra, ob, window, true, work.data(), tasks);
    ASSERT_TRUE(operand.intact() && work.intact() && forward_work.intact());
    for (u64 i = 0; i < n; ++i) ASSERT_EQ(out[i], expected[i]) << "product, word " << i << " of " << n;

    std::fill(out.begin(), out.end(), 0xa5a5a5a5);
    test::Scratch second(plan.operand_bytes, 0);
    engine.forward(plan, roots.table, oa, operand.data(), forward_work.data(), tasks);
    Residue rb = ra;
    if (!square) rb = engine.forward(plan, roots.table, ob, second.data(), forward_work.data(), tasks);
    engine.multiply(plan, roots.table, operand.data(), square ? operand.data() : second.data(), forward_work.data(),
                    tasks);
    const Residue residue{kernels::residue_mul(ra.value, rb.value)};
    engine.inverse(plan, roots.table, operand.data(), window, &residue, forward_work.data(), tasks);
    ASSERT_TRUE(operand.intact() && second.intact() && forward_work.intact());
    for (u64 i = 0; i < n; ++i) ASSERT_EQ(out[i], expected[i]) << "kept operands, word " << i << " of " << n;

    engine.forward(plan, roots.table, oa, operand.data(), forward_work.data(), tasks);
    for (int round = 0; round < 2; ++round) {
        std::fill(out.begin(), out.end(), 0xa5a5a5a5);
        engine.product_keeping(plan, roots.table, operand.data(), ra, square && round == 0 ? oa : ob, second.data(),
                               window, true, forward_work.data(), tasks);
        ASSERT_TRUE(operand.intact() && second.intact() && forward_work.intact());
        for (u64 i = 0; i < n; ++i) ASSERT_EQ(out[i], expected[i]) << "one operand kept, word " << i << " of " << n;
    }
}

class Ntt32Engine : public testing::TestWithParam<kernels::Levels> {};

TEST_P(Ntt32Engine, EveryRowAtItsCapacity) {
    const test::LevelScope scope(GetParam());
    const u64 limit = u64{1} << (KVNUM_HAVE_GMP ? 20 : 17);
    const Roots roots(limit);
    test::Rng rng(1);
    for (u64 number = 0; number < 208; ++number) {
        const TransformPlan plan = plan_of_row(number);
        if (plan.capacity_bits > limit) continue;
        const ntt32::Row row = ntt32::row_of(number);
        SCOPED_TRACE(testing::Message() << "row " << number << ": " << int{row.count} << "," << int{row.radix} << ","
                                        << int{row.exponent});
        const u64 n = plan.capacity_bits / 32, na = n / 2 + rng.below(n / 4);
        for (Pattern pattern : {Pattern::random, Pattern::all_ones}) {
            const std::vector<u32> a = test::words<u32>(pattern, na, rng), b = test::words<u32>(pattern, n - na, rng);
            check_product(plan, roots, a, b, false, 1 + number % 3);
            const std::vector<u32> c = test::words<u32>(pattern, n / 2, rng);
            check_product(plan, roots, c, c, true, 1 + number % 3);
            if (HasFatalFailure()) return;
        }
    }
}

// From 2^17 points a branch on there is a top stage over columns of rows.
TEST_P(Ntt32Engine, RowsWithATopStage) {
    const test::LevelScope scope(GetParam());
    if (!KVNUM_HAVE_GMP) GTEST_SKIP();
    const u64 limit = u64{9} << 20;  // bits; the soak run goes further
    const Roots roots(u64{1} << 26);
    test::Rng rng(3);
    for (u64 number = 0; number < 208; ++number) {
        const ntt32::Row row = ntt32::row_of(number);
        const TransformPlan plan = plan_of_row(number);
        if (row.exponent < 17 || plan.capacity_bits > limit * test::rounds(1)) continue;
        SCOPED_TRACE(testing::Message() << "row " << number);
        const u64 n = plan.capacity_bits / 32;
        for (Pattern pattern : {Pattern::random, Pattern::all_ones}) {
            const bool square = pattern == Pattern::all_ones && number % 2 == 0;
            const std::vector<u32> a = test::words<u32>(pattern, square ? n / 2 : n / 2 + 5, rng);
            const std::vector<u32> b = test::words<u32>(pattern, n - a.size(), rng);
            check_product(plan, roots, a, b, square, 1 + number % 3);
            if (HasFatalFailure()) return;
        }
    }
}

// The plan made for a length: at a row's capacity, one word more, and much less; every pattern, unbalanced operands.
TEST_P(Ntt32Engine, PlansHoldTheirProducts) {
    const test::LevelScope scope(GetParam());
    const u64 limit = u64{1} << (KVNUM_HAVE_GMP ? 19 : 16);
    const Roots roots(2 * limit);
    test::Rng rng(4);
    for (u64 number = 0; number < 104; ++number) {
        const u64 capacity = ntt32::row_of(number).capacity_bits();
        if (capacity > limit) break;
        for (u64 n : {capacity / 32, capacity / 32 + 1}) {
            const TransformPlan plan = ntt32_engine().plan(32 * n);
            ASSERT_GE(plan.capacity_bits, 32 * n);
            ASSERT_LE(plan.table_bits, 32 * n);
            const Pattern pattern = test::hard_patterns[number % std::size(test::hard_patterns)];
            const u64 nb = number % 2 == 0 ? n / 2 : 1 + rng.below(n / 3);
            check_product(plan, roots, test::words<u32>(pattern, n - nb, rng), test::words<u32>(pattern, nb, rng),
                          false, 1 + rng.below(3));
            if (HasFatalFailure()) return;
        }
    }
    const std::vector<u32> one{1}, word{0xffffffff};
    check_product(ntt32_engine().plan(64), roots, one, one, false, 1);
    check_product(ntt32_engine().plan(64), roots, word, word, true, 2);
}

// Parts of a product, from any address to any address; carries that run through words outside the window.
TEST_P(Ntt32Engine, WindowsOfAProduct) {
    const test::LevelScope scope(GetParam());
    const TransformEngine& engine = ntt32_engine();
    const Roots roots(u64{1} << 17);
    test::Rng rng(5);
    const u64 n = 1600;
    for (const bool ones : {false, true}) {
        // (2^k - 1)(2^k + 1) = 2^(2k) - 1, and one more on top of it through the carries of all parts
        std::vector<u32> a = test::words<u32>(ones ? Pattern::all_ones : Pattern::random, n, rng), b = a;
        if (ones) {
            std::fill(b.begin(), b.end(), 0);
            b[0] = 1;
            b.push_back(1);
        }
        const std::vector<u32> expected = reference::product(a, b);
        const TransformPlan plan = engine.plan(32 * expected.size());
        for (u64 round = 0; round < test::rounds(40); ++round) {
            const u64 first = rng.below(expected.size() + 3), count = rng.below(expected.size() + 8),
                      tasks = 1 + round % 5;
            std::vector<u8> skewed(4 * a.size() + 1), out(4 * count + 3, 0xa5);
            std::memcpy(skewed.data() + 1, a.data(), 4 * a.size());
            test::Scratch operand(plan.operand_bytes, 8), work(plan.product_bytes + tasks * plan.task_bytes, 24);
            const Residue ra =
                engine.forward(plan, roots.table, {skewed.data() + 1, a.size()}, operand.data(), work.data(), tasks);
            engine.product(plan, roots.table, operand.data(), ra, {reinterpret_cast<const u8*>(b.data()), b.size()},
                           {out.data() + 1, first, count}, true, work.data(), tasks);
            for (u64 i = 0; i < count; ++i) {
                u32 word;
                std::memcpy(&word, out.data() + 1 + 4 * i, 4);
                ASSERT_EQ(word, first + i < expected.size() ? expected[first + i] : 0) << first << " + " << i;
            }
            ASSERT_EQ(out[0], 0xa5);
            ASSERT_EQ(out[4 * count + 1], 0xa5);
        }
    }
}

TEST_P(Ntt32Engine, AFlippedBitIsFound) {
    const test::LevelScope scope(GetParam());
    const test::ConsoleCapture quiet(set_console_sink);
    const TransformEngine& engine = ntt32_engine();
    const Roots roots(u64{1} << 17);
    test::Rng rng(6);
    const std::vector<u32> a = test::words<u32>(Pattern::random, 1000, rng);
    const TransformPlan plan = engine.plan(64 * a.size());
    for (int round = 0; round < 10; ++round) {
        std::vector<u8> operand(plan.operand_bytes), work(plan.product_bytes + plan.task_bytes);
        std::vector<u32> out(2 * a.size());
        const Operand oa{reinterpret_cast<const u8*>(a.data()), a.size()};
        const Residue ra = engine.forward(plan, roots.table, oa, operand.data(), work.data(), 1);
        operand[64 + 4 * rng.below(plan.points)] ^= 1u << rng.below(8);
        EXPECT_THROW(engine.product(plan, roots.table, operand.data(), ra, oa,
                                    {reinterpret_cast<u8*>(out.data()), 0, out.size()}, true, work.data(), 1),
                     kv_exception);
    }
}

// Residues at their bounds, which no random operand reaches: every kernel against the baseline's.
TEST_P(Ntt32Engine, BlocksOfExtremeResidues) {
    const test::LevelScope scope(GetParam());
    const ntt32::KernelTable& kernels = ntt32::active_kernels();
    const Roots roots(u64{1} << 22);
    test::Rng rng(7);
    for (u64 number : {0, 2, 14, 25, 49, 53}) {
        const ntt32::Row row = ntt32::row_of(number);
        const ntt32::Layout layout(row, false);
        const ntt32::Shape& shape = layout.shape;
        const u64 n = u64{1} << shape.block_log, at = layout.shape.rows() - 1;
        const ntt32::PrimeRoots prime_roots = ntt32::roots_in(roots.table.section[2], row.set(), 0);
        const u32 p = ntt32::prime_sets[row.set()].primes[0];
        const ntt32::Prime prime{p, prime_roots.inner, prime_roots.steps};
        std::vector<u64> scratch_words(layout.task_bytes() / 8 + 16);
        void* const scratch = ntt32::aligned(scratch_words.data(), ntt32::alignment);
        for (int kind = 0; kind < 4; ++kind) {
            std::vector<u32> from(n), second(n);
            for (u64 i = 0; i < n; ++i) {
                from[i] = kind == 0 || (kind > 1 && rng.below(2) == 0) ? p - 1 : 0;
                second[i] = kind < 2 || (kind > 1 && rng.below(4) == 0) ? p - 1 : kind == 3 ? 1 : 0;
            }
            if (kind == 1) from[0] = from[n - 1] = p - 1;
            const auto run = [&](const ntt32::KernelTable& table) {
                std::vector<u32> x(n + 16), y(n + 16);
                u32* const a = static_cast<u32*>(ntt32::aligned(x.data(), ntt32::alignment));
                u32* const b = static_cast<u32*>(ntt32::aligned(y.data(), ntt32::alignment));
                std::copy(from.begin(), from.end(), a);
                std::copy(second.begin(), second.end(), b);
                table.block_forward(prime, shape, {}, a, at, scratch);
                table.block_product(prime, shape, {}, a, b, a, at, scratch);
                const u32 r = static_cast<u32>((u64{1} << table.r_bits) % p);
                std::vector<u32> out(n);
                for (u64 i = 0; i < n; ++i) out[i] = ntt32::mul_mod(a[i] % p, r, p);
                return out;
            };
            const std::vector<u32> expected = run(ntt32::ntt32_scalar), got = run(kernels);
            const bool negated = kernels.r_bits == 52;  // its pointwise product changes the sign
            for (u64 i = 0; i < n; ++i)
                ASSERT_EQ(negated ? (p - got[i]) % p : got[i], expected[i]) << "row " << number << " kind " << kind;
        }
    }
}

// words modulo 2^(32 n) - sign, n words and the top bit.
std::vector<u32> wrapped(const std::vector<u32>& words, u64 n, int sign) {
    std::vector<u32> out(n + 1);
    for (u64 from = 0, negative = 0; from < words.size(); from += n, negative ^= sign < 0) {
        i64 carry = 0;
        for (u64 i = 0; i < n; ++i) {
            const i64 x = from + i < words.size() ? words[from + i] : 0;
            carry += i64{out[i]} + (negative ? -x : x);
            out[i] = static_cast<u32>(carry);
            carry >>= 32;
        }
        while (carry != 0) {  // over * 2^(32 n) = sign * over
            i64 more = sign * carry;
            carry = 0;
            for (u64 i = 0; i < n && more != 0; ++i) {
                more += out[i];
                out[i] = static_cast<u32>(more);
                more >>= 32;
            }
            carry = more;
            if (sign < 0 && carry != 0 && std::all_of(out.begin(), out.end() - 1, [](u32 w) { return w == 0; })) {
                out[n] = 1;
                carry = 0;
            }
        }
    }
    return out;
}

TEST_P(Ntt32Engine, WrappedProductsOfWholeOperands) {
    const test::LevelScope scope(GetParam());
    const u64 limit = u64{1} << (KVNUM_HAVE_GMP ? 19 : 16);
    const Roots roots(limit);
    test::Rng rng(2);
    for (u64 number = 0; number < 104; ++number) {
        for (const bool negacyclic : {false, true}) {
            const TransformEngine& engine = negacyclic ? ntt32_negacyclic_engine() : ntt32_engine();
            TransformPlan plan = engine.plan(1);
            ntt32::plan_row(plan, number, negacyclic);
            if (plan.capacity_bits > limit) continue;
            const u64 n = plan.wrap_bits / 32, tasks = 1 + number % 3;
            SCOPED_TRACE(testing::Message() << "row " << number << (negacyclic ? " negacyclic" : " cyclic"));
            for (Pattern pattern : {Pattern::random, Pattern::all_ones, Pattern::sparse, Pattern::runs}) {
                std::vector<u32> a = test::words<u32>(pattern, n, rng), b = test::words<u32>(pattern, n, rng);
                if (pattern == Pattern::runs) {  // 2^(32 n - 32) * 2^32 = -1
                    std::fill(a.begin(), a.end(), 0);
                    std::fill(b.begin(), b.end(), 0);
                    a[n - 1] = b[1] = 1;
                }
                test::Scratch x(plan.operand_bytes, 8), y(plan.operand_bytes, 16);
                test::Scratch work(plan.product_bytes + tasks * plan.task_bytes, 24);
                std::vector<u32> out(n + 1, 0xa5a5a5a5);
                const Operand oa{reinterpret_cast<const u8*>(a.data()), n},
                    ob{reinterpret_cast<const u8*>(b.data()), n};
                const Residue ra = engine.forward(plan, roots.table, oa, x.data(), work.data(), tasks);
                engine.product(plan, roots.table, x.data(), ra, ob, {reinterpret_cast<u8*>(out.data()), 0, n + 1},
                               false, work.data(), tasks);
                std::vector<u32> expected = wrapped(reference::product(a, b), n, negacyclic ? -1 : 1);
                ASSERT_TRUE(x.intact() && work.intact());
                if (!negacyclic && out != expected) {  // 2^(32 n) - 1 stands for zero as well
                    const auto all = [&](const std::vector<u32>& v, u32 word) {
                        return std::all_of(v.begin(), v.end() - 1, [&](u32 w) { return w == word; });
                    };
                    ASSERT_TRUE((all(out, 0) || all(out, 0xffffffff)) &&
                                (all(expected, 0) || all(expected, 0xffffffff)));
                    continue;
                }
                for (u64 i = 0; i <= n; ++i) ASSERT_EQ(out[i], expected[i]) << "word " << i << " of " << n;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, Ntt32Engine, testing::ValuesIn(test::all_levels()),
                         [](const auto& info) { return std::string("level") + std::to_string(info.index); });

}  // namespace
