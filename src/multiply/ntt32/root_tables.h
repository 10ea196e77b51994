#pragma once
// The number-theoretic components of the twiddle table: roots of unity of every prime set that a length can use.

#include "multiply/ntt32/prime_sets.h"
#include "multiply/ntt32/rows.h"

namespace kvt::multiply::ntt32 {

// The roots of one prime, as plain residues. With T[0] = 1 and T[2^k + i] = T[i] * (root of order 2^(k+2)) for
// i < 2^k, and w the root of order r:
//   inner[j * 2^level + i] = w^j * T[i]      i < 2^level, j < r
//   steps[h]               = T[h * 2^level]
// so that T[i + h * 2^level] = inner[i] * steps[h]. T is the list of square roots of z in the splitting of
// x^n - z into x^(n/2) - t and x^(n/2) + t, down from x^N - 1 (T[0]) and x^N + 1 (T[1]), breadth first.
struct PrimeRoots {
    const u32* inner;
    const u32* steps;
};

inline constexpr unsigned inner_level = 9;

// Entries of steps for transforms of radix * 2^exponent points, cyclic or negacyclic: leaves are polynomials of
// degree 8, so T is read below 2^(exponent - 3).
constexpr u64 step_count(unsigned exponent) {
    return exponent < inner_level + 3 ? 1 : u64{1} << (exponent - 3 - inner_level);
}

// Top level of a set's inner table for a radix: doubles from level 7 until the table is large enough.
constexpr unsigned level_of_radix(unsigned radix) {
    const unsigned h = radix == 1 ? 7 : radix == 3 ? 6 : 5;
    unsigned level = 7;
    for (u64 x = ((u64{radix} << h) / 4 + 1) * 2048; x <= 262144; x *= 2) ++level;
    return level;
}
static_assert(level_of_radix(1) == inner_level && level_of_radix(3) == inner_level &&
              level_of_radix(5) == inner_level && level_of_radix(7) == inner_level);

// A section of the table starts with this, then the roots of the sets in order, prime by prime, inner then steps.
struct SectionHeader {
    u32 offset_words[set_count];  // from the section's start, in 32-bit words; 0 where the set is absent
    u8 exponents[set_count];      // transforms of radix * 2^exponent points and shorter are covered
    u8 unused[4];
};
static_assert(sizeof(SectionHeader) == 144);

// What a section holds, and how it is filled. Works on words that lie elsewhere, zero at first: the exponent of every
// set, which only ever rises.
class RootTables {
  public:
    static constexpr unsigned words = 4;

    RootTables(const RowList& list, u64* words) : list_(list), exponents_(reinterpret_cast<u8*>(words)) {}

    void configure(u64 bits) noexcept;  // covers products of up to this many bits on the list
    u64 bytes() const noexcept;         // 0 if never configured; a multiple of 64
    void fill(void* at) const noexcept;

  private:
    void mark(const Row& row) noexcept;
    const RowList& list_;
    u8* const exponents_;
};
static_assert(8 * RootTables::words >= set_count);

// The roots of prime i of a set in a section; the set must be there.
PrimeRoots roots_in(const void* section, unsigned set, unsigned i) noexcept;

}  // namespace kvt::multiply::ntt32
