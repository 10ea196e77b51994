#include "multiply/fermat_product.h"

#include <cstring>

#include "kernels/linear.h"
#include "multiply/fermat_ring.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// Scratch, from the lowest address: the digits of the product, one above the other; two elements of the first ring; the
// transform's buffers.
template <class W>
struct Layout {
    W* digits;
    W* x;
    W* y;
    u8* transform;

    Layout(const FermatPlan& plan, u8* memory) {
        digits = static_cast<W*>(aligned(memory, alignof(W)));
        x = digits;
        for (u64 i = 0; i < plan.count; ++i) x += unit_words(plan.transforms[i]);
        y = x + unit_words(plan.transforms[0]);
        transform = reinterpret_cast<u8*>(y + unit_words(plan.transforms[0]));
    }
    static u64 unit_words(const TransformPlan& plan) { return plan.wrap_bits / word_bits<W> + 1; }
};

// The operands' product modulo 2^M + 1.
template <class W>
struct ResidueProduct {
    const TransformEngine& engine;
    const GlobalTwiddleTable& table;
    const W* A;
    u64 LA;
    const W* B;
    u64 LB;
    u64 tasks;

    void form(const TransformPlan& plan, const FermatRing<W>& ring, W* out, const Layout<W>& at) const {
        const u64 m = ring.words();
        ring.reduce(at.x, A, LA);
        if (B != nullptr) ring.reduce(at.y, B, LB);
        // 2^M = -1 fits no operand of a transform.
        const W *const x = at.x, *const y = B == nullptr ? at.x : at.y;
        if (x[m] != 0 || y[m] != 0) {
            std::memcpy(out, x[m] != 0 ? y : x, ring.unit_bytes());
            return ring.negate(out);
        }
        u8* const work = at.transform + plan.operand_bytes;
        engine.forward(plan, table, operand_of(x, m), at.transform, work, tasks);
        engine.product(plan, table, at.transform, {}, B == nullptr ? Operand{nullptr, 0} : operand_of(y, m),
                       window_of(out, 0, m + 1), false, work, tasks);
    }
};

}  // namespace

template <class W>
FermatPlan plan_fermat(const TransformEngine& engine, const TransformPlan& first, u64 d, u64 tasks) noexcept {
    const u64 n = first.wrap_bits / word_bits<W>;
    if (first.wrap_sign != -1 || d > most_fermat_excess(n)) return {};
    const u64 eighths = (8 * d + n - 1) / n;
    FermatPlan plan;
    for (u64 halvings = 1; halvings <= 3; ++halvings) {
        if ((eighths << halvings & 8) == 0) continue;
        const TransformPlan part = engine.plan_part(first, halvings);
        if (part.capacity_bits == 0 || part.wrap_bits % word_bits<W> != 0) return {};
        plan.transforms[plan.count++] = part;
        plan.scratch_bytes += sizeof(W) * Layout<W>::unit_words(part);
    }
    const TransformPlan& longest = plan.transforms[0];
    plan.scratch_bytes +=
        alignof(W) + 2 * sizeof(W) * Layout<W>::unit_words(longest) + product_scratch_bytes(longest, tasks);
    return plan;
}

template <class W>
void complete_by_fermat(const TransformEngine& engine, const TransformPlan& first, const GlobalTwiddleTable& table,
                        const W* A, u64 LA, const W* B, u64 LB, W* C, u64 d, u8* memory, u64 tasks) {
    const FermatPlan plan = plan_fermat<W>(engine, first, d, tasks);
    const u64 n = first.wrap_bits / word_bits<W>;
    // The product is C + F0 (k1 + F1 (k2 + F2 k3)) with digits 0 <= ki < Fi. Modulo Fi all earlier moduli are 2: so
    // ki comes from the residue by taking off the digits before it, one by one, and halving.
    const Layout<W> at(plan, memory);
    const ResidueProduct<W> product{engine, table, A, LA, B, LB, tasks};
    W* digit = at.digits;
    for (u64 i = 0; i < plan.count; ++i) {
        const TransformPlan& part = plan.transforms[i];
        const FermatRing<W> ring(part.wrap_bits / word_bits<W>);
        product.form(part, ring, digit, at);
        const auto take_off = [&](const W* before, u64 L) {
            ring.reduce(at.x, before, L);
            ring.subtract(digit, digit, at.x);
            ring.halve(digit);
        };
        take_off(C, n + 1);
        const W* before = at.digits;
        for (u64 k = 0; k < i; ++k) {
            const u64 unit = Layout<W>::unit_words(plan.transforms[k]);
            take_off(before, unit);
            before += unit;
        }
        digit += ring.unit_words();
    }

    // Horner's scheme, from the last digit down: each stands right above the one before it.
    u64 length = 0;
    for (u64 i = plan.count; i-- > 0;) {
        const u64 m = plan.transforms[i].wrap_bits / word_bits<W>;
        digit -= m + 1;
        if (length == 0) {
            length = m + 1;
            continue;
        }
        const W top = digit[m];
        std::memmove(digit + m, digit + m + 1, length * sizeof(W));
        add_multiple(digit, m, length, top);
        length += m;
    }
    const W top = C[n];
    std::memcpy(C + n, digit, d * sizeof(W));
    add_multiple(C, n, d, top);
}

template <class W>
void add_multiple(W* C, u64 n, u64 d, W top) noexcept {
    // The word above R is 1 for R = 2^N alone: then the words below take the sum without a carry.
    u32 carry = kernels::add_ir(C, C + n, d, 0);
    carry = kernels::add1_ir(C + d, n - d, carry);
    kernels::add1_ir(C + n, d, carry | static_cast<u32>(top));
}

template FermatPlan plan_fermat<u32>(const TransformEngine&, const TransformPlan&, u64, u64) noexcept;
template FermatPlan plan_fermat<u64>(const TransformEngine&, const TransformPlan&, u64, u64) noexcept;
template void complete_by_fermat(const TransformEngine&, const TransformPlan&, const GlobalTwiddleTable&, const u32*,
                                 u64, const u32*, u64, u32*, u64, u8*, u64);
template void complete_by_fermat(const TransformEngine&, const TransformPlan&, const GlobalTwiddleTable&, const u64*,
                                 u64, const u64*, u64, u64*, u64, u8*, u64);
template void add_multiple(u32*, u64, u64, u32) noexcept;
template void add_multiple(u64*, u64, u64, u64) noexcept;

}  // namespace kvt::multiply
