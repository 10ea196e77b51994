#include "reference/arithmetic.h"

#include <cstring>

#if KVNUM_HAVE_GMP
#include <gmp.h>
#endif

namespace kvt::reference {

void multiply_bytes(u8* C, const u8* A, std::size_t a_bytes, const u8* B, std::size_t b_bytes) {
    // Column sums of 16-bit byte products: exact in 64 bits for any length that is practical here.
    u64 carry = 0;
    for (std::size_t k = 0; k < a_bytes + b_bytes; ++k) {
        u64 sum = carry;
        const std::size_t first = k + 1 > b_bytes ? k + 1 - b_bytes : 0;
        for (std::size_t i = first; i <= k && i < a_bytes; ++i) sum += static_cast<u64>(A[i]) * B[k - i];
        C[k] = static_cast<u8>(sum);
        carry = sum >> 8;
    }
}

void oracle_multiply_bytes(u8* C, const u8* A, std::size_t a_bytes, const u8* B, std::size_t b_bytes) {
#if KVNUM_HAVE_GMP
    mpz_t a, b, c;
    mpz_inits(a, b, c, nullptr);
    mpz_import(a, a_bytes, -1, 1, -1, 0, A);
    mpz_import(b, b_bytes, -1, 1, -1, 0, B);
    mpz_mul(c, a, b);
    std::memset(C, 0, a_bytes + b_bytes);
    mpz_export(C, nullptr, -1, 1, -1, 0, c);
    mpz_clears(a, b, c, nullptr);
#else
    multiply_bytes(C, A, a_bytes, B, b_bytes);
#endif
}

u64 residue(const void* words, std::size_t bytes, u64 modulus) {
    const auto* p = static_cast<const u8*>(words);
    u64 r = 0;
    std::size_t i = bytes;
    for (; i % 4 != 0; --i) r = static_cast<u64>((static_cast<u128>(r) << 8 | p[i - 1]) % modulus);
    for (; i > 0; i -= 4) {
        u32 half;
        std::memcpy(&half, p + i - 4, 4);
        r = static_cast<u64>((static_cast<u128>(r) << 32 | half) % modulus);
    }
    return r;
}

}  // namespace kvt::reference
