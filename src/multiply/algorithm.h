#pragma once
// A multiplication algorithm as the dispatcher sees it, and the size record of its queries.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt {

struct MulSizeRecord {
    u64 bits;           // length in bits
    u64 operand_bytes;  // room for the length and one word more, rounded up to a multiple of 32
    u64 scratch_bytes;  // everything a call needs in memory_bytes
};
static_assert(sizeof(MulSizeRecord) == 24);

namespace multiply {

class TransformEngine;  // multiply/engine.h

// One static object per algorithm and word width. Lengths are products' lengths in words W.
template <class W>
class MultiplicationAlgorithm {
  public:
    constexpr MultiplicationAlgorithm(const char* short_name, const char* display_name, u64 max_bits)
        : max_bits(max_bits), short_name(short_name), display_name(display_name) {}

    // Scratch of anything this algorithm does at length L: two kept operands and the working bytes (serves
    // transform helpers). Never decreases with L; does not depend on the machine.
    virtual u64 scratch_bytes(u64 L, u64 tasks) const = 0;

    // Scratch of one plain or partial product or square of length L; at most scratch_bytes(L).
    virtual void size_record(MulSizeRecord& record, u64 L, u64 tasks) const = 0;

    // C[0..2L) = A * A; C[0..LA+LB) = A * B. C must not overlap the operands. Lengths are at least 1.
    virtual void square(const BasicParameters& params, W* C, const W* A, u64 L) const = 0;
    virtual void multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const = 0;

    // C[0..count) = words first.. of the exact product, count at least 1, first + count at most its length.
    // C may overlap the operands: they are consumed before the first store.
    virtual void square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                u64 L) const = 0;
    virtual void multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA,
                                  const W* B, u64 LB) const = 0;

    // The transform behind it; for the basecase the identity.
    virtual const TransformEngine& engine() const = 0;

    const u64 max_bits;  // the largest product it can form
    const char* const short_name;
    const char* const display_name;

  protected:
    ~MultiplicationAlgorithm() = default;
};

// The record's length fields; 32-bit words count in pairs, so that both widths agree.
template <class W>
constexpr MulSizeRecord length_record(u64 L, u64 scratch_bytes) {
    const u64 L64 = sizeof(W) == 8 ? L : L / 2 + (L & 1);
    return {L * word_bits<W>, (8 * L64 + 39) & ~u64{31}, scratch_bytes};
}

}  // namespace multiply
}  // namespace kvt
