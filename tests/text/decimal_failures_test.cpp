// What goes wrong in a decimal conversion: texts, codes, and how each ends.

#include <gtest/gtest.h>

#include <vector>

#include "multiply/twiddle_table.h"
#include "platform/faults.h"
#include "support/child_process.h"
#include "support/expected_error.h"
#include "support/operands.h"
#include "support/scratch.h"
#include "text/decimal.h"
#include "text/radix.h"
#include "text/radix_powers.h"
#include "text/radix_write.h"

namespace kvt::text {
namespace {

using test::ChildCase;
using test::expect_error;
using test::ExpectedError;

template <class W>
class DecimalFailures : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(DecimalFailures, Widths);

TYPED_TEST(DecimalFailures, SeamsCarryWithinADigitAndRefuseTheRest) {
    using W = TypeParam;
    constexpr W base = Decimal<W>::base, largest = base - 1;
    const struct {
        std::vector<W> upper;
        W expected, actual;
        bool accepted;
        int carry;
        std::vector<W> after;
    } rows[] = {
        {{5, 7}, 9, 9, true, 0, {5, 7}},
        {{5, 7}, 9, 8, true, 0, {5, 7}},
        {{5, 7}, largest - 1, largest, true, 0, {5, 7}},
        {{5, 7}, largest, 0, true, 0, {5, 8}},
        {{5, largest}, largest, 0, true, 0, {6, 0}},
        {{largest, largest}, largest, 0, true, 1, {0, 0}},
        {{5, 7}, 0, largest, true, 0, {5, 6}},
        {{5, 0}, 0, largest, true, 0, {4, largest}},
        {{0, 0}, 0, largest, true, -1, {largest, largest}},
        {{5, 7}, 9, 11, false, 0, {5, 7}},
        {{5, 7}, largest, 1, false, 0, {5, 7}},
        {{5, 7}, 1, largest, false, 0, {5, 7}},
    };
    for (const auto& row : rows) {
        std::vector<W> digit_words = row.upper;
        digit_words.push_back(row.actual);
        int carry = 77;
        EXPECT_EQ(join_seam(digit_words.data(), 2, row.expected, base, carry), row.accepted);
        EXPECT_EQ(carry, row.carry) << +row.expected << ' ' << +row.actual;
        digit_words.pop_back();
        EXPECT_EQ(digit_words, row.after) << +row.expected << ' ' << +row.actual;
    }
}

TEST(DecimalFailures, SeamsAreReportedWithTheirBlock) {
    const char* top = "kvq_CBRv2_ci_btrf_T(): Overlap Mismatch";
    const char* lower = "kvh_CBRv2_ci_btrf_L(): Overlap Mismatch";
    expect_error({0x10000002, "Generic Exception", nullptr, top,
                  "kvq_CBRv2_ci_btrf_T(): Overlap Mismatch\nRL        96\nExpected  5\nActual    9\n"},
                 [] {
                     raise_seam_failure({true, false, 96, 5, 9});
                 });
    expect_error({0x10000002, "Generic Exception", nullptr, lower,
                  "kvh_CBRv2_ci_btrf_L(): Overlap Mismatch\nRL        48\nExpected  0\nActual    2\n"},
                 [] {
                     raise_seam_failure({true, true, 48, 0, 2});
                 });
}

// Digits of a fraction with a bit of one level's power wrong: a seam above or below that level sees it.
TYPED_TEST(DecimalFailures, AFalsePowerIsSeenAtASeam) {
    using W = TypeParam;
    const u64 n = 400;
    multiply::ensure_global_table(4 * n * 64);
    RadixPlan<W> plan;
    ASSERT_EQ(make_radix_plan<W>(plan, Decimal<W>::base, n, 1, Direction::write), 0);
    ASSERT_GE(plan.levels, 3u);
    test::Rng rng(21);
    u64 checked = 0;
    for (u64 level = 0; level < plan.levels; ++level) {
        test::Scratch memory(plan.scratch_bytes());
        std::vector<W> fraction = test::words<W>(test::Pattern::random, plan.fraction_words(n), rng), digits(n);
        u8* const work = memory.data() + plan.powers_bytes();
        compute_powers(plan, *multiply::global_table(), memory.data(), work);
        // The transform of a direct product is the words themselves, behind their count. Long transforms see a false
        // point on their own.
        if (plan.level[level].engine != &multiply::direct_engine()) break;
        ++checked;
        static_cast<u8*>(plan.level[level].power_transform)[39] ^= 0x08;
        expect_error(
            {0x10000002, "Generic Exception", nullptr, "kvq_CBRv2_ci_btrf_T(): Overlap Mismatch", "RL        "}, [&] {
                write_digit_words(plan, *multiply::global_table(), digits.data(), fraction.data(), fraction.size(),
                                  work);
            });
    }
    EXPECT_GT(checked, 0u);
}

TYPED_TEST(DecimalFailures, BasesBelowTwoAndShortScratchAreRefused) {
    using W = TypeParam;
    RadixPlan<W> plan;
    for (W base : {W{0}, W{1}}) EXPECT_EQ(make_radix_plan<W>(plan, base, 100, 1, Direction::write), -3);

    std::vector<W> words(2000, 3);
    const objects::BigInt<W> x{words.data(), words.size(), true, words.data(), words.size()};
    const TextSizes sizes = integer_decimal_sizes<W>(x.L, 1);
    std::vector<char> buffer(sizes.buffer_bytes, 'x');
    multiply::ensure_global_table(4 * x.L * 64);
    test::Scratch memory(sizes.scratch_bytes);
    BasicParameters params = memory.parameters(multiply::global_table());
    params.memory_bytes = x.L * sizeof(W);
    expect_error({1, "Buffer is too small.", "BigFloatR_pow_uW_sL_P()", "", "BigFloatR_pow_uW_sL_P()"},
                 [&] { to_string_dec(params, buffer.data(), x); });
    for (char c : buffer) ASSERT_EQ(c, 'x');
}

template <class W>
void write_long_integer(platform::Fault fault) {
    std::vector<W> words(2000, 3);
    const objects::BigInt<W> x{words.data(), words.size(), true, words.data(), words.size()};
    const TextSizes sizes = integer_decimal_sizes<W>(x.L, 1);
    std::vector<char> buffer(sizes.buffer_bytes);
    multiply::ensure_global_table(4 * x.L * 64);
    test::Scratch memory(sizes.scratch_bytes);
    platform::injected_fault = fault;
    to_string_dec(memory.parameters(multiply::global_table()), buffer.data(), x);
}

template <class W>
void write_float(i64 exp) {
    W word = 5;
    const objects::BigFloat<W> x{&word, 1, exp, true, &word, 1};
    char buffer[200];
    to_string_dec({}, buffer, x, 20);
}

const ChildCase no_counter{"no_counter", [] { write_long_integer<u64>(platform::Fault::performance_counter); }};
const ChildCase no_counter_32{"no_counter_32", [] { write_long_integer<u32>(platform::Fault::performance_counter); }};
const ChildCase with_counter{"with_counter", [] { write_long_integer<u64>(platform::Fault::none); }};
const ChildCase far_above{"far_above", [] { write_float<u64>((i64{1} << 48) / 64); }};
const ChildCase far_below{"far_below", [] { write_float<u32>(-(i64{1} << 62)); }};

TEST(DecimalFailures, WhatCannotGoOnEndsTheProcess) {
    const struct {
        const ChildCase& child;
        const char* output;
    } rows[] = {
        {no_counter, "Unable to access performance counter.\n"},
        {no_counter_32, "Unable to access performance counter.\n"},
        {far_above, "BitToDec(): Float-Indexing Limit Exceeded\n"},
        {far_below, "BitToDec(): Float-Indexing Limit Exceeded\n"},
    };
    for (const auto& row : rows) {
        const test::ChildEnd end = row.child.run();
        EXPECT_TRUE(end.exited_with(1)) << row.output;
        EXPECT_EQ(end.output, row.output);
    }
    EXPECT_TRUE(with_counter.run().exited_with(ChildCase::returned));
}

TYPED_TEST(DecimalFailures, PhasesAreTimed) {
    using W = TypeParam;
    std::vector<W> words(2000, 3);
    const objects::BigInt<W> x{words.data(), words.size(), true, words.data(), words.size()};
    const TextSizes sizes = integer_decimal_sizes<W>(x.L, 1);
    std::vector<char> buffer(sizes.buffer_bytes);
    multiply::ensure_global_table(4 * x.L * 64);
    test::Scratch memory(sizes.scratch_bytes);
    PhaseSeconds times;
    to_string_dec_scaled(memory.parameters(multiply::global_table()), buffer.data(), x, &times);
    EXPECT_GT(times.scaling, 0);
    EXPECT_GT(times.squaring, 0);
    EXPECT_GT(times.converting, 0);
}

}  // namespace
}  // namespace kvt::text
