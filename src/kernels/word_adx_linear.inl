// add, sub, mul, addmul: one carry chain over the array, eight words a step and single words before them.
// The carry flag lives from step to step: only lea, mov, mulx and dec may stand between.

u64 add(void* C, const void* A, const void* B, u64 n, u64 carry) noexcept {
    u64 word, singles = n % 8, steps = n / 8;
    __asm__ volatile(
        "neg %[carry]\n"  // carry flag = carry
        "inc %[singles]\n"
        "dec %[singles]\n"
        "jz 2f\n"
        "1:\n"
        "mov (%[a]), %[word]\n"
        "adc (%[b]), %[word]\n"
        "mov %[word], (%[c])\n"
        "lea 8(%[a]), %[a]\n"
        "lea 8(%[b]), %[b]\n"
        "lea 8(%[c]), %[c]\n"
        "dec %[singles]\n"
        "jnz 1b\n"
        "2:\n"
        "inc %[steps]\n"
        "dec %[steps]\n"
        "jz 4f\n"
        ".p2align 5\n"
        "3:\n"
        ".irp offset, 0, 8, 16, 24, 32, 40, 48, 56\n"
        "mov \\offset(%[a]), %[word]\n"
        "adc \\offset(%[b]), %[word]\n"
        "mov %[word], \\offset(%[c])\n"
        ".endr\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[b]), %[b]\n"
        "lea 64(%[c]), %[c]\n"
        "dec %[steps]\n"
        "jnz 3b\n"
        "4:\n"
        "mov $0, %k[carry]\n"
        "adc $0, %[carry]\n"
        : [a] "+&r"(A), [b] "+&r"(B), [c] "+&r"(C), [carry] "+&r"(carry), [singles] "+&r"(singles),
          [steps] "+&r"(steps), [word] "=&r"(word)
        :
        : "cc", "memory");
    return carry;
}

u64 sub(void* C, const void* A, const void* B, u64 n, u64 borrow) noexcept {
    u64 word, singles = n % 8, steps = n / 8;
    __asm__ volatile(
        "neg %[borrow]\n"
        "inc %[singles]\n"
        "dec %[singles]\n"
        "jz 2f\n"
        "1:\n"
        "mov (%[a]), %[word]\n"
        "sbb (%[b]), %[word]\n"
        "mov %[word], (%[c])\n"
        "lea 8(%[a]), %[a]\n"
        "lea 8(%[b]), %[b]\n"
        "lea 8(%[c]), %[c]\n"
        "dec %[singles]\n"
        "jnz 1b\n"
        "2:\n"
        "inc %[steps]\n"
        "dec %[steps]\n"
        "jz 4f\n"
        ".p2align 5\n"
        "3:\n"
        ".irp offset, 0, 8, 16, 24, 32, 40, 48, 56\n"
        "mov \\offset(%[a]), %[word]\n"
        "sbb \\offset(%[b]), %[word]\n"
        "mov %[word], \\offset(%[c])\n"
        ".endr\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[b]), %[b]\n"
        "lea 64(%[c]), %[c]\n"
        "dec %[steps]\n"
        "jnz 3b\n"
        "4:\n"
        "mov $0, %k[borrow]\n"
        "adc $0, %[borrow]\n"
        : [a] "+&r"(A), [b] "+&r"(B), [c] "+&r"(C), [borrow] "+&r"(borrow), [singles] "+&r"(singles),
          [steps] "+&r"(steps), [word] "=&r"(word)
        :
        : "cc", "memory");
    return borrow;
}

// high carries the upper half of one product to the next; the two registers swap roles every word.
u64 mul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    u64 low, other, singles = n % 8, steps = n / 8;
    __asm__ volatile(
        "test %[singles], %[singles]\n"  // clears the carry flag
        "jz 2f\n"
        "1:\n"
        "mulx (%[a]), %[low], %[other]\n"
        "adcx %[high], %[low]\n"
        "mov %[low], (%[c])\n"
        "mov %[other], %[high]\n"
        "lea 8(%[a]), %[a]\n"
        "lea 8(%[c]), %[c]\n"
        "dec %[singles]\n"
        "jnz 1b\n"
        "2:\n"
        "inc %[steps]\n"
        "dec %[steps]\n"
        "jz 4f\n"
        ".p2align 5\n"
        "3:\n"
        ".irp offset, 0, 16, 32, 48\n"
        "mulx \\offset(%[a]), %[low], %[other]\n"
        "adcx %[high], %[low]\n"
        "mov %[low], \\offset(%[c])\n"
        "mulx 8+\\offset(%[a]), %[low], %[high]\n"
        "adcx %[other], %[low]\n"
        "mov %[low], 8+\\offset(%[c])\n"
        ".endr\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[c]), %[c]\n"
        "dec %[steps]\n"
        "jnz 3b\n"
        "4:\n"
        "adc $0, %[high]\n"
        : [a] "+&r"(A), [c] "+&r"(C), [high] "+&r"(carry), [singles] "+&r"(singles), [steps] "+&r"(steps),
          [low] "=&r"(low), [other] "=&r"(other)
        : "d"(m)
        : "cc", "memory");
    return carry;
}

// Two chains: the carry flag adds the upper half of the last product, the overflow flag what stands in C. dec would
// destroy the overflow flag, so each step ends both chains: a * m + c + carry fits two words.
u64 addmul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    u64 low, other, singles = n % 8, steps = n / 8;
    __asm__ volatile(
        "test %[singles], %[singles]\n"
        "jz 2f\n"
        "1:\n"
        "mulx (%[a]), %[low], %[other]\n"
        "add %[high], %[low]\n"
        "adc $0, %[other]\n"
        "add %[low], (%[c])\n"
        "adc $0, %[other]\n"
        "mov %[other], %[high]\n"
        "add $8, %[a]\n"
        "add $8, %[c]\n"
        "dec %[singles]\n"
        "jnz 1b\n"
        "2:\n"
        "test %[steps], %[steps]\n"
        "jz 4f\n"
        ".p2align 5\n"
        "3:\n"
        "xor %k[low], %k[low]\n"  // clears both flags
        ".irp offset, 0, 16, 32, 48\n"
        "mulx \\offset(%[a]), %[low], %[other]\n"
        "adcx %[high], %[low]\n"
        "adox \\offset(%[c]), %[low]\n"
        "mov %[low], \\offset(%[c])\n"
        "mulx 8+\\offset(%[a]), %[low], %[high]\n"
        "adcx %[other], %[low]\n"
        "adox 8+\\offset(%[c]), %[low]\n"
        "mov %[low], 8+\\offset(%[c])\n"
        ".endr\n"
        "mov $0, %k[low]\n"
        "adcx %[low], %[high]\n"
        "adox %[low], %[high]\n"
        "add $64, %[a]\n"
        "add $64, %[c]\n"
        "dec %[steps]\n"
        "jnz 3b\n"
        "4:\n"
        : [a] "+&r"(A), [c] "+&r"(C), [high] "+&r"(carry), [singles] "+&r"(singles), [steps] "+&r"(steps),
          [low] "=&r"(low), [other] "=&r"(other)
        : "d"(m)
        : "cc", "memory");
    return carry;
}
