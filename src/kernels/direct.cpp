#include "kernels/direct.h"

#include <algorithm>

#include "kernels/ifma52.h"
#include "kernels/karatsuba.h"

namespace kvt::kernels {
namespace {

enum class Method { schoolbook, karatsuba, ifma52, ifma52_split };

// Where the methods cross, in 64-bit words, measured on Zen 4.
constexpr u64 ifma52_shorter_words = 3, ifma52_word_products = 120, ifma52_square_words = 15;

constexpr u64 ifma52_longest_words = ifma52_longest_bytes / 8;

// The Karatsuba routines of 32-bit words split far below the lengths where that pays, while the schoolbook ones work
// on pairs of words: they serve as far as transforms don't.
template <class W>
bool splits(u64 words, u64 threshold) noexcept {
    return sizeof(W) == 8 && words >= threshold;
}

template <class W>
Method multiply_method(u64 LA, u64 LB) noexcept {
    const Levels levels = active_levels();
    const u64 shorter = std::min(LA, LB), longer = std::max(LA, LB);
    constexpr u64 halves = 8 / sizeof(W);
    if (levels.vector == VectorLevel::avx512ifma && shorter >= ifma52_shorter_words * halves &&
        shorter <= ifma52_longest_words * halves && shorter * longer >= ifma52_word_products * halves * halves)
        return ifma52_splits(shorter * sizeof(W), longer * sizeof(W), ifma52_multiply_passes) ? Method::ifma52_split
                                                                                              : Method::ifma52;
    return splits<W>(shorter, mul_split_words<W>()) ? Method::karatsuba : Method::schoolbook;
}

template <class W>
Method square_method(u64 L) noexcept {
    const Levels levels = active_levels();
    constexpr u64 halves = 8 / sizeof(W);
    if (levels.vector == VectorLevel::avx512ifma && L >= ifma52_square_words * halves &&
        L <= ifma52_longest_words * halves)
        return ifma52_splits(L * sizeof(W), L * sizeof(W), ifma52_square_passes) ? Method::ifma52_split
                                                                                 : Method::ifma52;
    return splits<W>(L, sqr_split_words<W>()) ? Method::karatsuba : Method::schoolbook;
}

// Short radix-2^52 products keep their limbs on the stack.
constexpr u64 stack_bytes = 2048;

u64 beyond_stack(u64 bytes) noexcept { return bytes <= stack_bytes ? 0 : bytes; }

// Calls product(area) with an area of `bytes`, on the stack if it is short.
template <class Product>
void with_area(u64 bytes, void* scratch, Product product) noexcept {
    if (bytes > stack_bytes) return product(scratch);
    alignas(64) u8 area[stack_bytes];
    product(area);
}

// Karatsuba's scratch is words: room to align them.
template <class W>
constexpr u64 karatsuba_bytes(u64 words) noexcept {
    return words == 0 ? 0 : words * sizeof(W) + sizeof(W) - 1;
}

template <class W>
W* aligned_words(void* scratch) noexcept {
    return reinterpret_cast<W*>((reinterpret_cast<std::uintptr_t>(scratch) + sizeof(W) - 1) &
                                ~std::uintptr_t{sizeof(W) - 1});
}

}  // namespace

template <class W>
u64 direct_multiply_scratch_bytes(u64 LA, u64 LB) noexcept {
    switch (multiply_method<W>(LA, LB)) {
        case Method::ifma52: return beyond_stack(ifma52_scratch_bytes(LA * sizeof(W), LB * sizeof(W)));
        case Method::ifma52_split: return ifma52_split_scratch_bytes(std::max(LA, LB) * sizeof(W), 2);
        case Method::karatsuba: return karatsuba_bytes<W>(mulK_scratch_words<W>(LA, LB));
        default: return 0;
    }
}

template <class W>
u64 direct_square_scratch_bytes(u64 L) noexcept {
    switch (square_method<W>(L)) {
        case Method::ifma52: return beyond_stack(ifma52_scratch_bytes(L * sizeof(W), L * sizeof(W)));
        case Method::ifma52_split: return ifma52_split_scratch_bytes(L * sizeof(W), 1);
        case Method::karatsuba: return karatsuba_bytes<W>(sqrK_scratch_words<W>(L));
        default: return 0;
    }
}

template <class W>
void direct_multiply(W* C, const W* A, u64 LA, const W* B, u64 LB, void* scratch) noexcept {
    switch (multiply_method<W>(LA, LB)) {
        case Method::ifma52: {
            const u64 a_bytes = LA * sizeof(W), b_bytes = LB * sizeof(W);
            return with_area(ifma52_scratch_bytes(a_bytes, b_bytes), scratch, [&](void* area) {
                ifma52_kernels_avx512ifma.multiply(C, A, a_bytes, B, b_bytes, area);
            });
        }
        case Method::ifma52_split:
            return ifma52_kernels_avx512ifma.multiply_split(C, A, LA * sizeof(W), B, LB * sizeof(W), scratch);
        case Method::karatsuba: return mulK(C, A, LA, B, LB, aligned_words<W>(scratch));
        case Method::schoolbook: return mulB(C, A, LA, B, LB);
    }
}

template <class W>
void direct_square(W* C, const W* A, u64 L, void* scratch) noexcept {
    switch (square_method<W>(L)) {
        case Method::ifma52: {
            const u64 bytes = L * sizeof(W);
            return with_area(ifma52_scratch_bytes(bytes, bytes), scratch,
                             [&](void* area) { ifma52_kernels_avx512ifma.square(C, A, bytes, area); });
        }
        case Method::ifma52_split: return ifma52_kernels_avx512ifma.square_split(C, A, L * sizeof(W), scratch);
        case Method::karatsuba: return sqrK(C, A, L, aligned_words<W>(scratch));
        case Method::schoolbook: return sqrB(C, A, L);
    }
}

template u64 direct_multiply_scratch_bytes<u32>(u64, u64) noexcept;
template u64 direct_multiply_scratch_bytes<u64>(u64, u64) noexcept;
template u64 direct_square_scratch_bytes<u32>(u64) noexcept;
template u64 direct_square_scratch_bytes<u64>(u64) noexcept;
template void direct_multiply(u32*, const u32*, u64, const u32*, u64, void*) noexcept;
template void direct_multiply(u64*, const u64*, u64, const u64*, u64, void*) noexcept;
template void direct_square(u32*, const u32*, u64, void*) noexcept;
template void direct_square(u64*, const u64*, u64, void*) noexcept;

}  // namespace kvt::kernels
