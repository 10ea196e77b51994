#pragma once
// The last stage: residues modulo the primes to coefficients, coefficients to words.

#include "multiply/engine.h"
#include "multiply/ntt32/layout.h"
#include "multiply/ntt32/prime_sets.h"

namespace kvt::multiply::ntt32 {

// A run of words that the window drops: enough to know whether a carry passes through it.
struct DroppedRun {
    u64 n = 0;  // 32-bit words
    u32 first = 0;
    bool rest_ones = true;  // all words after the first are ones

    void append(const u8* bytes, u64 words) noexcept;
    i64 add(i64 carry) noexcept;  // returns the carry out; not negative
};

// A small signed number, two's complement.
struct Spill {
    static constexpr u64 words = 12;
    u32 word[words] = {};

    void add(const u8* bytes, u64 n_bytes, u64 shift_halves) noexcept;  // shifts are in units of 16 bits
    void subtract(u32 value, u64 shift_halves) noexcept;
    void add_carry(i64 carry) noexcept;
    bool negative() const { return word[words - 1] >> 31 != 0; }
};

// What one part of the output leaves for its neighbours.
struct OutputPart {
    u64 first_word, last_word;  // of the product, in 64-bit words
    i64 carry;                  // out of the top
    Spill spill;                // of the last part, modulo 2^wrap_bits + 1
    u64 residue;                // of the part's words
    DroppedRun before, after;   // the kept words lie between
};

Joiner make_joiner(const NttPrimeSet& set, const Shape& shape, const KernelTable& kernels);

// Writes the window from `residues` (one array of rows for every prime); returns the residue of the whole number
// modulo 2^wrap_bits - 1. parts[i] is at `records + i * record_step`.
u64 write_output(const Layout& layout, const KernelTable& kernels, const u32* residues, Window out, u8* records,
                 u64 record_step, u64 tasks);

}  // namespace kvt::multiply::ntt32
