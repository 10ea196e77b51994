#ifndef KVNUM_KERNELS_H
#define KVNUM_KERNELS_H
/* Kernels on raw word arrays: word 0 is the least significant. _c32 works on 32-bit words, _c64 on 64-bit words.
 * Nothing is checked and nothing fails. C99 and C++.
 *
 * The letters of a name:
 *   i  in place: the first array is operand and destination       n  new destination, given first
 *   r  returns the carry, borrow or carry word that leaves the L words; nothing beyond them is touched
 *   p  propagates it into the words above, without bound: the caller guarantees a word there that absorbs it (not all
 *      ones for a carry, not zero for a borrow)
 *   1  (add1_) adds a single carry instead of an array
 * Flags are 0 or 1; any other value counts as 1, and where a flag is a byte only that byte is looked at.
 * Arrays have the natural alignment of their words. Operands of the linear kernels may be the same array as the
 * destination; apart from that arrays must not overlap.
 * Threads: no shared state; calls on disjoint arrays may run together.   Source: kernels/linear.h,
 * kernels/schoolbook.h */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A += c, rippling up without bound; c = 0 touches nothing. */
void add1_ip_c32(uint32_t* A, uint32_t c);
void add1_ip_c64(uint64_t* A, uint32_t c);

/* A[0..L) += c; L >= 1. Returns 1 if the carry left word L-1, else 0. */
uint32_t add1_ir_c32(uint32_t* A, uint64_t L, uint32_t c);
uint32_t add1_ir_c64(uint64_t* A, uint64_t L, uint32_t c);

/* A[0..L) += B[0..L) + c; L may be 0. _ip ripples the carry into A[L], A[L+1], ...; _ir returns it. */
void add_ip_c32(uint32_t* A, const uint32_t* B, uint64_t L, uint32_t c);
void add_ip_c64(uint64_t* A, const uint64_t* B, uint64_t L, uint8_t c);
uint32_t add_ir_c32(uint32_t* A, const uint32_t* B, uint64_t L, uint32_t c);
uint32_t add_ir_c64(uint64_t* A, const uint64_t* B, uint64_t L, uint8_t c);

/* C[0..L) = A[0..L) + B[0..L) + c; L may be 0. Returns the carry. */
uint32_t add_nr_c32(uint32_t* C, const uint32_t* A, const uint32_t* B, uint64_t L, uint32_t c);
uint32_t add_nr_c64(uint64_t* C, const uint64_t* A, const uint64_t* B, uint64_t L, uint8_t c);

/* A[0..L) -= B[0..L) + b; L may be 0. _ip ripples the borrow into A[L], A[L+1], ...; _ir returns it. */
void sub_ip_c32(uint32_t* A, const uint32_t* B, uint64_t L, uint32_t b);
void sub_ip_c64(uint64_t* A, const uint64_t* B, uint64_t L, uint8_t b);
uint32_t sub_ir_c32(uint32_t* A, const uint32_t* B, uint64_t L, uint32_t b);
uint32_t sub_ir_c64(uint64_t* A, const uint64_t* B, uint64_t L, uint8_t b);

/* C[0..L) = A[0..L) - B[0..L) - b; L may be 0. Returns the borrow. */
uint32_t sub_nr_c32(uint32_t* C, const uint32_t* A, const uint32_t* B, uint64_t L, uint32_t b);
uint32_t sub_nr_c64(uint64_t* C, const uint64_t* A, const uint64_t* B, uint64_t L, uint8_t b);

/* A[0..L) = A[0..L) * m + carry (mul_nr: into C). Returns the word that would stand at index L. */
uint32_t mul_ir_c32(uint32_t* A, uint64_t L, uint32_t m, uint32_t carry);
uint64_t mul_ir_c64(uint64_t* A, uint64_t L, uint64_t m, uint64_t carry);
uint32_t mul_nr_c32(uint32_t* C, const uint32_t* A, uint64_t L, uint32_t m, uint32_t carry);
uint64_t mul_nr_c64(uint64_t* C, const uint64_t* A, uint64_t L, uint64_t m, uint64_t carry);

/* C[0..LA+LB) = A[0..LA) * B[0..LB) by the schoolbook method, quadratic in the lengths; LA, LB >= 1. Every word of C
 * is written, a zero top word too. C overlaps neither operand; A and B may be the same array. */
void mulB_c32(uint32_t* C, const uint32_t* A, uint64_t LA, const uint32_t* B, uint64_t LB);
void mulB_c64(uint64_t* C, const uint64_t* A, uint64_t LA, const uint64_t* B, uint64_t LB);

/* C[0..2L) = A[0..L) squared; the same words as mulB(C, A, L, A, L). */
void sqrB_c32(uint32_t* C, const uint32_t* A, uint64_t L);
void sqrB_c64(uint64_t* C, const uint64_t* A, uint64_t L);

#ifdef __cplusplus
}
#endif

#endif
