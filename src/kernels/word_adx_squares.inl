// Squares by symmetry: the products above the diagonal once, doubled, and the squares on the diagonal added.

// Words of the square above the diagonal, doubled, and the diagonal added: C[0..2L) holds sum over i < j of A[i] A[j]
// B^(i+j) in words 1 .. 2L-2.
void double_and_add_diagonal(Byte* C, const Byte* A, u64 L) noexcept {
    u64 low, high, word;
    store(C, 0);
    store(C + 16 * L - 8, 0);
    __asm__ volatile(
        "xor %k[word], %k[word]\n"
        ".p2align 4\n"
        "1:\n"
        "mov (%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "mov (%[c]), %[word]\n"
        "adcx %[word], %[word]\n"
        "adox %[low], %[word]\n"
        "mov %[word], (%[c])\n"
        "mov 8(%[c]), %[word]\n"
        "adcx %[word], %[word]\n"
        "adox %[high], %[word]\n"
        "mov %[word], 8(%[c])\n"
        "lea 8(%[a]), %[a]\n"
        "lea 16(%[c]), %[c]\n"
        "lea -1(%[count]), %[count]\n"
        "jrcxz 2f\n"
        "jmp 1b\n"
        "2:\n"
        : [a] "+&r"(A), [c] "+&r"(C), [count] "+&c"(L), [low] "=&r"(low), [high] "=&r"(high), [word] "=&r"(word)
        :
        : "rdx", "cc", "memory");
}

// The products above the diagonal of N words, unrolled: row j is A[j] * A[j+1..N) at word 2 j + 1. With `accumulate`,
// row 0 is added too, to what longer rows left in C[1..N); every row writes the word above it.
template <unsigned N, bool accumulate>
inline __attribute__((always_inline)) void add_triangle(Byte* C, const Byte* A) noexcept {
    u64 low, high, other, zero;
    __asm__ volatile(
        // words i of row j; the upper half of the last product alternates between two registers
        ".macro kvnum_step j, i, high, last\n"
        "mulx 8*(\\i)(%[a]), %[low], \\high\n"
        ".if \\i > \\j + 1\n"
        "adcx \\last, %[low]\n"
        ".endif\n"
        ".if \\j + %c[accumulate]\n"
        "adox 8*(\\i+\\j)(%[c]), %[low]\n"
        ".endif\n"
        "mov %[low], 8*(\\i+\\j)(%[c])\n"
        ".if \\i + 1 < %c[words]\n"
        "kvnum_step \\j, \\i+1, \\last, \\high\n"
        ".else\n"
        "adcx %[zero], \\high\n"
        "adox %[zero], \\high\n"
        "mov \\high, 8*(%c[words]+\\j)(%[c])\n"
        ".endif\n"
        ".endm\n"
        ".macro kvnum_rows j\n"
        "mov 8*(\\j)(%[a]), %%rdx\n"
        "xor %k[zero], %k[zero]\n"
        "kvnum_step \\j, \\j+1, %[high], %[other]\n"
        ".if \\j + 2 < %c[words]\n"
        "kvnum_rows \\j+1\n"
        ".endif\n"
        ".endm\n"
        "kvnum_rows 0\n"
        ".purgem kvnum_step\n"
        ".purgem kvnum_rows\n"
        : [low] "=&r"(low), [high] "=&r"(high), [other] "=&r"(other), [zero] "=&r"(zero)
        : [a] "r"(A), [c] "r"(C), [words] "i"(N), [accumulate] "i"(accumulate)
        : "rdx", "cc", "memory");
}

// Squares of N words: double_and_add_diagonal() unrolled; words 0 and 2 N - 1 are not read.
template <unsigned N>
void short_square(Byte* C, const Byte* A) noexcept {
    add_triangle<N, false>(C, A);
    u64 low, high, word, zero;
    __asm__ volatile(
        ".macro kvnum_diagonal i\n"
        "mov 8*(\\i)(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        ".if \\i\n"
        "mov 16*(\\i)(%[c]), %[word]\n"
        "adcx %[word], %[word]\n"
        "adox %[word], %[low]\n"
        ".endif\n"
        "mov %[low], 16*(\\i)(%[c])\n"
        ".if \\i + 1 < %c[words]\n"
        "mov 16*(\\i)+8(%[c]), %[word]\n"
        "adcx %[word], %[word]\n"
        "adox %[word], %[high]\n"
        "mov %[high], 16*(\\i)+8(%[c])\n"
        "kvnum_diagonal \\i+1\n"
        ".else\n"
        "adcx %[zero], %[high]\n"
        "adox %[zero], %[high]\n"
        "mov %[high], 16*(\\i)+8(%[c])\n"
        ".endif\n"
        ".endm\n"
        "xor %k[zero], %k[zero]\n"
        "kvnum_diagonal 0\n"
        ".purgem kvnum_diagonal\n"
        : [low] "=&r"(low), [high] "=&r"(high), [word] "=&r"(word), [zero] "=&r"(zero)
        : [a] "r"(A), [c] "r"(C), [words] "i"(N)
        : "rdx", "cc", "memory");
}

