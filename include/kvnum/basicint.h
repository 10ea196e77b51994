#ifndef KVNUM_BASICINT_H
#define KVNUM_BASICINT_H
/* Small non-negative integers with a checksum. Every call exists for 32-bit words (c32) and 64-bit words (c64); what is
 * said of one holds for both.
 *
 * Calls return NULL on success or an ExceptionWrapper that the caller releases through its own destroy function. A
 * capacity is checked before anything is written: on "Buffer is too small." (the message is empty, the printout names
 * the location) the results are untouched. Calls on different results may run at the same time. */

#include "kvnum/bigint.h"
#include "kvnum/threads.h"

#ifdef __cplusplus
extern "C" {
#endif

/*   T            the words, least significant first; results are written here
 *   L            words in use; the top one is not zero; 0 means zero
 *   hash         the value modulo 2^61 - 1, kept by every call and never recomputed but by print
 *   buffer_size  words at T
 * There is no call that sets a value: fill the words and use make_BasicInt_cN below. */
struct BasicInt_c32 {
    uint32_t* T;
    uint64_t L;
    uint64_t hash;
    uint64_t buffer_size;
};
struct BasicInt_c64 {
    uint64_t* T;
    uint64_t L;
    uint64_t hash;
    uint64_t buffer_size;
};

/* The n words at words as a number, with zero words at the top dropped and the checksum computed; buffer_size words
 * are there for results. */
static inline BasicInt_c32 make_BasicInt_c32(uint32_t* words, uint64_t n, uint64_t buffer_size) {
    BasicInt_c32 x;
    while (n > 0 && words[n - 1] == 0) --n;
    x.T = words;
    x.L = n;
    x.hash = kvnum_checksum_c32(words, n, 0);
    x.buffer_size = buffer_size;
    return x;
}
static inline BasicInt_c64 make_BasicInt_c64(uint64_t* words, uint64_t n, uint64_t buffer_size) {
    BasicInt_c64 x;
    while (n > 0 && words[n - 1] == 0) --n;
    x.T = words;
    x.L = n;
    x.hash = kvnum_checksum_c64(words, n, 0);
    x.buffer_size = buffer_size;
    return x;
}

/* out = out + x.
 *   out    [out.L + 1 words], also when nothing is carried; out.L at least x.L (else the process ends); may be x
 * Errors: "Buffer is too small." at "BasicInt::operator+=()".   Source: objects/basic_int.cpp */
ExceptionWrapper* BasicInt_c32_set_addto(BasicInt_c32* out, const BasicInt_c32* x);
ExceptionWrapper* BasicInt_c64_set_addto(BasicInt_c64* out, const BasicInt_c64* x);

/* out = A + B.
 *   out    [max(A.L, B.L) + 1 words], also when nothing is carried; may be A or B, must not overlap them otherwise
 * Errors: "Buffer is too small." at "BasicIntR::set_add()".   Source: objects/basic_int.cpp */
ExceptionWrapper* BasicInt_c32_set_add(BasicInt_c32* out, const BasicInt_c32* A, const BasicInt_c32* B);
ExceptionWrapper* BasicInt_c64_set_add(BasicInt_c64* out, const BasicInt_c64* A, const BasicInt_c64* B);

/* out = out - x; out = A - B. The difference must be positive.
 *   out    [max(A.L, B.L) words]; may be A or B, must not overlap them otherwise
 * Errors, nothing written, all at "BasicInt::operator-=()": "Buffer is too small."; "A negative value was
 * encountered." for A < B; "Zero was encountered." for A = B.   Source: objects/basic_int.cpp */
ExceptionWrapper* BasicInt_c32_set_subto(BasicInt_c32* out, const BasicInt_c32* x);
ExceptionWrapper* BasicInt_c64_set_subto(BasicInt_c64* out, const BasicInt_c64* x);
ExceptionWrapper* BasicInt_c32_set_sub(BasicInt_c32* out, const BasicInt_c32* A, const BasicInt_c32* B);
ExceptionWrapper* BasicInt_c64_set_sub(BasicInt_c64* out, const BasicInt_c64* A, const BasicInt_c64* B);

/* out = A * A; out = A * B, by the schoolbook method at every length.
 *   out    [2 * A.L], [A.L + B.L words]; must not overlap an operand
 * Errors: "Buffer is too small." at "BasicInt::set_sqrB()", "BasicIntR::set_mulB()".
 * Source: objects/basic_int.cpp */
ExceptionWrapper* BasicInt_c32_set_sqrB(BasicInt_c32* out, const BasicInt_c32* A);
ExceptionWrapper* BasicInt_c64_set_sqrB(BasicInt_c64* out, const BasicInt_c64* A);
ExceptionWrapper* BasicInt_c32_set_mulB(BasicInt_c32* out, const BasicInt_c32* A, const BasicInt_c32* B);
ExceptionWrapper* BasicInt_c64_set_mulB(BasicInt_c64* out, const BasicInt_c64* A, const BasicInt_c64* B);

/* Prints L, hash with "(ok)" or "(fail)" as it agrees with the words or not, and all words.
 * Source: objects/basic_int.cpp */
ExceptionWrapper* BasicInt_c32_print(const BasicInt_c32* x);
ExceptionWrapper* BasicInt_c64_print(const BasicInt_c64* x);

/* Decimal text of x, by an algorithm that takes quadratic time; a warning is printed from 10,001 words on.
 *   out    a text that it holds is freed first, so zero the record before its first use; the caller frees the text
 *          with out's text_free. Left as it was on failure ("std::bad_alloc").   Source: objects/basic_int_text.cpp
 */
ExceptionWrapper* BasicIntO_c32_to_string(TextRecord* out, const BasicInt_c32* x);
ExceptionWrapper* BasicIntO_c64_to_string(TextRecord* out, const BasicInt_c64* x);

#ifdef __cplusplus
}
#endif
#endif
