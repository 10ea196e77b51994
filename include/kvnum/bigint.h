#ifndef KVNUM_BIGINT_H
#define KVNUM_BIGINT_H
/* Signed integers of any length: sign and magnitude in words that the caller owns. Every call exists for 32-bit words
 * (c32) and 64-bit words (c64); what is said of one holds for both.
 *
 * All calls but the queries return NULL on success or an ExceptionWrapper that the caller releases through its own
 * destroy function. A capacity is checked before anything is written: on "Buffer is too small." (the message is
 * empty, the printout names the location) the result is untouched. Calls on different results may run at the same
 * time. */

#include "kvnum/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct BasicInt_c32 BasicInt_c32; /* kvnum/basicint.h */
typedef struct BasicInt_c64 BasicInt_c64;
typedef struct BigFloat_c32 BigFloat_c32; /* kvnum/bigfloat.h */
typedef struct BigFloat_c64 BigFloat_c64;
typedef struct ExactFloat_c32 ExactFloat_c32; /* kvnum/exactfloat.h */
typedef struct ExactFloat_c64 ExactFloat_c64;

/* The n words, the lowest at word position exp, modulo 2^61 - 1: the checksum of BasicInt and ExactFloat. */
static inline uint64_t kvnum_checksum_c32(const uint32_t* words, uint64_t n, int64_t exp) {
    const uint64_t m = ((uint64_t)1 << 61) - 1;
    const unsigned turn = (unsigned)((exp % 61 * 32 % 61 + 61) % 61); /* a factor 2^k is a rotation by k mod 61 */
    uint64_t h = 0;
    while (n-- > 0) {
        h = (((h << 32) & m) | (h >> 29)) + words[n];
        if (h >= m) h -= m;
    }
    return ((h << turn) & m) | (h >> (61 - turn));
}
static inline uint64_t kvnum_checksum_c64(const uint64_t* words, uint64_t n, int64_t exp) {
    const uint64_t m = ((uint64_t)1 << 61) - 1;
    const unsigned turn = (unsigned)((exp % 61 * 64 % 61 + 61) % 61);
    uint64_t h = 0;
    while (n-- > 0) {
        h = (((h << 3) & m) | (h >> 58)) + (words[n] & m) + (words[n] >> 61);
        h = (h & m) + (h >> 61);
        if (h >= m) h -= m;
    }
    return ((h << turn) & m) | (h >> (61 - turn));
}

/*   T            the words, least significant first; equals buffer after every set_ call. It may be pointed at other
 *                memory for an operand that is only read
 *   L            words in use; the top one is not zero; 0 means zero
 *   sign         true: zero or positive
 *   buffer       [buffer_size words] where results are written; any alignment that suits the word
 * A result starts as {buffer, 0, true, buffer, buffer_size}. */
typedef struct BigInt_c32 {
    uint32_t* T;
    uint64_t L;
    bool sign;
    uint32_t* buffer;
    uint64_t buffer_size;
} BigInt_c32;
typedef struct BigInt_c64 {
    uint64_t* T;
    uint64_t L;
    bool sign;
    uint64_t* buffer;
    uint64_t buffer_size;
} BigInt_c64;

/* out = x. Capacity is not checked: buffer holds at least one word, in c32 two (both are written). x = 0 sets L alone
 * and leaves sign as it is.   Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_set_uL(BigInt_c32* out, uint64_t x);
ExceptionWrapper* BigInt_c64_set_uL(BigInt_c64* out, uint64_t x);

/* out = the n words at src, zero words at the top dropped.
 *   out    [n words]; src may be out's buffer
 * Errors: "Buffer is too small." at "BigInt::set_BasicInt()".   Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_set_uWs(BigInt_c32* out, const uint32_t* src, uint64_t n);
ExceptionWrapper* BigInt_c64_set_uWs(BigInt_c64* out, const uint64_t* src, uint64_t n);

/* out = x.
 *   out    [x.L words]
 * Errors: "Buffer is too small." at "BigInt::set_BigInt()".   Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_set_BigInt(BigInt_c32* out, const BigInt_c32* x);
ExceptionWrapper* BigInt_c64_set_BigInt(BigInt_c64* out, const BigInt_c64* x);

/* out = x.
 *   out    [x.L words]
 * Errors: "Buffer is too small." at "BigInt::set_BasicInt()".   Source: objects/convert.cpp */
ExceptionWrapper* BigInt_c32_set_BasicInt(BigInt_c32* out, const BasicInt_c32* x);
ExceptionWrapper* BigInt_c64_set_BasicInt(BigInt_c64* out, const BasicInt_c64* x);

/* out = the integer part of x, rounded towards zero.
 *   out    [max(x.L, x.exp + x.L) words]; only x.L is checked: a value with a positive exponent writes more
 * Errors: "Buffer is too small." at "BigInt::set_BigFloat()".   Source: objects/convert.cpp */
ExceptionWrapper* BigInt_c32_set_BigFloat(BigInt_c32* out, const BigFloat_c32* x);
ExceptionWrapper* BigInt_c64_set_BigFloat(BigInt_c64* out, const BigFloat_c64* x);

