#ifndef KVNUM_MULTIPLY_H
#define KVNUM_MULTIPLY_H
/* Large products and squares of word arrays. Each call picks the algorithm by the product's length; ask a size query
 * for the scratch bytes, and cover the product's bits by internal_ensure_global_table, before the call.
 *
 * Common to all products:
 *   params   table, scratch and tasks (kvnum/frame.h)
 *   A, B     [LA], [LB words] little-endian, read only, any alignment of the word type
 *   errors   NULL, or an ExceptionWrapper to be released through its own destroy; nothing is written when one of these
 *            comes back: "Generic Exception" (no algorithm covers the length), "Lookup table is too small.",
 *            "Buffer is too small.". "Redundancy Check Failed:  " says that the product's self-check failed; C is then
 *            undefined.
 *   threads  no shared state; calls on disjoint arrays and scratch may run at the same time
 */

#include "kvnum/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes of a product of a given length.
 *   bits           the length in bits
 *   operand_bytes  the length in bytes and one word more, rounded up to a multiple of 32
 *   scratch_bytes  needed in memory_bytes
 */
typedef struct MulSizeRecord {
    uint64_t bits;
    uint64_t operand_bytes;
    uint64_t scratch_bytes;
} MulSizeRecord;

/* C = A * A.   C [2L words], written whole; must not overlap A.   Source: multiply/dispatch.cpp */
ExceptionWrapper* sqr_p_c32(const BasicParameters* params, uint32_t* C, const uint32_t* A, uint64_t L);
ExceptionWrapper* sqr_p_c64(const BasicParameters* params, uint64_t* C, const uint64_t* A, uint64_t L);

/* C = A * B.   C [LA + LB words], written whole; must not overlap A or B.   Source: multiply/dispatch.cpp */
ExceptionWrapper* mul_p_c32(const BasicParameters* params, uint32_t* C, const uint32_t* A, uint64_t LA,
                            const uint32_t* B, uint64_t LB);
ExceptionWrapper* mul_p_c64(const BasicParameters* params, uint64_t* C, const uint64_t* A, uint64_t LA,
                            const uint64_t* B, uint64_t LB);

/* Sizes for one product or square.
 *   L      length of the product in words: LA + LB, or 2L
 *   tasks  as it will stand in the parameters
 * Errors: "Generic Exception" when no algorithm covers L.   Source: multiply/dispatch.cpp */
ExceptionWrapper* mul_Psize32(MulSizeRecord* out, uint64_t L, uint64_t tasks);
ExceptionWrapper* mul_Psize64(MulSizeRecord* out, uint64_t L, uint64_t tasks);

/* Scratch bytes that serve products of every length up to L words, and every operation that is built on them.
 * Errors: "Generic Exception" when no algorithm covers L; 0 is then written.   Source: multiply/dispatch.cpp */
ExceptionWrapper* mul_iPsize_c32(uint64_t* bytes_out, uint64_t L, uint64_t tasks);
ExceptionWrapper* mul_iPsize_c64(uint64_t* bytes_out, uint64_t L, uint64_t tasks);

/* C[0 .. count) = words first, first + 1, ... of the exact product; words beyond the product are zero.
 * C may overlap the operands. The product formed is that of the operands' lowest first + count words; scratch and
 * table must cover its length.   Source: multiply/dispatch.cpp */
ExceptionWrapper* sqrp_p_c32(const BasicParameters* params, uint32_t* C, uint64_t first, uint64_t count,
                             const uint32_t* A, uint64_t L);
ExceptionWrapper* sqrp_p_c64(const BasicParameters* params, uint64_t* C, uint64_t first, uint64_t count,
                             const uint64_t* A, uint64_t L);
ExceptionWrapper* mulp_p_c32(const BasicParameters* params, uint32_t* C, uint64_t first, uint64_t count,
                             const uint32_t* A, uint64_t LA, const uint32_t* B, uint64_t LB);
ExceptionWrapper* mulp_p_c64(const BasicParameters* params, uint64_t* C, uint64_t first, uint64_t count,
                             const uint64_t* A, uint64_t LA, const uint64_t* B, uint64_t LB);

/* Sizes for one partial product.   L = min(LA, first + count) + min(LB, first + count); otherwise as mul_Psize. */
ExceptionWrapper* mulp_Psize32(MulSizeRecord* out, uint64_t L, uint64_t tasks);
ExceptionWrapper* mulp_Psize64(MulSizeRecord* out, uint64_t L, uint64_t tasks);

#ifdef __cplusplus
}
#endif
#endif
