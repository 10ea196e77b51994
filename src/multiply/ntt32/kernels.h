#pragma once
// The kernels of the 31-bit transforms, one table for every instruction set. See docs/ntt32.md for the layout.
//
// A transform of radix * 2^exponent points lies in rows of 2^block_log points: row i of point k is k >> block_log.
// The top stage works down the columns: a pass of the radix, then exponent - block_log levels; after it every row is
// a polynomial modulo x^(2^block_log) - z of its own, which the block kernels split further, down to degree 8.
// Residues between the stages are 32-bit words below the prime. All arrays are aligned to 64 bytes.

#include <cstddef>
#include <cstdint>

namespace kvt::multiply::ntt32 {

// One prime and its roots (see root_tables.h). The transform is modulo x^points - 1, or + 1 if negacyclic.
struct Prime {
    std::uint32_t p;
    const std::uint32_t* inner;
    const std::uint32_t* steps;
};

struct Shape {
    unsigned primes;      // a: points have 16 * (a - 1) bits
    unsigned radix;       // 1, 3, 5, 7
    unsigned exponent;    // 2^exponent points in each of the radix branches
    unsigned block_log;   // points of a row; at least 9
    unsigned column_log;  // columns that the top stage handles at once; at least 4
    bool negacyclic;
    bool half_empty;      // of the operand to be split: the upper half of the points is zero
    std::uint64_t pitch;  // distance of rows, in 32-bit words

    // Inlined even without optimisation: files for one instruction set must not define them.
    [[gnu::always_inline]] constexpr unsigned depth() const { return exponent - block_log; }
    [[gnu::always_inline]] constexpr std::uint64_t rows() const { return std::uint64_t{radix} << depth(); }
    [[gnu::always_inline]] constexpr std::uint64_t points() const { return std::uint64_t{radix} << exponent; }
    [[gnu::always_inline]] constexpr std::uint64_t point_bytes() const { return 2 * (primes - 1); }
};

// A number to be cut into points; nothing beyond it is read. Null where the rows hold its points already.
struct Words {
    const std::uint8_t* bytes;
    std::uint64_t n_bytes;
};

// Joins residues: the digits of a coefficient are its bits in portions of point_bytes bytes.
struct Joiner {
    unsigned primes;
    const std::uint32_t* p;
    // Per prime: what a residue is multiplied by, as a plain residue; includes the powers of R of the kernel.
    std::uint32_t scale[9];
    // Coefficients of either sign, below half the product in absolute value: 2^(31 primes - 1) is added to them, so that
    // their third digit is positive; it is 2^(31 - primes) too large then.
    bool centred;
    // floor(2^58 / p) and floor(2^82 / p)
    std::uint32_t quotient28[9];
    std::uint64_t quotient52[9];
    // product / p, and 2^(28 n) - product, in 28-bit limbs; the same in 52-bit limbs
    std::uint64_t cofactor28[9][10], minus_product28[11];
    std::uint64_t cofactor52[9][6], minus_product52[7];
};

struct KernelTable {
    const char* name;
    unsigned r_bits;          // the R = 2^r_bits of its Montgomery products
    unsigned cut_powers[10];  // by number of primes: cutting divides a point by this power of R

    // Where a transform has several rows. Cuts words into points, columns [begin, end) of all rows, and runs the top
    // stage on them. Columns are handled in groups of 2^column_log; begin and end are multiples of it.
    void (*top_forward)(const Prime& prime, const Shape& shape, Words words, std::uint32_t* rows, std::uint64_t begin,
                        std::uint64_t end, void* scratch) noexcept;
    // Back from the rows to points, not divided by the number of points.
    void (*top_inverse)(const Prime& prime, const Shape& shape, std::uint32_t* rows, std::uint64_t begin,
                        std::uint64_t end, void* scratch) noexcept;

    // Row number `row`, in place; or a = the transform of words where one row is the whole of it.
    void (*block_forward)(const Prime& prime, const Shape& shape, Words words, std::uint32_t* a, std::uint64_t row,
                          void* scratch) noexcept;
    void (*block_inverse)(const Prime& prime, const Shape& shape, std::uint32_t* a, std::uint64_t row,
                          void* scratch) noexcept;
    // a = a * b, both transformed; b may be a.
    void (*block_multiply)(const Prime& prime, const Shape& shape, std::uint32_t* a, const std::uint32_t* b,
                           std::uint64_t row, void* scratch) noexcept;
    // out = transform back (a * transform of b, or of words as above); a is transformed, b is not and is destroyed.
    // out is a or b, or with words anything. Squares a if both are null; out is a or anything then.
    void (*block_product)(const Prime& prime, const Shape& shape, Words words, const std::uint32_t* a,
                          std::uint32_t* b, std::uint32_t* out, std::uint64_t row, void* scratch) noexcept;

    // n points (a multiple of 16) from residues[i], i < primes: their digits, point_bytes apart, in three streams.
    // The streams may be written up to 64 bytes beyond their ends.
    void (*join)(const Joiner& joiner, const std::uint32_t* const* residues, std::uint64_t n, std::uint8_t* low,
                 std::uint8_t* middle, std::uint8_t* high) noexcept;

    // out = low + middle + high + carry, n 64-bit words; returns the carry, at most 2.
    std::uint64_t (*add_streams)(const std::uint8_t* low, const std::uint8_t* middle, const std::uint8_t* high,
                                 std::uint64_t n, std::uint8_t* out, std::uint64_t carry) noexcept;
};

extern const KernelTable ntt32_scalar, ntt32_avx2, ntt32_avx512, ntt32_avx512ifma;

// Scratch that a kernel needs at most, whatever the instruction set.
constexpr std::uint64_t block_scratch_bytes(unsigned block_log) {
    // block in 64-bit lanes; two tables of roots, each of two 64-bit words for 2^(block_log - 3) entries
    return (std::uint64_t{8} << block_log) + 2 * (std::uint64_t{16} << (block_log - 3)) + 1024;
}
constexpr std::uint64_t top_scratch_bytes(const Shape& shape) {
    // a group of columns in 64-bit lanes; a table of roots for every branch
    return ((8 * shape.rows()) << shape.column_log) + 2 * 16 * shape.rows() + 8192;
}

}  // namespace kvt::multiply::ntt32
