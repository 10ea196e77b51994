#ifndef KVNUM_EXACTFLOAT_H
#define KVNUM_EXACTFLOAT_H
/* Non-negative floating-point numbers that are never rounded, with a checksum. Every call exists for 32-bit words
 * (c32) and 64-bit words (c64); what is said of one holds for both.
 *
 * Calls return NULL on success or an ExceptionWrapper that the caller releases through its own destroy function. A
 * capacity is checked before anything is written: on "Buffer is too small." (the message is empty, the printout names
 * the location) the results are untouched. Calls on different results may run at the same time. */

#include "kvnum/bigint.h"

#ifdef __cplusplus
extern "C" {
#endif

/*   T            the words in use, least significant first; set to buffer by every set_ call, moved up by strip_tzs_all
 *   L            words in use; 0 means zero
 *   exp          exponent in words: the value is the sum of T[i] * W^(exp + i), W = 2^32 or 2^64
 *   hash         the value modulo 2^61 - 1, kept by every call and never recomputed but by print
 *   buffer       [buffer_size words] where results are written
 * There is no call that sets a value: fill the words and use make_ExactFloat_cN below. */
struct ExactFloat_c32 {
    uint32_t* T;
    uint64_t L;
    int64_t exp;
    uint64_t hash;
    uint32_t* buffer;
    uint64_t buffer_size;
};
struct ExactFloat_c64 {
    uint64_t* T;
    uint64_t L;
    int64_t exp;
    uint64_t hash;
    uint64_t* buffer;
    uint64_t buffer_size;
};

/* The n words at words, the lowest at word position exp, as a number, with zero words at the top dropped and the
 * checksum computed; buffer_size words are there for results. */
static inline ExactFloat_c32 make_ExactFloat_c32(uint32_t* words, uint64_t n, int64_t exp, uint64_t buffer_size) {
    ExactFloat_c32 x;
    while (n > 0 && words[n - 1] == 0) --n;
    x.T = words;
    x.L = n;
    x.exp = exp;
    x.hash = kvnum_checksum_c32(words, n, exp);
    x.buffer = words;
    x.buffer_size = buffer_size;
    return x;
}
static inline ExactFloat_c64 make_ExactFloat_c64(uint64_t* words, uint64_t n, int64_t exp, uint64_t buffer_size) {
    ExactFloat_c64 x;
    while (n > 0 && words[n - 1] == 0) --n;
    x.T = words;
    x.L = n;
    x.exp = exp;
    x.hash = kvnum_checksum_c64(words, n, exp);
    x.buffer = words;
    x.buffer_size = buffer_size;
    return x;
}

/* x = x + y, in place.
 *   x      has a free word behind its last one inside buffer, and y's positions lie inside x's: x.exp <= y.exp,
 *          y.exp + y.L <= x.exp + x.L; else the process ends
 * Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_AddTo(ExactFloat_c32* x, const ExactFloat_c32* y);
ExceptionWrapper* ExactFloat_c64_AddTo(ExactFloat_c64* x, const ExactFloat_c64* y);

/* x = x - y, in place. The difference must be positive.
 *   y      its positions lie inside x's, as for AddTo; else the process ends
 * Errors, nothing written, at "ExactFloat::operator-=()": "A negative value was encountered." for x < y; "Zero was
 * encountered." for x = y.   Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_SubTo(ExactFloat_c32* x, const ExactFloat_c32* y);
ExceptionWrapper* ExactFloat_c64_SubTo(ExactFloat_c64* x, const ExactFloat_c64* y);

/* out = A + B, every word.
 *   out    [highest top - lowest exp + 1 words], also when nothing is carried. May be the operand with the lower exp
 *          (either when they are equal) where its words start at out's buffer; must not overlap the other one
 * Errors: "Buffer is too small." at "ExactFloat::set_add()".   Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_set_add(ExactFloat_c32* out, const ExactFloat_c32* A, const ExactFloat_c32* B);
ExceptionWrapper* ExactFloat_c64_set_add(ExactFloat_c64* out, const ExactFloat_c64* A, const ExactFloat_c64* B);

/* out = A - B, every word. The difference must be positive.
 *   out    [A's top - lowest exp words]; may be an operand as for set_add
 * Errors, nothing written, at "ExactFloat::set_sub()": "Buffer is too small."; "A negative value was encountered."
 * for A < B; "Zero was encountered." for A = B.   Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_set_sub(ExactFloat_c32* out, const ExactFloat_c32* A, const ExactFloat_c32* B);
ExceptionWrapper* ExactFloat_c64_set_sub(ExactFloat_c64* out, const ExactFloat_c64* A, const ExactFloat_c64* B);

/* x = x * 2^k, in place.
 *   x      [L words], and one more where a word is carried
 * Errors: "Buffer is too small." at "ExactFloat::operator<<=()".   Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_mp2(ExactFloat_c32* x, int64_t k);
ExceptionWrapper* ExactFloat_c64_mp2(ExactFloat_c64* x, int64_t k);

/* Drops zero words at the bottom: T moves up, exp rises, the value stays. x must not be zero. Cannot fail.
 * Source: objects/exact_float.cpp */
void ExactFloat_c32_strip_tzs_all(ExactFloat_c32* x);
void ExactFloat_c64_strip_tzs_all(ExactFloat_c64* x);

/* out = A * A; out = A * B.
 *   out      [2 * A.L], [A.L + B.L words]; must not overlap an operand
 *   params   table covers the product's bits, memory as BigInt_cN_mul_Psize says; not used below 20 product words
 * Errors: "Buffer is too small." at "ExactFloat::set_sqr()", "ExactFloat::set_mul()"; those of the large products
 * (kvnum/multiply.h).   Source: objects/exact_float_product.cpp */
ExceptionWrapper* ExactFloat_c32_set_sqr(ExactFloat_c32* out, const BasicParameters* params, const ExactFloat_c32* A);
ExceptionWrapper* ExactFloat_c64_set_sqr(ExactFloat_c64* out, const BasicParameters* params, const ExactFloat_c64* A);
ExceptionWrapper* ExactFloat_c32_set_mul(ExactFloat_c32* out, const BasicParameters* params, const ExactFloat_c32* A,
                                         const ExactFloat_c32* B);
ExceptionWrapper* ExactFloat_c64_set_mul(ExactFloat_c64* out, const BasicParameters* params, const ExactFloat_c64* A,
                                         const ExactFloat_c64* B);

/* out = A * B, starting at word position extend where the product starts above it (zero words are put below), so that
 * AddTo of a value that reaches so low is possible later.
 *   out      [A.L + B.L + max(A.exp + B.exp - extend, 0) words]
 * The rest as set_mul; location "ExactFloat::set_mul(extend)". */
ExceptionWrapper* ExactFloat_c32_set_mul_extend(ExactFloat_c32* out, const BasicParameters* params,
                                                const ExactFloat_c32* A, const ExactFloat_c32* B, int64_t extend);
ExceptionWrapper* ExactFloat_c64_set_mul_extend(ExactFloat_c64* out, const BasicParameters* params,
                                                const ExactFloat_c64* A, const ExactFloat_c64* B, int64_t extend);

/* out_AB = A * B and out_BC = B * C, the same words as two calls of set_mul; B is transformed once for both where that
 * is faster and the scratch of mul_iPsize for the longer product is there. _normalize then strips zero words at the
 * bottom of both.
 *   out_AB, out_BC   [A.L + B.L], [B.L + C.L words]; distinct, and overlapping no operand
 * Errors as set_mul; both capacities are checked first.   Source: objects/exact_float_product.cpp */
ExceptionWrapper* ExactFloat_c32_set_mul_AB_BC(ExactFloat_c32* out_AB, ExactFloat_c32* out_BC,
                                               const BasicParameters* params, const ExactFloat_c32* A,
                                               const ExactFloat_c32* B, const ExactFloat_c32* C);
ExceptionWrapper* ExactFloat_c64_set_mul_AB_BC(ExactFloat_c64* out_AB, ExactFloat_c64* out_BC,
                                               const BasicParameters* params, const ExactFloat_c64* A,
                                               const ExactFloat_c64* B, const ExactFloat_c64* C);
ExceptionWrapper* ExactFloat_c32_set_mul_AB_BC_normalize(ExactFloat_c32* out_AB, ExactFloat_c32* out_BC,
                                                         const BasicParameters* params, const ExactFloat_c32* A,
                                                         const ExactFloat_c32* B, const ExactFloat_c32* C);
ExceptionWrapper* ExactFloat_c64_set_mul_AB_BC_normalize(ExactFloat_c64* out_AB, ExactFloat_c64* out_BC,
                                                         const BasicParameters* params, const ExactFloat_c64* A,
                                                         const ExactFloat_c64* B, const ExactFloat_c64* C);

/* Prints L, exp, hash with "(ok)" or "(fail)" as it agrees with the words or not, buffer_size and the words (the five
 * top ones from 20 words on).   Source: objects/exact_float.cpp */
ExceptionWrapper* ExactFloat_c32_print(const ExactFloat_c32* x);
ExceptionWrapper* ExactFloat_c64_print(const ExactFloat_c64* x);

#ifdef __cplusplus
}
#endif
#endif
