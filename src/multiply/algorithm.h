#pragma once
// A multiplication algorithm as the dispatcher sees it, and the size record of its queries.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt {

struct MulSizeRecord {
    u64 bits;           // length in bits
    u64 operand_bytes;  // one transformed operand, rounded up to a multiple of 32
    u64 scratch_bytes;  // everything a call needs in memory_bytes, both operand buffers included
};

namespace multiply {

// One static object per algorithm and word width. Lengths are products' lengths in words W.
template <class W>
class MultiplicationAlgorithm {
  public:
    MultiplicationAlgorithm(const char* short_name, const char* display_name, u64 max_bits)
        : max_bits(max_bits), short_name(short_name), display_name(display_name) {}

    // Scratch of anything this algorithm does at length L: two kept operands and the working bytes (serves
    // transform helpers). Never decreases with L; does not depend on the machine.
    virtual u64 scratch_bytes(u64 L, u64 tasks) const = 0;

    // Scratch of one plain product or square of length L; at most scratch_bytes(L).
    virtual void size_record(MulSizeRecord& record, u64 L, u64 tasks) const = 0;

    // C[0..2L) = A * A; C[0..LA+LB) = A * B. C must not overlap the operands. Lengths are at least 1.
    virtual void square(const BasicParameters& params, W* C, const W* A, u64 L) const = 0;
    virtual void multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const = 0;

    // C[0..count) = words first.. of the exact full product; zero beyond it.
    virtual void square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                u64 L) const = 0;
    virtual void multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA,
                                  const W* B, u64 LB) const = 0;

    const u64 max_bits;
    const char* const short_name;
    const char* const display_name;

  protected:
    ~MultiplicationAlgorithm() = default;
};

}  // namespace multiply
}  // namespace kvt
