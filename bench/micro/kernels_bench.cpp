// Times the kernels behind the interface against GMP's counterpart, alternately in one process: schoolbook, Karatsuba
// and the direct products at every level, the linear kernels, the checksum. Usage: kvnum_micro [OPERATION ...]
//
// Columns: operation, level, words, median ns of ours and of GMP's, median of the ratios (above 1, ours is faster).

#include <fmt/format.h>
#include <gmp.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string_view>
#include <vector>

#include "kernels/direct.h"
#include "kernels/karatsuba.h"
#include "kernels/residue61.h"

namespace {

using namespace kvt;
using namespace kvt::kernels;

constexpr double sample_ns = 30000;
constexpr int pairs = 21;
constexpr std::size_t longest = 1000;

struct Operands {
    std::vector<u64> a = random(longest), b = random(longest), c = std::vector<u64>(2 * longest),
                     scratch = random(1 << 14);

    static std::vector<u64> random(std::size_t n) {
        static u64 state = 1;
        std::vector<u64> out(n);
        for (u64& word : out) {
            state = state * 6364136223846793005 + 1442695040888963407;
            word = state ^ state >> 29;
        }
        return out;
    }
};

Operands x, y;

mp_ptr limbs(std::vector<u64>& words) { return reinterpret_cast<mp_ptr>(words.data()); }

using Run = void (*)(std::size_t n);

struct Operation {
    std::string_view name;
    std::vector<std::size_t> sizes;
    Run ours, theirs;
};

const std::vector<std::size_t> short_sizes{1, 2, 3, 4, 6, 8, 12, 16, 24},
    middle_sizes{16, 20, 24, 29, 40, 57, 80, 115, 200}, long_sizes{10, 100, 1000};

void gmp_multiply(std::size_t n) { mpn_mul_n(limbs(y.c), limbs(x.a), limbs(x.b), static_cast<mp_size_t>(n)); }
void gmp_square(std::size_t n) { mpn_sqr(limbs(y.c), limbs(x.a), static_cast<mp_size_t>(n)); }

const Operation operations[] = {
    {"mulB", short_sizes, [](std::size_t n) { mulB(x.c.data(), x.a.data(), n, x.b.data(), n); }, gmp_multiply},
    {"sqrB", short_sizes, [](std::size_t n) { sqrB(x.c.data(), x.a.data(), n); }, gmp_square},
    {"mulK", middle_sizes, [](std::size_t n) { mulK(x.c.data(), x.a.data(), n, x.b.data(), n, x.scratch.data()); },
     gmp_multiply},
    {"sqrK", middle_sizes, [](std::size_t n) { sqrK(x.c.data(), x.a.data(), n, x.scratch.data()); }, gmp_square},
    {"direct_multiply", middle_sizes,
     [](std::size_t n) { direct_multiply(x.c.data(), x.a.data(), n, x.b.data(), n, x.scratch.data()); },
     gmp_multiply},
    {"direct_square", middle_sizes, [](std::size_t n) { direct_square(x.c.data(), x.a.data(), n, x.scratch.data()); },
     gmp_square},
    {"add_nr", long_sizes, [](std::size_t n) { add_nr(x.c.data(), x.a.data(), x.b.data(), n, 0); },
     [](std::size_t n) { mpn_add_n(limbs(y.c), limbs(x.a), limbs(x.b), static_cast<mp_size_t>(n)); }},
    {"sub_nr", long_sizes, [](std::size_t n) { sub_nr(x.c.data(), x.a.data(), x.b.data(), n, 0); },
     [](std::size_t n) { mpn_sub_n(limbs(y.c), limbs(x.a), limbs(x.b), static_cast<mp_size_t>(n)); }},
    {"mul_nr", long_sizes, [](std::size_t n) { mul_nr<u64>(x.c.data(), x.a.data(), n, x.b[0], 0); },
     [](std::size_t n) { mpn_mul_1(limbs(y.c), limbs(x.a), static_cast<mp_size_t>(n), x.b[0]); }},
    {"addmul_ir", long_sizes, [](std::size_t n) { addmul_ir<u64>(x.c.data(), x.a.data(), n, x.b[0], 0); },
     [](std::size_t n) { mpn_addmul_1(limbs(y.c), limbs(x.a), static_cast<mp_size_t>(n), x.b[0]); }},
    {"residue_of", long_sizes, [](std::size_t n) { x.c[0] = residue_of(x.a.data(), 2 * n); },
     [](std::size_t n) { y.c[0] = mpn_mod_1(limbs(x.a), static_cast<mp_size_t>(n), residue_modulus); }},
};

double elapsed_ns(Run run, std::size_t n, int repeats) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i) run(n);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

int repeats_for(Run run, std::size_t n) {
    int repeats = 1;
    while (elapsed_ns(run, n, repeats) < sample_ns) repeats *= 2;
    return repeats;
}

double median(std::vector<double>& values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const Operation& operation, const char* level, std::size_t n) {
    const int ours_repeats = repeats_for(operation.ours, n), theirs_repeats = repeats_for(operation.theirs, n);
    std::vector<double> ours, theirs, ratios;
    for (int i = 0; i < pairs; ++i) {
        ours.push_back(elapsed_ns(operation.ours, n, ours_repeats) / ours_repeats);
        theirs.push_back(elapsed_ns(operation.theirs, n, theirs_repeats) / theirs_repeats);
        ratios.push_back(theirs.back() / ours.back());
    }
    fmt::print("{:<16} {:<10} {:>5} {:>9.1f} {:>9.1f} {:>6.2f}\n", operation.name, level, n, median(ours),
               median(theirs), median(ratios));
}

}  // namespace

int main(int argc, char** argv) {
    fmt::print("{:<16} {:<10} {:>5} {:>9} {:>9} {:>6}\n", "operation", "level", "words", "ours ns", "gmp ns",
               "ratio");
    const std::vector<std::string_view> wanted(argv + 1, argv + argc);
    for (const auto& operation : operations) {
        if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), operation.name) == wanted.end()) continue;
        for (const auto& [name, cap] :
             {std::pair{"scalar", Levels{}}, {"avx2", Levels{VectorLevel::avx2, WordLevel::adx}}, {"best", no_cap}}) {
            cap_levels(cap);
            for (const std::size_t n : operation.sizes) report(operation, name, n);
        }
    }
}
