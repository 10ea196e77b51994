// One bit flipped while a product is formed: in the transforms by every engine, and in all the scratch memory and the
// operands of a long product at its forks.

#include <gtest/gtest.h>

#include "kernels/residue61.h"
#include "multiply/dispatch.h"
#include "multiply/transform_checks.h"
#include "multiply/twiddle_table.h"
#include "support/fault_campaign.h"
#include "support/scratch.h"

#if defined(__linux__)
namespace kvt::multiply {
namespace {

using test::FaultCampaign;
using test::FaultCounts;
using test::FaultOutcome;
using test::MemoryRange;

// Where a fault meets a product by its three steps.
enum class Moment { never, before_product, kept_operand, after_product };

TEST(ProductFaults, NoEngineLetsAFalseTransformThrough) {
    const struct {
        const char* name;
        const TransformEngine& engine;
        u64 words;
    } rows[] = {{"product, FFT", fft_engine(), 600},
                {"product, N32", ntt32_engine(), 3000},
                {"product, N64", ntt64_engine(), 3000},
                {"product, direct", direct_engine(), 60}};
    GlobalTwiddleTable table{};
    make_table(table, (u64{3} << 30) + 1);  // with every transform's part
    FaultCampaign::print_head();
    for (const auto& row : rows) {
        const u64 n = row.words;
        const TransformEngine& engine = row.engine;
        const TransformPlan plan = engine.plan(128 * n);
        test::Rng rng(n);
        const auto A = test::words<u64>(test::Pattern::random, n, rng);
        const auto B = test::words<u64>(test::Pattern::random, n, rng);
        test::Scratch a(plan.operand_bytes), b(plan.operand_bytes), work(plan.work_bytes + plan.task_bytes);
        std::vector<u64> out(2 * n);
        const auto multiply = [&](Moment moment, u64 bit) {
            const auto flip_at = [&](Moment now, const test::Scratch& operand) {
                if (now == moment) test::flip_bit(operand.data(), bit % (8 * operand.size()));
            };
            const Residue ra = engine.forward(plan, table, operand_of(A.data(), n), a.data(), work.data(), 1);
            const Residue rb = engine.forward(plan, table, operand_of(B.data(), n), b.data(), work.data(), 1);
            const Residue expected{kernels::residue_mul(ra.value, rb.value)};
            flip_at(Moment::before_product, a);
            flip_at(Moment::kept_operand, b);
            engine.multiply(plan, table, a.data(), b.data(), work.data(), 1);
            flip_at(Moment::after_product, a);
            engine.inverse(plan, table, a.data(), window_of(out.data(), 0, 2 * n), &expected, work.data(), 1);
        };
        multiply(Moment::never, 0);
        const auto good = out;
        const auto campaign = [&](const char* where, Moment moment) {
            const FaultCounts counts = FaultCampaign::run(test::rounds(300), [&](u64 i) {
                multiply(moment, test::Rng(99 * i + 1).next());
                return out == good ? FaultOutcome::harmless : FaultOutcome::wrong;
            });
            FaultCampaign::print(row.name, where, counts);
            EXPECT_EQ(counts.wrong, 0u) << row.name << ' ' << where;
            EXPECT_EQ(counts.crashed, 0u) << row.name << ' ' << where;
            EXPECT_GT(counts.caught, counts.faults / 20) << row.name << ' ' << where;
        };
        campaign("transform of A", Moment::before_product);
        campaign("transform of B", Moment::kept_operand);
        campaign("product's transform", Moment::after_product);
    }
    free_table(table);
}

// Through the dispatcher, on two tasks. An operand that changes before it is read gives another product, rightly.
TEST(ProductFaults, AtTheForksOfALongProduct) {
    const u64 n = 9000;
    ensure_global_table(128 * n + 1024);
    u64 bytes = 0;
    mul_iPsize<u64>(bytes, 2 * n, 2);
    const test::Scratch memory(bytes);
    const BasicParameters params = memory.parameters(global_table(), 2);
    test::Rng rng(4);
    auto A = test::words<u64>(test::Pattern::random, n, rng);
    const auto B = test::words<u64>(test::Pattern::random, n, rng), same_A = A;
    std::vector<u64> out(2 * n);
    test::FaultClock clock;
    for (bool square : {false, true}) {
        const auto multiply = [&] {
            if (square) return sqr_p(params, out.data(), A.data(), n);
            mul_p(params, out.data(), A.data(), n, B.data(), n);
        };
        const u64 ticks = clock.ticks_of(multiply).size();
        const auto good = out;
        const auto campaign = [&](const char* where, MemoryRange range) {
            const FaultCounts counts = FaultCampaign::run(test::rounds(300), [&](u64 i) {
                test::Rng faults(31 * i + square);
                A = same_A;
                clock.run_armed(faults.below(ticks), range, faults.next(), multiply);
                return out == good ? FaultOutcome::harmless : FaultOutcome::wrong;
            });
            FaultCampaign::print(square ? "long square" : "long product", where, counts);
            EXPECT_EQ(counts.crashed, 0u) << where;
            return counts;
        };
        const FaultCounts scratch = campaign("scratch", {params.memory, params.memory_bytes});
        EXPECT_EQ(scratch.wrong, 0u);
        EXPECT_GT(scratch.caught, scratch.faults / 20);
        campaign("operand", {A.data(), 8 * n});
    }
}

}  // namespace
}  // namespace kvt::multiply
#endif
