#include "multiply/ntt64/ntt64_roots.h"

#include "multiply/ntt64/primes.h"

namespace kvt::multiply::ntt64 {
namespace {

void fill_prime(PrimeRoots& roots, const PrimeSet& set, unsigned i) {
    const u64 p = set.primes[i];
    u64 root = pow_mod(set.not_square[i], (p - 1) >> set.exponent, p);
    u64 inverse = invert_mod(root, p);
    for (unsigned k = 64; k-- > 0;) {
        if (k < set.exponent) {
            root = mul_mod(root, root, p);
            inverse = mul_mod(inverse, inverse, p);
        }
        roots.ladder[k] = k <= set.exponent ? root : 0;
        roots.inverse_ladder[k] = k <= set.exponent ? inverse : 0;
    }
    roots.inner[0] = 1;
    for (unsigned k = 0; k + 1 < inner_levels; ++k) {
        const u64 m = u64{1} << k;
        for (u64 j = 0; j < m; ++j) roots.inner[m + j] = mul_mod(roots.inner[j], roots.ladder[k + 2], p);
    }
    for (unsigned j = 0; j < 3; ++j) {
        const u64 power = set.odd_radices ? pow_mod(set.not_power[i][j], (p - 1) / odd_radix(j), p) : 1;
        roots.radix[j] = power;
    }
    for (u64& word : roots.unused) word = 0;
}

}  // namespace

void build_roots(void* at) noexcept {
    Roots& roots = *static_cast<Roots*>(at);
    PrimeRoots* const sets[] = {roots.wide, roots.longest, roots.narrow};
    for (unsigned s = 0; s < 3; ++s) {
        for (unsigned i = 0; i < prime_sets[s].count; ++i) fill_prime(sets[s][i], prime_sets[s], i);
    }
}

const Roots* roots_of(const GlobalTwiddleTable& table) noexcept {
    const u64* const words = table.descriptor + component_words[0] + component_words[1];
    return reinterpret_cast<const Roots*>(words[roots_word]);
}

GlobalTwiddleTable table_of_roots(void* at) noexcept {
    GlobalTwiddleTable table{};
    build_roots(at);
    table.covered = ~u64{0};
    table.section[2] = at;
    table.descriptor[component_words[0] + component_words[1] + roots_word] = reinterpret_cast<u64>(at);
    return table;
}

}  // namespace kvt::multiply::ntt64
