// Word kernels in plain C++: the baseline, and the twin that the assembly of the other levels is tested against.

#include <immintrin.h>

#include "kernels/word_table.h"

namespace kvt::kernels {
namespace {

using u32 = std::uint32_t;
using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;

u64 load(const void* words, u64 i) noexcept {
    u64 word;
    __builtin_memcpy(&word, static_cast<const unsigned char*>(words) + 8 * i, 8);
    return word;
}

void store(void* words, u64 i, u64 word) noexcept {
    __builtin_memcpy(static_cast<unsigned char*>(words) + 8 * i, &word, 8);
}

// Four words a step: within a step the compiler keeps the carry in its flag.
template <class Step>
u32 carry_chain(void* C, const void* A, const void* B, u64 n, u64 carry, Step step) noexcept {
    auto c = static_cast<unsigned char>(carry);
    unsigned long long word;
    u64 i = 0;
    for (; i + 4 <= n; i += 4)
#pragma GCC unroll 4
        for (u64 j = i; j < i + 4; ++j) {
            c = step(c, load(A, j), load(B, j), &word);
            store(C, j, word);
        }
    for (; i < n; ++i) {
        c = step(c, load(A, i), load(B, i), &word);
        store(C, i, word);
    }
    return c;
}

using Word = unsigned long long;

u32 add(void* C, const void* A, const void* B, u64 n, u64 carry) noexcept {
    return carry_chain(C, A, B, n, carry,
                       [](unsigned char c, Word a, Word b, Word* sum) { return _addcarry_u64(c, a, b, sum); });
}

u32 sub(void* C, const void* A, const void* B, u64 n, u64 borrow) noexcept {
    return carry_chain(C, A, B, n, borrow, [](unsigned char c, Word a, Word b, Word* difference) {
        return _subborrow_u64(c, a, b, difference);
    });
}

u64 mul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    for (u64 i = 0; i < n; ++i) {
        const u128 product = static_cast<u128>(load(A, i)) * m + carry;
        store(C, i, static_cast<u64>(product));
        carry = static_cast<u64>(product >> 64);
    }
    return carry;
}

// a * m + c + carry is at most (2^64 - 1)^2 + 2 * (2^64 - 1) = 2^128 - 1.
u64 addmul(void* C, const void* A, u64 n, u64 m, u64 carry) noexcept {
    for (u64 i = 0; i < n; ++i) {
        const u128 product = static_cast<u128>(load(A, i)) * m + load(C, i) + carry;
        store(C, i, static_cast<u64>(product));
        carry = static_cast<u64>(product >> 64);
    }
    return carry;
}

void multiply(void* C, const void* A, u64 LA, const void* B, u64 LB) noexcept {
    auto* c = static_cast<unsigned char*>(C);
    const void* row = LA >= LB ? A : B;
    const void* column = LA >= LB ? B : A;
    const u64 row_words = LA >= LB ? LA : LB;
    const u64 column_words = LA >= LB ? LB : LA;
    store(c, row_words, mul(c, row, row_words, load(column, 0), 0));
    for (u64 j = 1; j < column_words; ++j)
        store(c, row_words + j, addmul(c + 8 * j, row, row_words, load(column, j), 0));
}

void square(void* C, const void* A, u64 L) noexcept { multiply(C, A, L, A, L); }

}  // namespace

constinit const WordKernels word_kernels_scalar{"scalar", add, sub, mul, addmul, multiply, square};

}  // namespace kvt::kernels