// Three and four words, in registers: r1 .. gather the products above the diagonal.
void square_3(Byte* C, const Byte* A) noexcept {
    u64 r1, r2, r3, r4, low, high;
    __asm__ volatile(
        "mov (%[a]), %%rdx\n"
        "mulx 8(%[a]), %[r1], %[r2]\n"
        "mulx 16(%[a]), %[low], %[r3]\n"
        "add %[low], %[r2]\n"
        "mov 8(%[a]), %%rdx\n"
        "mulx 16(%[a]), %[low], %[r4]\n"
        "adc %[low], %[r3]\n"
        "adc $0, %[r4]\n"
        "mov (%[a]), %%rdx\n"
        "xor %k[low], %k[low]\n"  // clears both flags
        "mulx %%rdx, %[low], %[high]\n"
        "mov %[low], (%[c])\n"
        "adcx %[r1], %[r1]\n"
        "adox %[high], %[r1]\n"
        "mov %[r1], 8(%[c])\n"
        "mov 8(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "adcx %[r2], %[r2]\n"
        "adox %[low], %[r2]\n"
        "mov %[r2], 16(%[c])\n"
        "adcx %[r3], %[r3]\n"
        "adox %[high], %[r3]\n"
        "mov %[r3], 24(%[c])\n"
        "mov 16(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "adcx %[r4], %[r4]\n"
        "adox %[low], %[r4]\n"
        "mov %[r4], 32(%[c])\n"
        "mov $0, %k[low]\n"
        "adcx %[low], %[high]\n"
        "adox %[low], %[high]\n"
        "mov %[high], 40(%[c])\n"
        : [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [low] "=&r"(low), [high] "=&r"(high)
        : [a] "r"(A), [c] "r"(C)
        : "rdx", "cc", "memory");
}

void square_4(Byte* C, const Byte* A) noexcept {
    u64 r1, r2, r3, r4, r5, r6, low, high;
    __asm__ volatile(
        "mov (%[a]), %%rdx\n"
        "mulx 8(%[a]), %[r1], %[r2]\n"
        "mulx 16(%[a]), %[low], %[r3]\n"
        "add %[low], %[r2]\n"
        "mulx 24(%[a]), %[low], %[r4]\n"
        "adc %[low], %[r3]\n"
        "mov 8(%[a]), %%rdx\n"
        "mulx 24(%[a]), %[low], %[r5]\n"
        "adc %[low], %[r4]\n"
        "mov 24(%[a]), %%rdx\n"
        "mulx 16(%[a]), %[low], %[r6]\n"
        "adc %[low], %[r5]\n"
        "adc $0, %[r6]\n"
        "mov 8(%[a]), %%rdx\n"
        "mulx 16(%[a]), %[low], %[high]\n"
        "add %[low], %[r3]\n"
        "adc %[high], %[r4]\n"
        "adc $0, %[r5]\n"
        "adc $0, %[r6]\n"
        "mov (%[a]), %%rdx\n"
        "xor %k[low], %k[low]\n"  // clears both flags
        "mulx %%rdx, %[low], %[high]\n"
        "mov %[low], (%[c])\n"
        "adcx %[r1], %[r1]\n"
        "adox %[high], %[r1]\n"
        "mov %[r1], 8(%[c])\n"
        "mov 8(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "adcx %[r2], %[r2]\n"
        "adox %[low], %[r2]\n"
        "mov %[r2], 16(%[c])\n"
        "adcx %[r3], %[r3]\n"
        "adox %[high], %[r3]\n"
        "mov %[r3], 24(%[c])\n"
        "mov 16(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "adcx %[r4], %[r4]\n"
        "adox %[low], %[r4]\n"
        "mov %[r4], 32(%[c])\n"
        "adcx %[r5], %[r5]\n"
        "adox %[high], %[r5]\n"
        "mov %[r5], 40(%[c])\n"
        "mov 24(%[a]), %%rdx\n"
        "mulx %%rdx, %[low], %[high]\n"
        "adcx %[r6], %[r6]\n"
        "adox %[low], %[r6]\n"
        "mov %[r6], 48(%[c])\n"
        "mov $0, %k[low]\n"
        "adcx %[low], %[high]\n"
        "adox %[low], %[high]\n"
        "mov %[high], 56(%[c])\n"
        : [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4), [r5] "=&r"(r5), [r6] "=&r"(r6),
          [low] "=&r"(low), [high] "=&r"(high)
        : [a] "r"(A), [c] "r"(C)
        : "rdx", "cc", "memory");
}
