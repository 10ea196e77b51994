// Products of two operands of N words, N at most 6, unrolled whole: the words that still grow stay in registers.
//
// After row j the registers hold words j+1 .. j+N of the product so far. Row j + 1 adds A * B[j+1] to them by two
// carry chains, the lower halves of the products by the carry flag, the upper halves, one word up, by the overflow
// flag; the register of the word that was finished last becomes the new top word.

constexpr unsigned block_words = 6;

// Two functions, so that the smaller ones need no more registers than they use.
template <unsigned N>
void small_block_product(Byte* C, const Byte* A, const Byte* B) noexcept {
    static_assert(N >= 2 && N <= 4);
    u64 r0, r1, r2, r3, r4, low, high;
    __asm__ volatile(
#include "kernels/word_adx_block_text.inl"
        ".if %c[words] == 2\n"
        "kvnum_block %[r0], %[r1], %[r2]\n"
        ".elseif %c[words] == 3\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3]\n"
        ".else\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3], %[r4]\n"
        ".endif\n"
        ".purgem kvnum_first\n"
        ".purgem kvnum_step\n"
        ".purgem kvnum_store\n"
        ".purgem kvnum_rows\n"
        ".purgem kvnum_block\n"
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [low] "=&r"(low),
          [high] "=&r"(high)
        : [a] "r"(A), [b] "r"(B), [c] "r"(C), [words] "i"(N)
        : "rdx", "cc", "memory");
}

template <unsigned N>
void block_product(Byte* C, const Byte* A, const Byte* B) noexcept {
    static_assert(N >= 5 && N <= block_words);
    u64 r0, r1, r2, r3, r4, r5, r6, low, high;
    __asm__ volatile(
#include "kernels/word_adx_block_text.inl"
        ".if %c[words] == 5\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3], %[r4], %[r5]\n"
        ".else\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3], %[r4], %[r5], %[r6]\n"
        ".endif\n"
        ".purgem kvnum_first\n"
        ".purgem kvnum_step\n"
        ".purgem kvnum_store\n"
        ".purgem kvnum_rows\n"
        ".purgem kvnum_block\n"
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5),
          [r6] "=&r"(r6), [low] "=&r"(low), [high] "=&r"(high)
        : [a] "r"(A), [b] "r"(B), [c] "r"(C), [words] "i"(N)
        : "rdx", "cc", "memory");
}
