// add, sub, mul, addmul: carry chains over the array, eight words a pass. The first pass is entered in its middle, so
// that every pass ends at its end: (n - 1) % 8 + 1 words in the first one. The flags live from pass to pass: only lea,
// dec, mov, mulx and jumps may stand between.

u32 add(void* C, const void* A, const void* B, u64 n, u64 carry) noexcept {
    if (n == 0) return static_cast<u32>(carry);
    const u64 beyond_first = (n - 1) % 8, first_bytes = 8 + 8 * beyond_first;
    const auto* a = static_cast<const Byte*>(A) + first_bytes;
    const auto* b = static_cast<const Byte*>(B) + first_bytes;
    auto* c = static_cast<Byte*>(C) + first_bytes;
    u64 word, entry = 12 * beyond_first, passes = (n + 7) / 8;
    __asm__ volatile(
        "lea 4f(%%rip), %[word]\n"
        "sub %[entry], %[word]\n"
        "neg %[carry]\n"  // carry flag = carry
        "jmp *%[word]\n"
        ".p2align 5\n"
        "2:\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[b]), %[b]\n"
        "lea 64(%[c]), %[c]\n"
        "3:\n"
        ".irp offset, -64, -56, -48, -40, -32, -24, -16\n"
        "mov \\offset(%[a]), %[word]\n"
        "adc \\offset(%[b]), %[word]\n"
        "mov %[word], \\offset(%[c])\n"
        ".endr\n"
        "4:\n"
        "mov -8(%[a]), %[word]\n"
        "adc -8(%[b]), %[word]\n"
        "mov %[word], -8(%[c])\n"
        ".if (4b - 3b) - 7 * 12\n"
        ".error \"a word of the pass is not 12 bytes long\"\n"
        ".endif\n"
        "dec %[passes]\n"
        "jnz 2b\n"
        "adc $0, %[passes]\n"  // passes is zero here
        : [a] "+&S"(a), [b] "+&d"(b), [c] "+&D"(c), [carry] "+&r"(carry), [word] "=&r"(word), [passes] "+&r"(passes)
        : [entry] "r"(entry)
        : "cc", "memory");
    return static_cast<u32>(passes);
}

u32 sub(void* C, const void* A, const void* B, u64 n, u64 borrow) noexcept {
    if (n == 0) return static_cast<u32>(borrow);
    const u64 beyond_first = (n - 1) % 8, first_bytes = 8 + 8 * beyond_first;
    const auto* a = static_cast<const Byte*>(A) + first_bytes;
    const auto* b = static_cast<const Byte*>(B) + first_bytes;
    auto* c = static_cast<Byte*>(C) + first_bytes;
    u64 word, entry = 12 * beyond_first, passes = (n + 7) / 8;
    __asm__ volatile(
        "lea 4f(%%rip), %[word]\n"
        "sub %[entry], %[word]\n"
        "neg %[borrow]\n"  // carry flag = borrow
        "jmp *%[word]\n"
        ".p2align 5\n"
        "2:\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[b]), %[b]\n"
        "lea 64(%[c]), %[c]\n"
        "3:\n"
        ".irp offset, -64, -56, -48, -40, -32, -24, -16\n"
        "mov \\offset(%[a]), %[word]\n"
        "sbb \\offset(%[b]), %[word]\n"
        "mov %[word], \\offset(%[c])\n"
        ".endr\n"
        "4:\n"
        "mov -8(%[a]), %[word]\n"
        "sbb -8(%[b]), %[word]\n"
        "mov %[word], -8(%[c])\n"
        ".if (4b - 3b) - 7 * 12\n"
        ".error \"a word of the pass is not 12 bytes long\"\n"
        ".endif\n"
        "dec %[passes]\n"
        "jnz 2b\n"
        "adc $0, %[passes]\n"  // passes is zero here
        : [a] "+&S"(a), [b] "+&d"(b), [c] "+&D"(c), [borrow] "+&r"(borrow), [word] "=&r"(word), [passes] "+&r"(passes)
        : [entry] "r"(entry)
        : "cc", "memory");
    return static_cast<u32>(passes);
}

// high carries the upper half of one product to the next; the two registers swap roles every word.
u64 mul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    if (n == 0) return carry;
    const u64 beyond_first = (n - 1) % 8;
    const auto* a = static_cast<const Byte*>(A) + 8 + 8 * beyond_first;
    auto* c = static_cast<Byte*>(C) + 8 + 8 * beyond_first;
    u64 low, high = carry, other = carry, entry = 16 * beyond_first, passes = (n - 1) / 8;
    __asm__ volatile(
        ".macro kvnum_pass offset, high, last\n"
        "mulx \\offset(%[a]), %[low], \\high\n"
        "adcx \\last, %[low]\n"
        "mov %[low], \\offset(%[c])\n"
        ".endm\n"
        "lea 4f(%%rip), %[low]\n"
        "sub %[entry], %[low]\n"
        "test %[low], %[low]\n"  // clears the carry flag
        "jmp *%[low]\n"
        ".p2align 5\n"
        "2:\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[c]), %[c]\n"
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
        ".if (4b - 3b) - 7 * 16\n"
        ".error \"a word of the pass is not 16 bytes long\"\n"
        ".endif\n"
        "jrcxz 5f\n"
        "jmp 2b\n"
        "5:\n"
        "adc $0, %[other]\n"
        ".purgem kvnum_pass\n"
        :
        [a] "+&S"(a), [c] "+&D"(c), [low] "=&r"(low), [high] "+&r"(high), [other] "+&r"(other), [passes] "+&c"(passes)
        : [entry] "r"(entry), "d"(m)
        : "cc", "memory");
    return other;
}

// Two chains: the carry flag adds the upper half of the last product, the overflow flag what stands in C.
u64 addmul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    if (n == 0) return carry;
    const u64 beyond_first = (n - 1) % 8;
    const auto* a = static_cast<const Byte*>(A) + 8 + 8 * beyond_first;
    auto* c = static_cast<Byte*>(C) + 8 + 8 * beyond_first;
    u64 low, high = carry, other = carry, entry = 23 * beyond_first, passes = (n - 1) / 8;
    __asm__ volatile(
        ".macro kvnum_pass offset, high, last\n"
        "mulx \\offset(%[a]), %[low], \\high\n"
        "adcx \\last, %[low]\n"
        "adox \\offset(%[c]), %[low]\n"
        "mov %[low], \\offset(%[c])\n"
        ".endm\n"
        "lea 4f(%%rip), %[low]\n"
        "sub %[entry], %[low]\n"
        "test %[low], %[low]\n"  // clears both flags
        "jmp *%[low]\n"
        ".p2align 5\n"
        "2:\n"
        "lea 64(%[a]), %[a]\n"
        "lea 64(%[c]), %[c]\n"
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
        ".purgem kvnum_pass\n"
        :
        [a] "+&S"(a), [c] "+&D"(c), [low] "=&r"(low), [high] "+&r"(high), [other] "+&r"(other), [passes] "+&c"(passes)
        : [entry] "r"(entry), "d"(m)
        : "cc", "memory");
    return other;
}