/* Prints sign, L, buffer_size and the words (the five top ones from 20 words on) on the console.
 * Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_print(const BigInt_c32* x);
ExceptionWrapper* BigInt_c64_print(const BigInt_c64* x);

/* out[0..count) = words first .. first + count - 1 of the magnitude, zeros from L on. Cannot fail.
 * Source: objects/big_int.cpp */
void BigInt_c32_get_range(const BigInt_c32* x, uint32_t* out, uint64_t first, uint64_t count);
void BigInt_c64_get_range(const BigInt_c64* x, uint64_t* out, uint64_t first, uint64_t count);

/* -1, 0 or 1 as A is below, equal to or above B. Cannot fail.   Source: objects/big_int.cpp */
int32_t BigInt_c32_cmp(const BigInt_c32* A, const BigInt_c32* B);
int32_t BigInt_c64_cmp(const BigInt_c64* A, const BigInt_c64* B);

/* x = x * 2^bits, in place.
 *   x      [L + bits/wordbits + 1 words from T on] within buffer
 * Nothing happens when x or bits is 0. Errors: "Buffer is too small." at "BigInt::operator<<=()".
 * Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_shl(BigInt_c32* x, uint64_t bits);
ExceptionWrapper* BigInt_c64_shl(BigInt_c64* x, uint64_t bits);

/* x = x / 2^bits, in place, rounded towards zero. Cannot fail.   Source: objects/big_int.cpp */
void BigInt_c32_shr(BigInt_c32* x, uint64_t bits);
void BigInt_c64_shr(BigInt_c64* x, uint64_t bits);

/* x = x * m, in place.
 *   x      [L + 1 words from T on] within buffer, also when nothing is carried
 * Errors: "Buffer is too small." at "BigInt::mul_uW()".   Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_mul_uW(BigInt_c32* x, uint32_t m);
ExceptionWrapper* BigInt_c64_mul_uW(BigInt_c64* x, uint64_t m);

/* out = A * m.
 *   out    [A.L + 1 words]; may be A where A's words start at out's buffer
 * Errors: "Buffer is too small." at "BigInt::set_mul_uW()".   Source: objects/big_int.cpp */
ExceptionWrapper* BigInt_c32_set_mul_uW(BigInt_c32* out, const BigInt_c32* A, uint32_t m);
ExceptionWrapper* BigInt_c64_set_mul_uW(BigInt_c64* out, const BigInt_c64* A, uint64_t m);

/* out = A + B; out = A - B.
 *   out    [max(A.L, B.L) + 1 words] where magnitudes are added, also when nothing is carried; [max(A.L, B.L) words]
 *          where they are subtracted and differ; [the other operand's L words] where an operand is 0. May be A or B (or
 *          both) where their words start at out's buffer; must not overlap them otherwise
 * Errors: "Buffer is too small." at "BigInt::set_add()", for a zero operand at "BigInt::set_BigInt()".
 * Source: objects/big_int_arithmetic.cpp */
ExceptionWrapper* BigInt_c32_set_add(BigInt_c32* out, const BigInt_c32* A, const BigInt_c32* B);
ExceptionWrapper* BigInt_c64_set_add(BigInt_c64* out, const BigInt_c64* A, const BigInt_c64* B);
ExceptionWrapper* BigInt_c32_set_sub(BigInt_c32* out, const BigInt_c32* A, const BigInt_c32* B);
ExceptionWrapper* BigInt_c64_set_sub(BigInt_c64* out, const BigInt_c64* A, const BigInt_c64* B);

/* Scratch bytes (memory_bytes of BasicParameters) of set_mul of LA by LB words, and of set_sqr for LA = LB.
 * Errors: "Generic Exception" (code -4) beyond the longest product.   Source: objects/big_int_arithmetic.cpp */
ExceptionWrapper* BigInt_c32_mul_Psize(uint64_t* bytes_out, uint64_t LA, uint64_t LB, uint64_t tasks);
ExceptionWrapper* BigInt_c64_mul_Psize(uint64_t* bytes_out, uint64_t LA, uint64_t LB, uint64_t tasks);

/* out = A * A; out = A * B.
 *   out      [2 * A.L], [A.L + B.L words], also when an operand is 0; must not overlap an operand
 *   params   table covers the product's bits, memory as mul_Psize says; not used when an operand has fewer than 10
 *            words
 * Errors: "Buffer is too small." at "BigInt::set_sqr()", "BigInt::set_mul()", nothing written; "Lookup table is too
 * small.", "Buffer is too small." (scratch), nothing written; "Redundancy Check Failed:  " after a hardware fault,
 * the result is undefined.   Source: objects/big_int_arithmetic.cpp */
ExceptionWrapper* BigInt_c32_set_sqr(BigInt_c32* out, const BasicParameters* params, const BigInt_c32* A);
ExceptionWrapper* BigInt_c64_set_sqr(BigInt_c64* out, const BasicParameters* params, const BigInt_c64* A);
ExceptionWrapper* BigInt_c32_set_mul(BigInt_c32* out, const BasicParameters* params, const BigInt_c32* A,
                                     const BigInt_c32* B);
ExceptionWrapper* BigInt_c64_set_mul(BigInt_c64* out, const BasicParameters* params, const BigInt_c64* A,
                                     const BigInt_c64* B);

#ifdef __cplusplus
}
#endif
#endif
