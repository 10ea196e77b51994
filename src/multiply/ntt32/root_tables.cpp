#include "multiply/ntt32/root_tables.h"

#include <algorithm>
#include <cstring>

namespace kvt::multiply::ntt32 {
namespace {

u64 words_of_prime(unsigned radix, unsigned exponent) { return (u64{radix} << inner_level) + step_count(exponent); }

// Fills inner and steps of one prime. Powers are taken here, once for every level.
void fill_prime(const NttPrimeSet& set, unsigned i, unsigned exponent, u32* inner, u32* steps) {
    const u32 p = set.primes[i];
    const u64 n = u64{1} << inner_level, all = n * step_count(exponent);
    const u32 w = pow_mod(set.roots[i], u64{1} << set.max_exponent, p);  // order radix
    const u32 two_power = pow_mod(set.roots[i], set.radix, p);           // order 2^max_exponent
    const auto root = [&](unsigned k) {                                  // order 2^k
        return pow_mod(two_power, u64{1} << (set.max_exponent - k), p);
    };
    inner[0] = steps[0] = 1;
    unsigned k = 0;
    for (u64 m = 1; m < n; m *= 2, ++k) {
        const u32 factor = root(k + 2);
        for (u64 q = 0; q < m; ++q) inner[m + q] = mul_mod(inner[q], factor, p);
    }
    for (u64 m = 1; m < all / n; m *= 2, ++k) {
        const u32 factor = root(k + 2);
        for (u64 q = 0; q < m; ++q) steps[m + q] = mul_mod(steps[q], factor, p);
    }
    for (u64 q = n; q < n * set.radix; ++q) inner[q] = mul_mod(inner[q - n], w, p);
}

}  // namespace

void RootTables::mark(const Row& row) noexcept {
    u8& exponent = exponents_[row.set()];
    exponent = std::max(exponent, row.exponent);
}

void RootTables::configure(u64 bits) noexcept {
    for (u64 i = 0; i < list_.length; ++i) {
        mark(list_.rows[i]);
        mark(list_.rows[list_.redirect[i]]);
        if (list_.rows[i].capacity_bits() >= bits) break;
    }
}

u64 RootTables::bytes() const noexcept {
    u64 words = 0;
    for (unsigned s = 0; s < set_count; ++s) {
        if (exponents_[s] != 0) words += prime_sets[s].count * words_of_prime(prime_sets[s].radix, exponents_[s]);
    }
    return words == 0 ? 0 : (sizeof(SectionHeader) + 4 * words + 63) & ~u64{63};
}

void RootTables::fill(void* at) const noexcept {
    if (bytes() == 0) return;
    std::memset(at, 0, bytes());
    SectionHeader header{};
    u32* const words = static_cast<u32*>(at);
    u64 offset = sizeof(SectionHeader) / 4;
    for (unsigned s = 0; s < set_count; ++s) {
        if (exponents_[s] == 0) continue;
        const NttPrimeSet& set = prime_sets[s];
        header.offset_words[s] = static_cast<u32>(offset);
        header.exponents[s] = exponents_[s];
        for (unsigned i = 0; i < set.count; ++i) {
            u32* const inner = words + offset;
            fill_prime(set, i, exponents_[s], inner, inner + (u64{set.radix} << inner_level));
            offset += words_of_prime(set.radix, exponents_[s]);
        }
    }
    std::memcpy(at, &header, sizeof(header));
}

PrimeRoots roots_in(const void* section, unsigned s, unsigned i) noexcept {
    SectionHeader header;
    std::memcpy(&header, section, sizeof(header));
    const NttPrimeSet& set = prime_sets[s];
    const u32* const inner = static_cast<const u32*>(section) + header.offset_words[s] +
                             i * words_of_prime(set.radix, header.exponents[s]);
    return {inner, inner + (u64{set.radix} << inner_level)};
}

}  // namespace kvt::multiply::ntt32
