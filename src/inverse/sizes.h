#pragma once
// What the inverse operations need, by precision. Words, except transform_bytes: what memory_bytes of the parameters
// must hold. Raises the generic error when no multiplication algorithm covers the products of that precision.

#include <algorithm>

#include "inverse/newton.h"
#include "multiply/dispatch.h"

namespace kvt::inverse {

struct Sizes {
    u64 out_words;
    u64 scratch_words;
    u64 transform_bytes;
};

// Scratch of products up to L words, transform helpers included; L saturates rather than wraps.
template <class W>
u64 transform_bytes(u64 L, u64 tasks) {
    u64 bytes;
    multiply::mul_iPsize<W>(bytes, L, tasks);
    return bytes;
}

template <class W>
Sizes reciprocal_sizes(u64 p, u64 tasks) {
    p = clamp_precision(p);
    return {p + 3, p + 6, transform_bytes<W>(p + 9, tasks)};
}

template <class W>
Sizes division_sizes(u64 p, u64 tasks) {
    p = clamp_precision(p);
    const u64 scratch = p < 10 ? 2 * p + 9 : p + 2 * half_precision(p) + 10;
    return {p + 2, scratch, transform_bytes<W>(p + 9, tasks)};
}

template <class W>
Sizes inverse_sqrt_sizes(u64 p, u64 tasks) {
    p = clamp_precision(p);
    return {p + 4, p + 7, transform_bytes<W>(p + 8, tasks)};
}

template <class W>
Sizes power_sizes(u64 p, u64 tasks) {
    p = clamp_precision(p);
    return {p + 3, 0, transform_bytes<W>(2 * p + 6, tasks)};
}

template <class W>
Sizes power_signed_sizes(u64 p, u64 tasks) {
    p = clamp_precision(p);
    return {p + 3, 2 * p + 9, std::max(transform_bytes<W>(2 * p + 6, tasks), transform_bytes<W>(p + 9, tasks))};
}

}  // namespace kvt::inverse
