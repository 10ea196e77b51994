#ifndef KVNUM_BIGFLOAT_H
#define KVNUM_BIGFLOAT_H
/* Signed floating-point numbers of any precision, with an exponent in whole words. Every call exists for 32-bit words
 * (c32) and 64-bit words (c64); what is said of one holds for both.
 *
 * Calls return NULL on success or an ExceptionWrapper that the caller releases through its own destroy function. A
 * capacity is checked before anything is written: on "Buffer is too small." (the message is empty, the printout names
 * the location) the results are untouched. Calls on different results may run at the same time.
 *
 * A precision p counts words. Results of precision p keep up to p + 2 words (two guard words) and are truncated,
 * never rounded; they may have zero words at the bottom. */

#include "kvnum/basicint.h"
#include "kvnum/bigint.h"
#include "kvnum/exactfloat.h"

#ifdef __cplusplus
extern "C" {
#endif

/*   T            the words in use, least significant first; set to buffer by every set_ call, moved up by strip_tzs_all
 *   L            words in use; the top one is not zero; 0 means zero
 *   exp          exponent in words: the value is the sum of T[i] * W^(exp + i), W = 2^32 or 2^64. The caller keeps it within
 *                +-2^61; results leave that range only where operands are at its ends
 *   sign         true: zero or positive
 *   buffer       [buffer_size words] where results are written
 * A result starts as {buffer, 0, 0, true, buffer, buffer_size}. */
struct BigFloat_c32 {
    uint32_t* T;
    uint64_t L;
    int64_t exp;
    bool sign;
    uint32_t* buffer;
    uint64_t buffer_size;
};
struct BigFloat_c64 {
    uint64_t* T;
    uint64_t L;
    int64_t exp;
    bool sign;
    uint64_t* buffer;
    uint64_t buffer_size;
};

/* out = x. Capacity is not checked: buffer holds at least one word, in c32 two (both are written). x = 0 sets L
 * alone. Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_set_uL(BigFloat_c32* out, uint64_t x);
ExceptionWrapper* BigFloat_c64_set_uL(BigFloat_c64* out, uint64_t x);

/* out = x, exact; an ExactFloat gives a positive value.
 *   out    [x.L words]
 * Errors: "Buffer is too small." at "BigFloat::set_BasicInt()", "BigFloat::set_BigInt()",
 * "BigFloat::set_ExactFloat()".   Source: objects/convert.cpp */
ExceptionWrapper* BigFloat_c32_set_BasicInt(BigFloat_c32* out, const BasicInt_c32* x);
ExceptionWrapper* BigFloat_c64_set_BasicInt(BigFloat_c64* out, const BasicInt_c64* x);
ExceptionWrapper* BigFloat_c32_set_BigInt(BigFloat_c32* out, const BigInt_c32* x);
ExceptionWrapper* BigFloat_c64_set_BigInt(BigFloat_c64* out, const BigInt_c64* x);
ExceptionWrapper* BigFloat_c32_set_ExactFloat(BigFloat_c32* out, const ExactFloat_c32* x);
ExceptionWrapper* BigFloat_c64_set_ExactFloat(BigFloat_c64* out, const ExactFloat_c64* x);

/* out = the top p + 2 words of x.
 *   out    [min(x.L, p + 2) words]; may be x
 * Errors: "Buffer is too small." at "BigFloat::set_BigFloat()".   Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_set_BigFloat(BigFloat_c32* out, const BigFloat_c32* x, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_BigFloat(BigFloat_c64* out, const BigFloat_c64* x, uint64_t p);

/* out = d * W^e, exact.
 *   out    [2 words in c32, 1 in c64], and one more where the shift to whole words carries
 * Errors, nothing written: "Buffer is too small." at "BigFloat::set_double()", for the carried word at
 * "BigFloat::operator*=()"; "Value is unsupported." for infinities and NaN.   Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_set_double(BigFloat_c32* out, double d, int64_t e);
ExceptionWrapper* BigFloat_c64_set_double(BigFloat_c64* out, double d, int64_t e);

/* Returns d, of magnitude in [1/W, 1], and writes an exponent, so that x = d * W^(*exp_out) within a relative 2^-52.
 * Zero gives 0. Cannot fail.   Source: objects/big_float.cpp */
double BigFloat_c32_to_double(const BigFloat_c32* x, int64_t* exp_out);
double BigFloat_c64_to_double(const BigFloat_c64* x, int64_t* exp_out);

/* Prints sign, L, exp, buffer_size and the words (the five top ones from 20 words on).
 * Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_print(const BigFloat_c32* x);
ExceptionWrapper* BigFloat_c64_print(const BigFloat_c64* x);

/* out[0..count) = the words of the magnitude at word positions first .. first + count - 1, zeros where it has none
 * (position exp + i holds T[i]). Cannot fail.   Source: objects/big_float.cpp */
void BigFloat_c32_get_range(const BigFloat_c32* x, uint32_t* out, int64_t first, uint64_t count);
void BigFloat_c64_get_range(const BigFloat_c64* x, uint64_t* out, int64_t first, uint64_t count);

/* Drops zero words at the bottom: T moves up, exp rises, the value stays. Cannot fail.
 * Source: objects/big_float.cpp */
void BigFloat_c32_strip_tzs_all(BigFloat_c32* x);
void BigFloat_c64_strip_tzs_all(BigFloat_c64* x);

/* -1, 0 or 1 as A is below, equal to or above B. Undefined for a zero word at the top. Cannot fail.
 * Source: objects/big_float_sum.cpp */
int32_t BigFloat_c32_cmp(const BigFloat_c32* A, const BigFloat_c32* B);
int32_t BigFloat_c64_cmp(const BigFloat_c64* A, const BigFloat_c64* B);

/* x = x * 2^k; x = x * m, in place.
 *   x      [L + 1 words from T on] within buffer, also when nothing is carried
 * Nothing happens when x or k is 0 or m is 1. Errors: "Buffer is too small." at "BigFloat::operator*=()".
 * Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_mp2(BigFloat_c32* x, int64_t k);
ExceptionWrapper* BigFloat_c64_mp2(BigFloat_c64* x, int64_t k);
ExceptionWrapper* BigFloat_c32_mul_uW(BigFloat_c32* x, uint32_t m);
ExceptionWrapper* BigFloat_c64_mul_uW(BigFloat_c64* x, uint64_t m);

/* out = A * m.
 *   out    [A.L + 1 words]; may be A where A's words start at out's buffer
 * Errors: "Buffer is too small." at "BigFloat::set_mul_uW()".   Source: objects/big_float.cpp */
ExceptionWrapper* BigFloat_c32_set_mul_uW(BigFloat_c32* out, const BigFloat_c32* A, uint32_t m);
ExceptionWrapper* BigFloat_c64_set_mul_uW(BigFloat_c64* out, const BigFloat_c64* A, uint64_t m);

/* out = A + B; out = A - B, at precision p: both operands are cut below the lowest kept word, which lies p + 1 words
 * below the higher top (or at the lower exp, if that is higher), then added or subtracted. So a sum of magnitudes is
 * at most the exact one and less than one unit of that word smaller for each operand that is cut; a difference of
 * magnitudes is less than one unit off.
 *   out    [kept words + 1] where magnitudes are added, also when nothing is carried; [kept words] where they are
 *          subtracted (at most p + 1); [min(L, p + 2) words] of the other operand where one is 0. May be the operand
 *          with the lower exp (either when they are equal) where its words start at out's buffer or above; must not
 *          overlap the other one
 * Errors: "Buffer is too small." at "BigFloat::set_uadd()", "BigFloat::set_usub()", for a zero operand at
 * "BigFloat::set_BigFloat()".   Source: objects/big_float_sum.cpp */
ExceptionWrapper* BigFloat_c32_set_add(BigFloat_c32* out, const BigFloat_c32* A, const BigFloat_c32* B, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_add(BigFloat_c64* out, const BigFloat_c64* A, const BigFloat_c64* B, uint64_t p);
ExceptionWrapper* BigFloat_c32_set_sub(BigFloat_c32* out, const BigFloat_c32* A, const BigFloat_c32* B, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_sub(BigFloat_c64* out, const BigFloat_c64* A, const BigFloat_c64* B, uint64_t p);

/* Scratch bytes (memory_bytes of BasicParameters) of the products below, for operands of LA and LB words.
 * Errors: "Generic Exception" (code -4) beyond the longest product.   Source: objects/big_float_product.cpp */
ExceptionWrapper* BigFloat_c32_mul_Psize(uint64_t* bytes_out, uint64_t LA, uint64_t LB, uint64_t p, uint64_t tasks);
ExceptionWrapper* BigFloat_c64_mul_Psize(uint64_t* bytes_out, uint64_t LA, uint64_t LB, uint64_t p, uint64_t tasks);

/* out = A * A; out = A * B, at precision p: both operands are cut to their top p + 2 words, and of their exact
 * product the top p + 2 words are kept, word for word (the first kept word is not zero).
 *   out      [min(product words, p + 2) words]; must not overlap an operand
 *   params   table covers the product's bits, memory as mul_Psize says
 * Errors: "Buffer is too small." at "BigFloat::set_sqr()", "BigFloat::set_mul()", nothing written; those of the large
 * products (kvnum/multiply.h).   Source: objects/big_float_product.cpp */
ExceptionWrapper* BigFloat_c32_set_sqr(BigFloat_c32* out, const BasicParameters* params, const BigFloat_c32* A,
                                       uint64_t p);
ExceptionWrapper* BigFloat_c64_set_sqr(BigFloat_c64* out, const BasicParameters* params, const BigFloat_c64* A,
                                       uint64_t p);
ExceptionWrapper* BigFloat_c32_set_mul(BigFloat_c32* out, const BasicParameters* params, const BigFloat_c32* A,
                                       const BigFloat_c32* B, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_mul(BigFloat_c64* out, const BasicParameters* params, const BigFloat_c64* A,
                                       const BigFloat_c64* B, uint64_t p);

/* x = x * x; x = x * B, at precision p, as above; the result is written from the start of x's buffer on. B may be x,
 * and must not overlap x's buffer otherwise. */
ExceptionWrapper* BigFloat_c32_set_sqr_ip(BigFloat_c32* x, const BasicParameters* params, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_sqr_ip(BigFloat_c64* x, const BasicParameters* params, uint64_t p);
ExceptionWrapper* BigFloat_c32_set_mul_ip(BigFloat_c32* x, const BasicParameters* params, const BigFloat_c32* B,
                                          uint64_t p);
ExceptionWrapper* BigFloat_c64_set_mul_ip(BigFloat_c64* x, const BasicParameters* params, const BigFloat_c64* B,
                                          uint64_t p);

/* out_AB = A * B and out_BC = B * C at precision p, the same words as two calls of set_mul; B is transformed once for
 * both where that is faster and the scratch of mul_iPsize for the longer product is there.
 *   out_AB, out_BC   [min(product words, p + 2) words each]; distinct, and overlapping no operand
 * Errors as set_mul; both capacities are checked first.   Source: objects/big_float_product.cpp */
ExceptionWrapper* BigFloat_c32_set_mul_AB_BC(BigFloat_c32* out_AB, BigFloat_c32* out_BC,
                                             const BasicParameters* params, const BigFloat_c32* A,
                                             const BigFloat_c32* B, const BigFloat_c32* C, uint64_t p);
ExceptionWrapper* BigFloat_c64_set_mul_AB_BC(BigFloat_c64* out_AB, BigFloat_c64* out_BC,
                                             const BasicParameters* params, const BigFloat_c64* A,
                                             const BigFloat_c64* B, const BigFloat_c64* C, uint64_t p);

#ifdef __cplusplus
}
#endif
#endif
