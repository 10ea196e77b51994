#ifndef KVNUM_INVERSE_H
#define KVNUM_INVERSE_H
/* Reciprocal, division, inverse square root of a word, integer powers of a word; to a precision of p words.
 *
 * Common to all of them:
 *   params    table covers (p + 9) * W bits, for powers max(2 * p + 6, p + 9) * W, W the bits of a word; memory holds what
 *             the _sizes query answers (transform_bytes) for p and tasks
 *   out       buffer_size at least the query's out_words; must not share memory with an operand or the scratch. The
 *             result holds a few guard words beyond p and is not rounded; its relative error is below one unit in word
 *             p from the top
 *   scratch   [scratch_words words] temporaries, at least what the query answers; contents lost
 *   sink      progress of this call; null: the calling thread's sink (SetProgressSink), or none
 *
 * Returns NULL, or an ExceptionWrapper; out is then undefined. Errors: "Buffer is too small.", "Lookup table is too
 * small.", a division by zero, and "..: Computation Failed" or "..: Convergence Failure" when an iteration's own check
 * finds a fault (of the machine, or of a product): such a result is reported and never returned. The process ends where
 * the top word of x, a or b is zero; where the scratch is short in a root; and where it is short in rcp, div
 * or a negative power with p below 10 (in a negative power below 2 * p + 9 words are refused first).
 *
 * Threads: calls with their own out, scratch and memory may run together.
 *
 * p may be 0: the double-precision seed alone, about 52 bits; a quotient then keeps two words. Queries never fail but
 * where no multiplication algorithm covers the products of that precision. */

#include "kvnum/bigfloat.h"
#include "kvnum/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* out = 1/x. x must not be zero. Exact for powers of two.
 * |x * out - 1| < 2^-(W-2) * B^-p for p >= 2, W bits a word.   Source: inverse/reciprocal.cpp */
ExceptionWrapper* BigFloatR_c32_rcp(const BasicParameters* params, BigFloat_c32* out, const BigFloat_c32* x,
                                    uint64_t p, uint32_t* scratch, uint64_t scratch_words, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c32_rcp_sizes(uint64_t* out_words, uint64_t* scratch_words, uint64_t* transform_bytes,
                                          uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloatR_c64_rcp(const BasicParameters* params, BigFloat_c64* out, const BigFloat_c64* x,
                                    uint64_t p, uint64_t* scratch, uint64_t scratch_words, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c64_rcp_sizes(uint64_t* out_words, uint64_t* scratch_words, uint64_t* transform_bytes,
                                          uint64_t p, uint64_t tasks);

/* out = a/b. b must not be zero; a = 0 gives zero. |out * b / a - 1| < 2 * B^-p.   Source: inverse/division.cpp */
ExceptionWrapper* BigFloatR_c32_div(const BasicParameters* params, BigFloat_c32* out, const BigFloat_c32* a,
                                    const BigFloat_c32* b, uint64_t p, uint32_t* scratch, uint64_t scratch_words,
                                    const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c32_div_sizes(uint64_t* out_words, uint64_t* scratch_words, uint64_t* transform_bytes,
                                          uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloatR_c64_div(const BasicParameters* params, BigFloat_c64* out, const BigFloat_c64* a,
                                    const BigFloat_c64* b, uint64_t p, uint64_t* scratch, uint64_t scratch_words,
                                    const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c64_div_sizes(uint64_t* out_words, uint64_t* scratch_words, uint64_t* transform_bytes,
                                          uint64_t p, uint64_t tasks);

/* out = 1/sqrt(x) of one word x > 0. Exact for powers of four.   Source: inverse/inverse_sqrt.cpp */
ExceptionWrapper* BigFloatR_c32_invsqrt_uW(const BasicParameters* params, BigFloat_c32* out, uint32_t x, uint64_t p,
                                           uint32_t* scratch, uint64_t scratch_words, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c32_invsqrt_uW_sizes(uint64_t* out_words, uint64_t* scratch_words,
                                                 uint64_t* transform_bytes, uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloatR_c64_invsqrt_uW(const BasicParameters* params, BigFloat_c64* out, uint64_t x, uint64_t p,
                                           uint64_t* scratch, uint64_t scratch_words, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c64_invsqrt_uW_sizes(uint64_t* out_words, uint64_t* scratch_words,
                                                 uint64_t* transform_bytes, uint64_t p, uint64_t tasks);

/* out = x^n of one word; 0^0 = 1. Squarings are truncated to p + 2 words, so the relative error is below
 * 2 * n * B^-(p+1); exact while the power fits. Errors: "Generic Exception" (code 6) where x^n may have 2^62 words above
 * the point: n * (bits of x) / W >= 2^62.   Source: inverse/power.cpp */
ExceptionWrapper* BigFloatR_c32_pow_uW_uL(const BasicParameters* params, BigFloat_c32* out, uint32_t x, uint64_t n,
                                          uint64_t p, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c32_pow_uW_uL_sizes(uint64_t* out_words, uint64_t* transform_bytes, uint64_t p,
                                                uint64_t tasks);
ExceptionWrapper* BigFloatR_c64_pow_uW_uL(const BasicParameters* params, BigFloat_c64* out, uint64_t x, uint64_t n,
                                          uint64_t p, const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c64_pow_uW_uL_sizes(uint64_t* out_words, uint64_t* transform_bytes, uint64_t p,
                                                uint64_t tasks);

/* out = x^n for a signed n, through the reciprocal of x^|n| when n < 0 (x must then not be zero).
 *   Source: inverse/power.cpp */
ExceptionWrapper* BigFloatR_c32_pow_uW_sL(const BasicParameters* params, BigFloat_c32* out, uint32_t x, int64_t n,
                                          uint64_t p, uint32_t* scratch, uint64_t scratch_words,
                                          const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c32_pow_uW_sL_sizes(uint64_t* out_words, uint64_t* scratch_words,
                                                uint64_t* transform_bytes, uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloatR_c64_pow_uW_sL(const BasicParameters* params, BigFloat_c64* out, uint64_t x, int64_t n,
                                          uint64_t p, uint64_t* scratch, uint64_t scratch_words,
                                          const ProgressSink* sink);
ExceptionWrapper* BigFloatR_c64_pow_uW_sL_sizes(uint64_t* out_words, uint64_t* scratch_words,
                                                uint64_t* transform_bytes, uint64_t p, uint64_t tasks);

#ifdef __cplusplus
}
#endif
#endif
