// Faults on purpose: no damage to a transform may come out as a product.

#include <cstdio>
#include <limits>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "multiply/fft/fft_component.h"
#include "multiply/fft/fft_support.h"
#include "support/child_process.h"
#include "support/console_capture.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

// What product() raises when damage(transformed operand, its residue) is done between the two halves of a product.
template <class Damage>
std::string text_after(Damage&& damage, u64 points = 1024, u64 tasks = 1) {
    const u64 row = row_of_points(points), half = fft_row(row).capacity_bits / 64;
    const FftTable table(row);
    Rng rng(8);
    const Words a = words<u32>(Pattern::random, half, rng), b = words<u32>(Pattern::random, half, rng);
    FftJob job(fft_engine().plan(64 * half), table, a, b, 0, tasks);
    Words out(2 * half, 0x12345678);
    ConsoleCapture quiet(set_console_sink);
    try {
        Residue residue = job.forward_a();
        damage(reinterpret_cast<double*>(job.operand_a.data()), residue);
        job.engine.product(job.plan, table, job.operand_a.data(), residue, job.operand(job.b),
                           {reinterpret_cast<u8*>(out.data()), 0, 2 * half}, true, job.work.data(), tasks);
    } catch (const kv_exception& error) {
        EXPECT_EQ(error.code, errors::redundancy_check);
        return std::string(error.title) + error.what();
    }
    return "";
}

TEST(FftFaults, DamageIsNeverReturnedAsAResult) {
    const std::string coefficient = "Redundancy Check Failed:  Coefficient is too large.\n";
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    for (const kernels::Levels level : all_levels()) {
        const LevelScope scope(level);
        EXPECT_EQ(text_after([](double*, Residue&) {}), "");
        EXPECT_EQ(text_after([](double* x, Residue&) { x[17] = nan; }), coefficient);
        EXPECT_EQ(text_after([](double* x, Residue&) { x[40] = inf; }), coefficient);
        EXPECT_EQ(text_after([](double* x, Residue&) { x[100] *= 1e100; }), coefficient);
        EXPECT_EQ(text_after([](double* x, Residue&) { x[100] += 1e4; }), coefficient);
        EXPECT_EQ(text_after([](double* x, Residue&) { x[100] = -x[100]; }), coefficient);
        EXPECT_EQ(text_after([](double*, Residue& r) { r.value ^= 1; }),
                  "Redundancy Check Failed:  The product fails its check modulo 2^61 - 1.\n");
        EXPECT_EQ(text_after([](double* x, Residue&) { x[5000] *= 3; }, u64{1} << 16, 3), coefficient);
    }
}

TEST(FftFaults, AWrongTableIsNoticed) {
    const FftTable table(row_of_points(512));
    Rng rng(9);
    const Words a = words<u32>(Pattern::random, 100, rng), b = words<u32>(Pattern::random, 100, rng);
    FftJob job(fft_engine().plan(6400), table, a, b);
    ASSERT_EQ(job.plan.points, 384u);
    EXPECT_EQ(job.product(0, 200), reference::product(a, b));
    auto* level = const_cast<double*>(fft_twiddles(table, 3).level(6));
    for (u64 i = 0; i < 48; ++i) level[i] += 1e-3;
    ConsoleCapture quiet(set_console_sink);
    EXPECT_THROW(job.product(0, 200), kv_exception);
}

// A product at a table whose descriptor says that a level is the top one; words 2, 3, 4 belong to radix 1, 3, 5.
void multiply_below(u64 points, u64 word, u64 level) {
    const u64 row = row_of_points(points);
    FftTable table(row);
    table.get().descriptor[word] = level;
    const Words a(10, 1);
    FftJob job(fft_engine().plan(fft_row(row).capacity_bits), table, a, a);
    job.product(0, 20);
}
const ChildCase radix_1{"fft radix 1 level", [] { multiply_below(1024, 2, 10); }};
const ChildCase radix_3{"fft radix 3 level", [] { multiply_below(384, 3, 7); }};
const ChildCase radix_5{"fft radix 5 level", [] { multiply_below(640, 4, 7); }};
const ChildCase radix_5_in_1{"fft radix 5, radix 1 level", [] { multiply_below(1280, 2, 6); }};
const ChildCase enough_levels{"fft enough levels", [] {
                                  multiply_below(1024, 2, 11);
                                  multiply_below(384, 3, 8);
                                  multiply_below(640, 4, 8);
                              }};

TEST(FftFaults, MissingLevelsAreAFatalAssertion) {
    for (const ChildCase* child : {&radix_1, &radix_3, &radix_5, &radix_5_in_1}) {
        const ChildEnd end = child->run();
        EXPECT_TRUE(end.faulted);
        EXPECT_NE(end.output.find("FATAL ERROR: Assertion Failure\n\nInvalid Function Parameters:   "),
                  std::string::npos);
    }
    EXPECT_TRUE(enough_levels.run().exited_with(ChildCase::returned));
}

TEST(FftFaults, LongerThanTheLongestTransform) {
    ConsoleCapture quiet(set_console_sink);
    EXPECT_THROW(fft_engine().plan(fft_row(fft_rows - 1).capacity_bits + 1), kv_exception);
}

}  // namespace
}  // namespace kvt::multiply
