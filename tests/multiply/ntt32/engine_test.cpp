// The 31-bit transforms behind the engine interface, against GMP, over rows, instruction sets and tasks.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/ntt32/layout.h"
#include "multiply/ntt32/root_tables.h"
#include "multiply/twiddle_table.h"
#include "reference/arithmetic.h"
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

INSTANTIATE_TEST_SUITE_P(Levels, Ntt32Engine, testing::ValuesIn(test::all_levels()),
                         [](const auto& info) { return std::string("level") + std::to_string(info.index); });

}  // namespace
