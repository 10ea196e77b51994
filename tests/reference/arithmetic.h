#pragma once
// Plain, slow arithmetic on word arrays that shares no code with the library, and oracle products: GMP where it is
// there (KVNUM_HAVE_GMP), the plain ones elsewhere.

#include <cstddef>
#include <vector>

#include "frame/types.h"

namespace kvt::reference {

// C[0..a_bytes+b_bytes) = A * B; quadratic.
void multiply_bytes(u8* C, const u8* A, std::size_t a_bytes, const u8* B, std::size_t b_bytes);

// The oracle: exact product of any two word arrays (lengths >= 1).
void oracle_multiply_bytes(u8* C, const u8* A, std::size_t a_bytes, const u8* B, std::size_t b_bytes);

template <class W>
std::vector<W> product(const W* A, std::size_t LA, const W* B, std::size_t LB) {
    std::vector<W> C(LA + LB);
    oracle_multiply_bytes(reinterpret_cast<u8*>(C.data()), reinterpret_cast<const u8*>(A), LA * sizeof(W),
                          reinterpret_cast<const u8*>(B), LB * sizeof(W));
    return C;
}
template <class W>
std::vector<W> product(const std::vector<W>& A, const std::vector<W>& B) {
    return product(A.data(), A.size(), B.data(), B.size());
}

// Value modulo an odd modulus below 2^63, by Horner from the top; for products too long for an oracle.
u64 residue(const void* words, std::size_t bytes, u64 modulus);

}  // namespace kvt::reference
