// Products of two operands of N words, N at most 6, unrolled whole: the words that still grow stay in registers.
//
// After row j the registers hold words j+1 .. j+N of the product so far. Row j + 1 adds A * B[j+1] to them by two
// carry chains, the lower halves of the products by the carry flag, the upper halves, one word up, by the overflow
// flag; the register of the word that was finished last becomes the new top word.

constexpr unsigned block_words = 6;

template <unsigned N>
void block_product(Byte* C, const Byte* A, const Byte* B) noexcept {
    static_assert(N >= 2 && N <= block_words);
    u64 r0, r1, r2, r3, r4, r5, r6, low, high;
    __asm__ volatile(
        // First row: words i and i + 1.
        ".macro kvnum_first i, s, t, rest:vararg\n"
        "mulx 8*(\\i)(%[a]), %[low], \\t\n"
        ".if \\i\n"
        "adcx %[low], \\s\n"
        ".else\n"
        "mov %[low], (%[c])\n"
        ".endif\n"
        ".ifb \\rest\n"
        "adc $0, \\t\n"
        ".else\n"
        "kvnum_first \\i+1, \\t, \\rest\n"
        ".endif\n"
        ".endm\n"
        // Row j: words i and i + 1.
        ".macro kvnum_step j, i, s, t, rest:vararg\n"
        "mulx 8*(\\i)(%[a]), %[low], %[high]\n"
        "adcx %[low], \\s\n"
        ".ifeq \\i\n"
        "mov \\s, 8*(\\j)(%[c])\n"
        ".endif\n"
        "adox %[high], \\t\n"
        ".ifb \\rest\n"
        "adc $0, \\t\n"
        ".else\n"
        "kvnum_step \\j, \\i+1, \\t, \\rest\n"
        ".endif\n"
        ".endm\n"
        ".macro kvnum_store i, s, rest:vararg\n"
        "mov \\s, 8*(\\i)(%[c])\n"
        ".ifnb \\rest\n"
        "kvnum_store \\i+1, \\rest\n"
        ".endif\n"
        ".endm\n"
        ".macro kvnum_rows j, first, rest:vararg\n"
        ".if \\j < %c[words]\n"
        "mov 8*(\\j)(%[b]), %%rdx\n"
        "xor \\first, \\first\n"
        "kvnum_step \\j, 0, \\rest, \\first\n"
        "kvnum_rows \\j+1, \\rest, \\first\n"
        ".else\n"
        "kvnum_store %c[words], \\rest\n"
        ".endif\n"
        ".endm\n"
        ".macro kvnum_block registers:vararg\n"
        "mov (%[b]), %%rdx\n"
        "xor %k[low], %k[low]\n"
        "kvnum_first 0, \\registers\n"
        "kvnum_rows 1, \\registers\n"
        ".endm\n"
        ".if %c[words] == 2\n"
        "kvnum_block %[r0], %[r1], %[r2]\n"
        ".elseif %c[words] == 3\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3]\n"
        ".elseif %c[words] == 4\n"
        "kvnum_block %[r0], %[r1], %[r2], %[r3], %[r4]\n"
        ".elseif %c[words] == 5\n"
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
