// Every error of the inverse operations: text, code, what is printed, and how it ends.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "inverse/direct.h"
#include "inverse/inverse_sqrt.h"
#include "inverse/power.h"
#include "inverse/progress.h"
#include "inverse/reciprocal.h"
#include "inverse/sizes.h"
#include "multiply/transform_helper.h"
#include "support/child_process.h"
#include "support/expected_error.h"
#include "support/operands.h"
#include "support/scratch.h"

namespace kvt::inverse {
namespace {

using test::ChildCase;
using test::expect_error;
using test::ExpectedError;

template <class W>
using Number = objects::BigFloat<W>;

// A number with memory of its own, and a scratch for every use.
template <class W>
struct Bench {
    explicit Bench(u64 p) : memory(reciprocal_sizes<W>(p, 1).transform_bytes + 4096), p(p) {
        params = memory.parameters();
        test::Rng rng(5);
        test::fill(test::Pattern::random, x.data(), x.size(), rng);
        x.back() |= 1;
    }
    Number<W> operand() { return {x.data(), x.size(), -3, true, x.data(), x.size()}; }
    Number<W> result(u64 words) { return {out.data(), 0, 0, true, out.data(), words}; }
    WordScratch<W> scratch(u64 n) { return {words.data(), n}; }

    test::Scratch memory;
    BasicParameters params;
    u64 p;
    std::vector<W> x = std::vector<W>(6), out = std::vector<W>(200), words = std::vector<W>(400);
};

ExpectedError divide_by_zero(const char* text) { return {-3, "Generic Exception", nullptr, text, text}; }
ExpectedError too_small(const char* location) { return {1, "Buffer is too small.", location, "", location}; }
ExpectedError failed(const char* text, const char* printed) {
    return {2, "Generic Exception", nullptr, text, printed};
}

template <class W>
class InverseFailures : public testing::Test {};
using Widths = testing::Types<u32, u64>;
TYPED_TEST_SUITE(InverseFailures, Widths);

TYPED_TEST(InverseFailures, ZeroOperands) {
    using W = TypeParam;
    for (u64 p : {0, 5, 12}) {
        Bench<W> bench(p);
        const Number<W> zero{nullptr, 0, 0, true, nullptr, 0}, x = bench.operand();
        Number<W> out = bench.result(200);
        const auto reciprocal_zero = divide_by_zero("BigFloatR_rcp_E(): Divide-by-Zero");
        expect_error(reciprocal_zero, [&] { reciprocal(bench.params, out, zero, p, bench.scratch(400), nullptr); });
        expect_error(reciprocal_zero, [&] { divide(bench.params, out, x, zero, p, bench.scratch(400), nullptr); });
        expect_error(reciprocal_zero,
                     [&] { power_signed<W>(bench.params, out, W{0}, -3, p, bench.scratch(400), nullptr); });
        expect_error(divide_by_zero("BigFloatR_invsqrt_uW_E(): Divide-by-Zero"),
                     [&] { inverse_sqrt<W>(bench.params, out, W{0}, p, bench.scratch(400), nullptr); });
        for (const Number<W>& divisor : {x, zero}) {
            out.T = bench.x.data();
            divide(bench.params, out, zero, divisor, p, bench.scratch(400), nullptr);
            EXPECT_EQ(out.L, 0u);
            EXPECT_EQ(out.T, out.buffer);
            EXPECT_TRUE(out.sign);
        }
    }
}

TYPED_TEST(InverseFailures, PowersBeyondTheExponentsAreRefused) {
    using W = TypeParam;
    constexpr const char* text = "The power's exponent is too large.";
    const ExpectedError too_large{6, "Generic Exception", "BigFloatR_pow_uW_uL()", text, text};
    const W most = static_cast<W>(~W{0});
    for (u64 p : {4, 60}) {
        Bench<W> bench(2 * p);
        Number<W> out = bench.result(200);
        for (u64 n : {u64{1} << 62, ~u64{0}})
            expect_error(too_large, [&] { power<W>(bench.params, out, most, n, p, nullptr); });
        expect_error(too_large,
                     [&] { power_signed<W>(bench.params, out, most, INT64_MIN, p, bench.scratch(400), nullptr); });
    }
    // Just below, either way: powers of two are exact.
    Bench<W> bench(4);
    Number<W> out = bench.result(200);
    constexpr i64 words = i64{1} << 55;
    power_signed<W>(bench.params, out, W{16}, -words * (word_bits<W> / 4), 4, bench.scratch(400), nullptr);
    EXPECT_EQ(out.exp + static_cast<i64>(out.L), 1 - words);
    EXPECT_EQ(out.T[out.L - 1], 1u);
    const u64 n = (u64{1} << 62) - 1;
    power<W>(bench.params, out, most, n, 4, nullptr);
    EXPECT_GT(out.exp + static_cast<i64>(out.L), static_cast<i64>(n - (n >> 28)));
    EXPECT_LE(out.exp + static_cast<i64>(out.L), static_cast<i64>(n));
}

TYPED_TEST(InverseFailures, ShortBuffersLeaveTheResultUntouched) {
    using W = TypeParam;
    for (u64 p : {0, 1, 5, 9, 10, 20}) {
        Bench<W> bench(p);
        const Number<W> x = bench.operand();
        const BasicParameters whole = bench.params;
        bench.params.table = nullptr;  // the number's own buffers come first
        Number<W> out = bench.result(p == 0 ? 1 : p + 2);
        expect_error(too_small(p == 0   ? "BigFloat::set_double()"
                               : p < 10 ? "BigFloatR_rcp_E()"
                                        : "BigFloatR_rcp_P()"),
                     [&] { reciprocal(bench.params, out, x, p, bench.scratch(p + 6), nullptr); });
        out = bench.result(p == 0 ? 1 : p + 3);
        expect_error(too_small(p == 0   ? "BigFloat::set_double()"
                               : p < 10 ? "BigFloatR_invsqrt_uW_E()"
                                        : "BigFloatR_invsqrt_uW_P()"),
                     [&] { inverse_sqrt<W>(bench.params, out, W{7}, p, bench.scratch(p + 7), nullptr); });
        if (p != 0 && p < 10) {
            out = bench.result(p);
            const W seven = 7, three = 3;
            const Number<W> a{const_cast<W*>(&seven), 1, 0, true, nullptr, 0},
                b{const_cast<W*>(&three), 1, 0, true, nullptr, 0};
            expect_error(too_small("BigFloat::set_mul()"),
                         [&] { divide(bench.params, out, a, b, p, bench.scratch(2 * p + 9), nullptr); });
        }
        out = bench.result(1);
        for (W base : {0, 3})
            expect_error(too_small("BigFloatR_pow_uW_sL_P()"),
                         [&] { power_signed<W>(bench.params, out, base, -5, p, bench.scratch(2 * p + 8), nullptr); });
        out = bench.result(p + 3);
        if (p >= 10) {
            const u64 h = (p + 1) / 2;
            expect_error(too_small("BigFloatR_rcp_P()"),
                         [&] { reciprocal(bench.params, out, x, p, bench.scratch(2 * h + 4), nullptr); });
            expect_error(too_small("BigFloatR_div_P()"),
                         [&] { divide(bench.params, out, x, x, p, bench.scratch(p + 2 * h + 9), nullptr); });
            BasicParameters small = whole;
            small.memory_bytes = multiply::TransformHelper<W>::needs(p + 8, 1).scratch_bytes - 1;
            expect_error(too_small("TransformHelper::TransformHelper()"),
                         [&] { reciprocal(small, out, x, p, bench.scratch(p + 6), nullptr); });
        }
        for (W word : bench.out) ASSERT_EQ(word, 0u) << "p " << p;
    }
}

// The seed in 32-bit words: two words, and a third where the shift needs one.
TEST(InverseFailures32, ASeedMayGrowByAWord) {
    Bench<u32> bench(0);
    bench.x = {1};
    Number<u32> out = bench.result(2);
    expect_error(too_small("BigFloat::operator*=()"),
                 [&] { reciprocal(bench.params, out, bench.operand(), 0, bench.scratch(6), nullptr); });
    expect_error(too_small("BigFloat::operator*=()"),
                 [&] { inverse_sqrt<u32>(bench.params, out, 1, 0, bench.scratch(7), nullptr); });
    out = bench.result(3);
    reciprocal(bench.params, out, bench.operand(), 0, bench.scratch(6), nullptr);
    EXPECT_EQ(out.T[out.L - 1], 1u);
}

// R times num / 2^shift: an approximation that is wrong by a known factor.
template <class W>
SmallFloat<W> falsified(SmallFloat<W> R, W num, unsigned halvings) {
    scale(R, num);
    for (unsigned i = 0; i < halvings; ++i) {
        R.exp -= 1;
        scale(R, static_cast<W>(W{1} << (word_bits<W> - 1)));
        while (R.w[0] == 0) R.drop_low(1);
    }
    return R;
}

TYPED_TEST(InverseFailures, DirectEnginesReportAFalsifiedApproximation) {
    using W = TypeParam;
    Bench<W> bench(8);
    const SmallFloat<W> x = top_words(bench.x.data(), bench.x.size(), i64{0}, 8);
    const SmallFloat<W> R =
        reciprocal_direct<W>(reciprocal_direct_texts, {bench.x.data(), bench.x.size(), 0, true, nullptr, 0}, 8);
    const auto rcp = [&](W num, unsigned halvings) {
        fail_reciprocal(reciprocal_direct_texts, x, falsified(R, num, halvings), 8, 77);
    };
    const char* computation_failed = "BigFloatR_rcp_E(): Computation Failed";
    expect_error(failed(computation_failed, "BigFloatR_rcp_E(): Convergence Failure\ntop  0x4d"), [&] { rcp(1, 0); });
    expect_error(failed(computation_failed, "BigFloatR_rcp_E(): Convergence Failure\ntop  0x"), [&] { rcp(5, 0); });
    expect_error(failed(computation_failed, "  -4\nBigFloatR_rcp_E(): Under-Estimate -> Convergence Failure\n"),
                 [&] { rcp(1, 1); });
    expect_error(failed("Reciprocal_E(): Computation Failed",
                        "  -4\nBigFloatR_rcp_E(): Over-Estimate -> Convergence Failure\n"),
                 [&] { rcp(3, 1); });

    const SmallFloat<W> S = inverse_sqrt_direct(W{10}, 4, nullptr);
    const auto root = [&](W num, unsigned halvings) {
        SmallFloat<W> wrong = falsified(S, num, halvings);
        inverse_sqrt_direct_step(inverse_sqrt_direct_texts, W{10}, wrong, u64{8}, u64{4}, nullptr);
    };
    const char* guard = "BigFloatR_invsqrt_uW_E(): Convergence Failure";
    const char* under = "BigFloatR_invsqrt_uW_E(): Under-Estimate -> Convergence Failure";
    const char* over = "BigFloatR_invsqrt_uW_E(): Over-Estimate -> Convergence Failure";
    expect_error(failed(guard, guard), [&] { root(3, 0); });
    expect_error(failed(under, under), [&] { root(1, 1); });
    expect_error(failed(over, over), [&] { root(5, 2); });
}

// Steps over transforms, from an approximation with a fault at a chosen word below its top.
TYPED_TEST(InverseFailures, TransformEnginesReportAFalsifiedApproximation) {
    using W = TypeParam;
    const u64 p = 20, h = 10;
    Bench<W> bench(p);
    const Number<W> x = bench.operand();
    Number<W> R = bench.result(h + 4);
    std::vector<W> good(h + 4), T(h + 2), Q(h + 2), D(h + 4), result(p + 4);
    R.buffer = R.T = good.data();
    reciprocal(bench.params, R, x, h, bench.scratch(100), nullptr);
    const auto from_faulty = [&](u64 below_top, i64 change, auto&& step) {
        const u64 drop = R.L - (h + 2);
        std::vector<W> bad(good.begin() + static_cast<i64>(drop), good.begin() + static_cast<i64>(R.L));
        bad[bad.size() - 1 - below_top] += static_cast<W>(change);
        const Number<W> faulty{bad.data(), bad.size(), R.exp + static_cast<i64>(drop), true, bad.data(), bad.size()};
        Number<W> out{result.data(), 0, 0, true, result.data(), result.size()};
        step(out, faulty);
    };
    const auto rcp = [&](Number<W>& out, const Number<W>& faulty) {
        reciprocal_step(bench.params, out, x, faulty, p, T.data(), nullptr);
    };
    const char* computation_failed = "BigFloatR_rcp_P(): Computation Failed";
    from_faulty(0, 1, [&](auto& out, auto& faulty) {
        expect_error(failed(computation_failed, "BigFloatR_rcp_P(): Convergence Failure\ntop  0x"),
                     [&] { rcp(out, faulty); });
    });
    // A change in the last good word reaches the position above the limit, not the guard word.
    const u64 last = good[R.L - 1] < 16 ? h : h - 1;
    for (i64 change : {40, -40}) {
        from_faulty(last, change, [&](auto& out, auto& faulty) {
            expect_error(failed(computation_failed, change > 0 ? "Over-Estimate -> Convergence Failure"
                                                               : "Under-Estimate -> Convergence Failure"),
                         [&] { rcp(out, faulty); });
        });
    }

    const Number<W> a{bench.words.data() + 300, 5, 0, true, nullptr, 0};
    test::Rng rng(6);
    test::fill(test::Pattern::random, a.T, a.L, rng);
    a.T[4] |= 1;
    from_faulty(1, 1, [&](auto& out, auto& faulty) {
        expect_error(
            failed("BigFloatR_div_P(): Computation Failed", "BigFloatR_div_P(): Convergence Failure\ntopA  0x"),
            [&] { divide_by_reciprocal(bench.params, out, a, x, faulty, p, Q.data(), D.data(), nullptr); });
    });

    inverse_sqrt<W>(bench.params, R, W{10}, h, bench.scratch(100), nullptr);
    const char* guard = "BigFloatR_invsqrt_uW_P(): Convergence Failure";
    from_faulty(0, 1, [&](auto& out, auto& faulty) {
        expect_error(failed(guard, guard),
                     [&] { inverse_sqrt_step<W>(bench.params, out, W{10}, faulty, p, T.data(), nullptr); });
    });
}

template <class W>
void short_direct_scratch() {
    Bench<W> bench(5);
    Number<W> out = bench.result(8);
    reciprocal(bench.params, out, bench.operand(), 5, bench.scratch(10), nullptr);
}

const ChildCase rcp_space{"rcp_space", short_direct_scratch<u64>};
const ChildCase root_direct_space{"root_direct_space", [] {
                                      Bench<u32> bench(5);
                                      objects::BigFloat<u32> out = bench.result(9);
                                      inverse_sqrt<u32>(bench.params, out, 5, 5, bench.scratch(10), nullptr);
                                  }};
const ChildCase root_space{"root_space", [] {
                               Bench<u64> bench(12);
                               objects::BigFloat<u64> out = bench.result(16);
                               inverse_sqrt<u64>(bench.params, out, 5, 12, bench.scratch(17), nullptr);
                           }};
const ChildCase unnormalised{"unnormalised_reciprocal", [] {
                                 Bench<u64> bench(12);
                                 bench.x.back() = 0;
                                 objects::BigFloat<u64> out = bench.result(15);
                                 reciprocal(bench.params, out, bench.operand(), 12, bench.scratch(18), nullptr);
                             }};
const ChildCase unnormalised_numerator{"unnormalised_numerator", [] {
                                           Bench<u32> bench(5);
                                           const objects::BigFloat<u32> b = bench.operand();
                                           u32 words[] = {7, 0};
                                           objects::BigFloat<u32> out = bench.result(8),
                                                                  a{words, 2, 0, true, words, 2};
                                           divide(bench.params, out, a, b, 5, bench.scratch(30), nullptr);
                                       }};
const ChildCase too_many_words{"too_many_words", [] { decimal_digits_of<u64>(u64{1} << 48); }};

TEST(InverseFailures, WhatOnlyAWrongCallerCausesEndsTheProcess) {
    const struct {
        const ChildCase& child;
        const char* output;
    } rows[] = {
        {rcp_space, "10  11\nBigFloatR_rcp_E(): Insufficient Allocated Space - PL\n"},
        {root_direct_space, "10  11\nBigFloatR_invsqrt_uW_E(): Insufficient Allocated Space - PL\n"},
        {root_space, "17  18\nBigFloatR_invsqrt_uW_P(): Insufficient Allocated Space - PL\n"},
        {unnormalised, "BigFloat::check_normalization(): Top word is zero.\n"},
        {unnormalised_numerator, "BigFloat::check_normalization(): Top word is zero.\n"},
        {too_many_words, "WordToDec(): Float-Indexing Limit Exceeded\n"},
    };
    for (const auto& row : rows) {
        const test::ChildEnd end = row.child.run();
        EXPECT_TRUE(end.exited_with(1)) << row.output;
        EXPECT_EQ(end.output, row.output);
    }
}

}  // namespace
}  // namespace kvt::inverse
