#pragma once
// The plan of a radix conversion: how blocks of digit words are split, which power of the base a split multiplies by,
// and the transform that forms the product. Built once per conversion.
//
// The base r = odd << twos, so powers of the odd part alone are multiplied, and the twos are a shift. The n digit words
// are halved, rounding up, level by level: a split at level i parts a block of s+1 to 2s digit words by r^s, where
// s = ceil(n / 2^(levels - i)), so that no transform is longer than n asks for.
//   Writing: the lower half is the fraction of block * r^s; only its words are wanted, so the product may wrap, and
//   the transform is no longer than the block. The upper half's digits are those of the block itself.
//   Reading: the block is upper * r^s + lower. The power is shifted up beforehand by the twos that are no whole word.

#include <algorithm>
#include <cstdint>

#include "frame/parameters.h"
#include "multiply/engine.h"

namespace kvt::text {

// Scratch memory starts at a word; what is 64-bit in both word widths (direct products' operands, short conversions)
// starts at a multiple of eight bytes in it.
template <class W>
inline constexpr u64 alignment_slack = alignof(u64) - alignof(W);
template <class W>
u8* aligned_memory(void* memory) noexcept {
    return static_cast<u8*>(memory) + (reinterpret_cast<std::uintptr_t>(memory) & alignment_slack<W>);
}

enum class Direction { write, read };

template <class W>
struct RadixLevel {
    u64 half_digit_words;   // s
    u64 block_digit_words;  // of the longest blocks that are split here; the next level's s
    u64 power_words;        // room for odd^s
    u64 shift_bits;         // twos * s
    unsigned power_shift;   // reading: as many of them are in the power, so that whole words are left
    const multiply::TransformEngine* engine;
    multiply::TransformPlan transform;
    void* power_transform;  // filled by compute_powers()
    u64 power_length;       // words of odd^s << power_shift, and its residue; the same
    multiply::Residue power_residue;
    // Reading: short blocks may be multiplied directly, by the words of the power; products a little longer than the
    // transform are folded over it, and their lowest words formed once more (multiply/folded_product.h).
    bool direct;
    u64 low_words;      // the most words that are folded; 0 where none are
    u64 product_bytes;  // scratch of direct products and lowest words
    u64 kept_words;     // the lowest words of the power that they need
    const W* power;     // filled by compute_powers(), where kept_words is not 0
};

template <class W>
struct RadixPlan {
    static constexpr u64 most_levels = 60;

    W base;
    W odd;
    unsigned twos;
    u64 digit_words;         // n
    double words_per_digit;  // log2(base) / word bits
    double words_per_odd;    // log2(odd) / word bits
    u64 bottom;              // digit words of the longest blocks that are not split
    u64 levels;              // number of levels that split
    u64 parallel_depth;      // upper levels whose halves may run at the same time
    u64 tasks;
    Direction direction;
    RadixLevel<W> level[most_levels];

    // Words of a fraction that yields m digit words and one more below them, two words of slack included.
    u64 fraction_words(u64 m) const noexcept {
        return static_cast<u64>(static_cast<double>(m) * words_per_digit) + 3;
    }

    // Words that any integer of m digit words fits in.
    u64 integer_words(u64 m) const noexcept { return static_cast<u64>(static_cast<double>(m) * words_per_digit) + 1; }

    // The level that splits a block of m > bottom digit words: the largest half that stays below m.
    u64 splitting_level(u64 m) const noexcept;

    // Scratch bytes: the kept transforms of the powers, the words of short powers and of the one at work; what the
    // recursion needs.
    u64 powers_bytes() const noexcept;
    u64 recursion_bytes() const noexcept;
    u64 scratch_bytes() const noexcept { return alignment_slack<W> + powers_bytes() + recursion_bytes(); }

    // Scratch of one block of m digit words at a recursion depth; of one product at a level.
    u64 block_bytes(u64 m, u64 block_tasks, u64 depth) const noexcept;
    u64 product_bytes(const RadixLevel<W>& at, u64 block_tasks) const noexcept;

    // Words of the buffer that a split of m digit words with lower half m - s keeps while it recurses.
    u64 split_words(u64 m, u64 s) const noexcept;

    bool splits_tasks(u64 block_tasks, u64 depth) const noexcept { return depth < parallel_depth && block_tasks > 1; }
};

// Returns 0, or the code -3 for a base below 2. tasks = 0 counts as 1. Raises the generic error when no transform is
// long enough.
template <class W>
i32 make_radix_plan(RadixPlan<W>& plan, W base, u64 digit_words, u64 tasks, Direction direction);

// Lengths in words are cut to what no algorithm covers any more, before arithmetic on them could overflow: the size
// queries then find that out themselves.
template <class W>
constexpr u64 clamp_words(u64 words) noexcept {
    return std::min(words, (u64{1} << 63) / word_bits<W>);
}

// Areas of scratch are multiples of this, so that every area of an aligned scratch starts aligned.
constexpr u64 area_bytes(u64 bytes) noexcept {
    return (bytes + (data_alignment_bytes - 1)) / data_alignment_bytes * data_alignment_bytes;
}
template <class W>
constexpr u64 words_area(u64 words) noexcept {
    return area_bytes(words * sizeof(W));
}

}  // namespace kvt::text
