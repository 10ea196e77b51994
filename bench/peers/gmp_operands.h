#pragma once
// Our operands as GMP sees them.

#include <gmp.h>

#include "operands.h"

namespace peers {

static_assert(sizeof(mp_limb_t) == sizeof(std::uint64_t));
inline mp_limb_t* limbs(Words& words) { return reinterpret_cast<mp_limb_t*>(words.data()); }

inline void multiply_gmp(Operands& x, const Setting& s) {
    if (s.words == s.short_words)
        mpn_mul_n(limbs(x.theirs), limbs(x.a), limbs(x.b), static_cast<mp_size_t>(s.words));
    else
        mpn_mul(limbs(x.theirs), limbs(x.a), static_cast<mp_size_t>(s.words), limbs(x.b),
                static_cast<mp_size_t>(s.short_words));
}

}  // namespace peers
