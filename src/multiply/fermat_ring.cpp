#include "multiply/fermat_ring.h"

#include <algorithm>
#include <cstring>

#include "kernels/linear.h"
#include "multiply/dispatch.h"

namespace kvt::multiply {

template <class W>
void FermatRing<W>::settle(W* x, i64 top) const {
    // 2^M = -1: top leaves the low words, and what that borrows or carries comes back once more.
    x[n_] = 0;
    if (top > 0) {
        const W low = x[0], leaves = static_cast<W>(top);
        x[0] -= leaves;
        if (low >= leaves || kernels::sub1_ir(x + 1, n_ - 1, 1) == 0) return;
        x[n_] = kernels::add1_ir(x, n_, 1);
    } else if (top < 0) {
        const W enters = static_cast<W>(-top);
        x[0] += enters;
        if (x[0] >= enters || kernels::add1_ir(x + 1, n_ - 1, 1) == 0) return;
        if (kernels::sub1_ir(x, n_, 1) == 0) return;
        std::fill_n(x, n_, W{0});
        x[n_] = 1;
    }
}

template <class W>
void FermatRing<W>::add(W* x, const W* a, const W* b) const {
    const i64 top = static_cast<i64>(a[n_]) + static_cast<i64>(b[n_]);
    settle(x, top + kernels::add_nr(x, a, b, n_, 0));
}

template <class W>
void FermatRing<W>::subtract(W* x, const W* a, const W* b) const {
    const i64 top = static_cast<i64>(a[n_]) - static_cast<i64>(b[n_]);
    settle(x, top - kernels::sub_nr(x, a, b, n_, 0));
}

template <class W>
void FermatRing<W>::negate(W* x) const {
    // -low = ~low + 1 - 2^M, and both powers of 2^M count as -1.
    const i64 top = static_cast<i64>(x[n_]);
    for (u64 i = 0; i < n_; ++i) x[i] = static_cast<W>(~x[i]);
    settle(x, -2 - top);
}

template <class W>
void FermatRing<W>::halve(W* x) const {
    // Odd: (x + 2^M + 1) / 2, which is below 2^M but for x = 2^M - 1.
    const bool odd = (x[0] & 1) != 0;
    for (u64 i = 0; i < n_; ++i) x[i] = static_cast<W>(x[i] >> 1 | x[i + 1] << (word_bits<W> - 1));
    x[n_] = 0;
    if (!odd) return;
    kernels::add1_ip(x, 1);
    const W half = W{1} << (word_bits<W> - 1);
    x[n_] = static_cast<W>(x[n_ - 1] >> (word_bits<W> - 1));
    x[n_ - 1] ^= half;
}

template <class W>
void FermatRing<W>::reduce(W* x, const W* A, u64 L) const {
    // The second block is taken off the first on the way.
    const u64 low = std::min(L, n_), second = std::min(L - low, n_);
    const u32 borrow = kernels::sub_nr(x, A, A + low, second, 0);
    std::memcpy(x + second, A + second, (low - second) * sizeof(W));
    std::fill_n(x + low, n_ - low, W{0});
    i64 top = -static_cast<i64>(kernels::sub1_ir(x + second, n_ - second, borrow));
    bool add = true;
    for (u64 at = 2 * n_; at < L; at += n_, add = !add) {
        const u64 count = std::min(L - at, n_);
        if (add)
            top += kernels::add1_ir(x + count, n_ - count, kernels::add_ir(x, A + at, count, 0));
        else
            top -= kernels::sub1_ir(x + count, n_ - count, kernels::sub_ir(x, A + at, count, 0));
    }
    settle(x, top);
}

template <class W>
void FermatRing<W>::shift(W* x, u64 e, W* spare) const {
    const bool negative = e >= bits();
    if (negative) e -= bits();
    const u64 whole = e / word_bits<W>, part = e % word_bits<W>;
    std::fill_n(spare, 2 * n_ + 1, W{0});
    W below = 0;
    for (u64 i = 0; i <= n_; ++i) {
        spare[whole + i] = static_cast<W>(x[i] << part | below);
        below = part == 0 ? W{0} : static_cast<W>(x[i] >> (word_bits<W> - part));
    }
    reduce(x, spare, 2 * n_);
    if (negative) negate(x);
}

template <class W>
void FermatRing<W>::forward(W* u, W* v, u64 e, W* spare) const {
    W* sum = spare + 2 * n_ + 1;
    add(sum, u, v);
    subtract(v, u, v);
    std::memcpy(u, sum, unit_bytes());
    shift(v, e, spare);
}

template <class W>
void FermatRing<W>::inverse(W* u, W* v, u64 e, W* spare) const {
    W* sum = spare + 2 * n_ + 1;
    shift(v, e == 0 ? 0 : 2 * bits() - e, spare);
    add(sum, u, v);
    subtract(v, u, v);
    std::memcpy(u, sum, unit_bytes());
}

template <class W>
void FermatRing<W>::multiply(const BasicParameters& params, W* x, const W* y, W* spare) const {
    if (x[n_] != 0) {
        std::memmove(x, y, unit_bytes());
        negate(x);
    } else if (y[n_] != 0) {
        negate(x);
    } else {
        mul_p(params, spare, x, n_, y, n_);
        reduce(x, spare, 2 * n_);
    }
}

template class FermatRing<u32>;
template class FermatRing<u64>;

}  // namespace kvt::multiply
