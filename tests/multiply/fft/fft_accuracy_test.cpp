// The largest distance of a coefficient from an integer, at every row, for operands that make it large. In a soak all
// rows to 2^22 points, at least 10^7 points a row, and a table on standard output.

#include <bit>
#include <cstdio>

#include "kernels/float_state.h"
#include "multiply/fft/fft_component.h"
#include "multiply/fft/fft_support.h"
#include "multiply/fft/fft_table.h"

namespace kvt::multiply {
namespace {

using namespace kvt::test;

// Sequences of fields of b bits, that the cutting turns into digits between -2^(b-1) and 2^(b-1).
enum class Digits { random, extreme_signs, constant, blocks };
constexpr Digits all_digits[] = {Digits::random, Digits::extreme_signs, Digits::constant, Digits::blocks};

// As many bytes as `digits` digits of b bits fill.
std::vector<u8> operand_of(Digits kind, u64 digits, u64 b, Rng& rng) {
    std::vector<u8> bytes;
    bytes.reserve(digits * b / 8);
    const u64 most = (u64{1} << (b - 1)) - 1, block = u64{1} << rng.between(3, 10);
    u64 waiting = 0, waiting_bits = 0;
    bool sign = false;
    for (u64 j = 0; j < digits; ++j) {
        u64 field = most;
        switch (kind) {
            case Digits::random: field = rng.next() & (2 * most + 1); break;
            case Digits::extreme_signs: field = most + rng.below(2); break;
            case Digits::constant: break;
            case Digits::blocks:
                if (j % block == 0) sign = rng.below(2) == 0;
                field = most + sign;
                break;
        }
        waiting |= field << waiting_bits;
        for (waiting_bits += b; waiting_bits >= 8; waiting_bits -= 8, waiting >>= 8)
            bytes.push_back(static_cast<u8>(waiting));
    }
    return bytes;
}

double worst_error(const FftKernels& kernels, const FftParameters& row, const GlobalTwiddleTable& table,
                   const std::vector<u8>& a, const std::vector<u8>& b) {
    const kernels::FloatState state;
    const u64 half = row.points / 2;
    const u64 first = row.radix != 1 ? row.radix : half >= 4 * kernels.lanes * kernels.lanes ? 4 : 1;
    const FftShape shape{fft_twiddles(table, row.radix).start, row.radix, half, row.bits, first, false};
    std::vector<double> x(row.points), y(row.points);
    std::vector<u8> out(row.points / 8 * row.bits);
    const auto cut = [&](const std::vector<u8>& bytes, double* to) {
        kernels.cut(shape, {bytes.data(), bytes.size(), false, true, 0, 0}, to, 0, half / first / 8);
    };
    cut(a, x.data());
    cut(b, y.data());
    kernels.forward(shape, x.data(), 0, first);
    kernels.product(shape, y.data(), x.data(), 0, first);
    kernels.last(shape, y.data(), 0, half / first / 8);
    i64 carries[8];
    FftExtremes extremes{};
    kernels.carry(shape, y.data(), out.data(), 0, row.points / kernels.lanes / 8, carries, extremes);
    return std::bit_cast<double>(extremes.error >> 32 << 32);
}

TEST(FftAccuracy, RoundingErrorsStayFarFromAHalf) {
    const bool soak = long_soak();
    const u64 last = row_of_points(u64{1} << (soak ? 22 : KVNUM_HAVE_GMP ? 15 : 11));
    const FftTable table(last);
    std::vector<const FftKernels*> sets{&fft_kernels_scalar};
    const kernels::VectorLevel level = kernels::supported_levels().vector;
    if (level >= kernels::VectorLevel::avx2) sets.push_back(&fft_kernels_avx2);
    if (level >= kernels::VectorLevel::avx512ifma) sets.push_back(&fft_kernels_avx512ifma);
    for (u64 index = 0; index <= last; ++index) {
        const FftParameters row = fft_row(index);
        for (const FftKernels* set : sets) {
            if (row.points / 2 < set->smallest_half) continue;
            if (soak)
                std::printf("| %lu | %lu | %s", static_cast<unsigned long>(row.points),
                            static_cast<unsigned long>(row.bits), set->isa);
            for (const Digits kind : all_digits) {
                Rng rng(index);
                double worst = 0;
                for (u64 points = 0; points < (soak ? 10'000'000 : 1); points += row.points) {
                    const auto a = operand_of(kind, row.points / 2, row.bits, rng);
                    worst = std::max(
                        worst, worst_error(*set, row, table, a, operand_of(kind, row.points / 2, row.bits, rng)));
                }
                EXPECT_GT(worst, 0);
                EXPECT_LT(worst, 0.15) << set->isa << " " << row.points << " points";
                if (soak) std::printf(" | %.4f", worst);
            }
            if (soak) std::printf(" |\n"), std::fflush(stdout);
        }
    }
}

}  // namespace
}  // namespace kvt::multiply
