#include "multiply/fermat_ring.h"

#include <algorithm>
#include <cstring>

#include "kernels/linear.h"
#include "multiply/dispatch.h"

namespace kvt::multiply {

void FermatRing::settle(u64* x, i64 top) const {
    // 2^M = -1: top leaves the low words, and what that borrows or carries comes back once more.
    x[n_] = 0;
    if (top > 0) {
        const u64 low = x[0], leaves = static_cast<u64>(top);
        x[0] -= leaves;
        if (low >= leaves || kernels::sub1_ir(x + 1, n_ - 1, 1) == 0) return;
        x[n_] = kernels::add1_ir(x, n_, 1);
    } else if (top < 0) {
        const u64 enters = static_cast<u64>(-top);
        x[0] += enters;
        if (x[0] >= enters || kernels::add1_ir(x + 1, n_ - 1, 1) == 0) return;
        if (kernels::sub1_ir(x, n_, 1) == 0) return;
        std::fill_n(x, n_, 0);
        x[n_] = 1;
    }
}

void FermatRing::add(u64* x, const u64* a, const u64* b) const {
    const u64 top = a[n_] + b[n_];
    settle(x, static_cast<i64>(top + kernels::add_nr(x, a, b, n_, 0)));
}

void FermatRing::subtract(u64* x, const u64* a, const u64* b) const {
    const u64 top = a[n_] - b[n_];
    settle(x, static_cast<i64>(top - kernels::sub_nr(x, a, b, n_, 0)));
}

void FermatRing::negate(u64* x) const {
    // -low = ~low + 1 - 2^M, and both powers of 2^M count as -1.
    const i64 top = static_cast<i64>(x[n_]);
    for (u64 i = 0; i < n_; ++i) x[i] = ~x[i];
    settle(x, -2 - top);
}

void FermatRing::fold(u64* x, const u64* wide) const {
    settle(x, -static_cast<i64>(kernels::sub_nr(x, wide, wide + n_, n_, 0)));
}

void FermatRing::shift(u64* x, u64 e, u64* spare) const {
    const bool negative = e >= bits();
    if (negative) e -= bits();
    const u64 whole = e / 64, part = e % 64;
    std::fill_n(spare, 2 * n_ + 1, 0);
    u64 below = 0;
    for (u64 i = 0; i <= n_; ++i) {
        spare[whole + i] = x[i] << part | below;
        below = part == 0 ? 0 : x[i] >> (64 - part);
    }
    fold(x, spare);
    if (negative) negate(x);
}

void FermatRing::forward(u64* u, u64* v, u64 e, u64* spare) const {
    u64* sum = spare + 2 * n_ + 1;
    add(sum, u, v);
    subtract(v, u, v);
    std::memcpy(u, sum, unit_bytes());
    shift(v, e, spare);
}

void FermatRing::inverse(u64* u, u64* v, u64 e, u64* spare) const {
    u64* sum = spare + 2 * n_ + 1;
    shift(v, e == 0 ? 0 : 2 * bits() - e, spare);
    add(sum, u, v);
    subtract(v, u, v);
    std::memcpy(u, sum, unit_bytes());
}

void FermatRing::multiply(const BasicParameters& params, u64* x, const u64* y, u64* spare) const {
    if (x[n_] != 0) {
        std::memmove(x, y, unit_bytes());
        negate(x);
    } else if (y[n_] != 0) {
        negate(x);
    } else {
        mul_p(params, spare, x, n_, y, n_);
        fold(x, spare);
    }
}

}  // namespace kvt::multiply
