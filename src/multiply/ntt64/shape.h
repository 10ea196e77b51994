#pragma once
// How a transform of a length is laid out: its stages and the scratch they need. See docs/ntt64.md.

#include "frame/types.h"
#include "multiply/ntt64/primes.h"

namespace kvt::multiply::ntt64 {

inline constexpr unsigned least_exponent = 3;         // of a transform with points of one word
inline constexpr unsigned least_narrow_exponent = 6;  // with points of two
inline constexpr u64 line_points = 8;                 // of a cache line: the least columns taken at once
inline constexpr u64 buffer_points = 1 << 15;         // of columns taken at once, if that is more
inline constexpr u64 part_limit = 256;                // of tasks

struct Shape {
    unsigned set = 0;  // of primes
    unsigned radix = 1;
    unsigned exponent = 0;
    // Tests lower these two to see every stage at small lengths.
    unsigned block_exponent = 14;  // a node of 2^14 points (128 KiB) is transformed in cache
    u64 row_limit = 2048;          // of a column stage

    u64 points() const { return u64{radix} << exponent; }
    u64 bits() const { return 64 * prime_sets[set].point_words * points(); }

    // Levels that the column stage of a node of r * 2^e points splits; 0: none is needed.
    unsigned stage_levels(unsigned r, unsigned e) const {
        if (e <= block_exponent) return 0;
        unsigned most = 0;
        while ((u64{r} << (most + 1)) <= row_limit) ++most;
        const unsigned need = e - block_exponent;
        const unsigned stages = (need + most - 1) / most;
        return (need + stages - 1) / stages;
    }
};

// Columns of a stage that are taken at once; all are powers of two.
constexpr u64 group_of(u64 rows, u64 columns) {
    u64 group = line_points;
    while (2 * group * rows <= buffer_points) group *= 2;
    return group < columns ? group : columns;
}

// Smallest shape of at least this many bits, with points of one word; the radix is 0 beyond 2^62 bits.
Shape shape_for(u64 bits) noexcept;

// The same length with points of two words, where the six primes reach; else the shape itself.
Shape narrowed(const Shape& shape) noexcept;

// Scratch beside operands, in bytes from a 64-byte boundary: what all tasks share, then a part for each.
struct WorkLayout {
    u64 root_table_bytes;  // the first stage's twiddles, shared; there and back
    u64 block_table_bytes;
    u64 stage_table_bytes;  // of one nested stage
    u64 nested_stages;
    u64 buffer_bytes;

    u64 shared_bytes() const { return 2 * root_table_bytes; }
    u64 part_bytes() const { return 2 * block_table_bytes + 2 * nested_stages * stage_table_bytes + buffer_bytes; }
};
WorkLayout work_layout(const Shape& shape) noexcept;

// The largest layout of this shape and all shorter ones, field by field.
WorkLayout growing_layout(const Shape& shape) noexcept;

}  // namespace kvt::multiply::ntt64
