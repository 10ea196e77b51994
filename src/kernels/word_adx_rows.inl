// Schoolbook by rows, C += A * b: the carry flag adds the upper half of the last product, the overflow flag the word
// of C. a * b + c + carry fits two words, so both chains end clear with the row.

// Rows of exactly N words: C[0..n+N) = A * B[0..n), the inner loop unrolled whole.
constexpr unsigned short_row_words = 24;

template <unsigned N>
void short_rows(Byte* C, const Byte* A, const Byte* B, u64 n) noexcept {
    static_assert(N >= 2 && N <= short_row_words);
    const Byte* const end = B + 8 * n;
    u64 low, high, other, zero;
    __asm__ volatile(
        ".macro kvnum_step i, high, last, add\n"
        "mulx 8*(\\i)(%[a]), %[low], \\high\n"
        ".if \\i\n"
        "adcx \\last, %[low]\n"
        ".endif\n"
        ".if \\add\n"
        "adox 8*(\\i)(%[c]), %[low]\n"
        ".endif\n"
        "mov %[low], 8*(\\i)(%[c])\n"
        ".if \\i + 1 < %c[words]\n"
        "kvnum_step \\i+1, \\last, \\high, \\add\n"
        ".else\n"
        "adcx %[zero], \\high\n"
        "adox %[zero], \\high\n"
        "mov \\high, 8*%c[words](%[c])\n"
        ".endif\n"
        ".endm\n"
        "mov (%[b]), %%rdx\n"
        "xor %k[zero], %k[zero]\n"
        "kvnum_step 0, %[high], %[other], 0\n"
        "jmp 2f\n"
        ".p2align 5\n"
        "1:\n"
        "mov (%[b]), %%rdx\n"
        "xor %k[zero], %k[zero]\n"
        "kvnum_step 0, %[high], %[other], 1\n"
        "2:\n"
        "add $8, %[b]\n"
        "add $8, %[c]\n"
        "cmp %[end], %[b]\n"
        "jne 1b\n"
        ".purgem kvnum_step\n"
        : [b] "+&r"(B), [c] "+&r"(C), [low] "=&r"(low), [high] "=&r"(high), [other] "=&r"(other), [zero] "=&r"(zero)
        : [a] "r"(A), [end] "r"(end), [words] "i"(N)
        : "rdx", "cc", "memory");
}

// Rows of any length L >= 1, n >= 1 of them: C[0..L+..] += A * B[j] at word j * c_step, where the row begins at word
// j * a_step of A and is shorter by a_step words each time; the word above each row is written. Eight words a pass;
// the row enters the unrolled pass in its middle, so that every pass ends at its end.
template <unsigned a_step, unsigned c_step>
inline __attribute__((always_inline)) void add_rows(Byte* C, const Byte* A, u64 L, const Byte* B, u64 n) noexcept {
    u64 low, high, other, entry, passes;
    const Byte* pa;
    Byte* pc;
    __asm__ volatile(
        ".macro kvnum_pass offset, high, last\n"
        "mulx \\offset(%[pa]), %[low], \\high\n"
        "adcx \\last, %[low]\n"
        "adox \\offset(%[pc]), %[low]\n"
        "mov %[low], \\offset(%[pc])\n"
        ".endm\n"
        "1:\n"
        // first = (L - 1) % 8 + 1 words in the first pass, passes = (L + 7) / 8
        "lea -1(%[length]), %[passes]\n"
        "mov %k[passes], %k[other]\n"
        "and $7, %k[other]\n"
        "lea 8(%[a],%[other],8), %[pa]\n"
        "lea 8(%[c],%[other],8), %[pc]\n"
        "lea 4f(%%rip), %[entry]\n"
        "imul $23, %k[other], %k[other]\n"
        "sub %[other], %[entry]\n"
        "shr $3, %[passes]\n"
        "mov (%[b]), %%rdx\n"
        "xor %k[high], %k[high]\n"
        "xor %k[other], %k[other]\n"  // clears both flags
        "jmp *%[entry]\n"
        ".p2align 5\n"
        "2:\n"
        "lea 64(%[pa]), %[pa]\n"
        "lea 64(%[pc]), %[pc]\n"
        "lea -1(%[passes]), %[passes]\n"
        "3:\n"
        "kvnum_pass -64, %[high], %[other]\n"
        "kvnum_pass -56, %[other], %[high]\n"
        "kvnum_pass -48, %[high], %[other]\n"
        "kvnum_pass -40, %[other], %[high]\n"
        "kvnum_pass -32, %[high], %[other]\n"
        "kvnum_pass -24, %[other], %[high]\n"
        "kvnum_pass -16, %[high], %[other]\n"
        "4:\n"
        "kvnum_pass -8, %[other], %[high]\n"
        ".if (4b - 3b) - 7 * 23\n"
        ".error \"a word of the pass is not 23 bytes long\"\n"
        ".endif\n"
        "jrcxz 5f\n"
        "jmp 2b\n"
        "5:\n"
        "adcx %[passes], %[other]\n"  // passes is zero here
        "adox %[passes], %[other]\n"
        "mov %[other], (%[pc])\n"
        "add $8, %[b]\n"
        "add $8*%c[c_step], %[c]\n"
        ".if %c[a_step]\n"
        "add $8*%c[a_step], %[a]\n"
        "sub $%c[a_step], %[length]\n"
        ".endif\n"
        "dec %[n]\n"
        "jnz 1b\n"
        ".purgem kvnum_pass\n"
        : [a] "+&r"(A), [b] "+&r"(B), [c] "+&r"(C), [n] "+&r"(n), [length] "+&r"(L), [pa] "=&S"(pa), [pc] "=&D"(pc),
          [low] "=&r"(low), [high] "=&r"(high), [other] "=&r"(other), [entry] "=&r"(entry), [passes] "=&c"(passes)
        : [a_step] "i"(a_step), [c_step] "i"(c_step)
        : "rdx", "cc", "memory");
}
