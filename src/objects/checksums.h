#pragma once
// The checksum that BasicInt and ExactFloat carry: the value modulo M = 2^61 - 1, where W^k is 2^(k * wordbits) and
// 2^61 is 1. Both widths give equal values the same checksum.

#include "kernels/residue61.h"

namespace kvt::objects {

template <class W>
u64 checksum_of(const W* T, u64 L, i64 exp_words = 0) noexcept {
    const u64 integer = kernels::residue_of_words(T, L);
    return kernels::residue_shift(integer, exp_words % 61 * static_cast<i64>(word_bits<W>));
}

}  // namespace kvt::objects
