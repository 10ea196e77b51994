#include "multiply/folded_product.h"

#include <algorithm>

#include "kernels/linear.h"
#include "multiply/cost.h"
#include "multiply/halved_product.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// A product to be folded, and what it may use.
template <class W>
struct Request {
    u64 LA, LB;
    bool square;
    u64 scratch_bytes, tasks;

    u64 bits() const { return (LA + LB) * word_bits<W>; }
    // Tasks that wait for others count as if they worked.
    u64 cost_of(const TransformCost& cost, const TransformPlan& plan) const {
        return (square ? cost.square : cost.product) * tasks / useful_tasks(tasks, plan.capacity_bits);
    }
    // Linear passes that take so long for a 64-bit word, on one task.
    u64 linear_cost(u64 word_cost) const { return (150'000 + word_cost * (bits() / 64)) * tasks; }
};

constexpr u64 check_cost = 400;               // what the transform cannot check
constexpr u64 slowest_direct = u64{1} << 40;  // a second; transforms of such lengths take a fraction of that

// By the lowest d words, formed once more.
template <class W>
FoldPlan fold_by_low_words(const EngineRung& rung, const TransformPlan& plan, const Request<W>& r, u64 d) {
    constexpr u64 halves = 8 / sizeof(W);
    const u64 low_bits = 2 * d * word_bits<W>;
    const EngineRung& low_rung = rung_for(rung, low_bits);
    const TransformPlan low = low_rung.source().plan(low_bits);
    if (one_shot_scratch_bytes(low_rung, low, r.tasks) > r.scratch_bytes) return {};
    const u64 rounded = (d + halves - 1) / halves;
    const u64 direct = std::min(direct_cost(rounded, rounded, r.square), slowest_direct) * r.tasks;
    const u64 low_cost = std::min(r.cost_of(transform_cost(low_rung, low), low), direct);
    return {&rung, &low_rung, plan, r.linear_cost(check_cost) + low_cost};
}

// By further moduli.
template <class W>
FoldPlan fold_by_fermat(const EngineRung& rung, const TransformPlan& plan, const Request<W>& r, u64 d) {
    const FermatPlan fermat = plan_fermat<W>(rung.source(), plan, d, r.tasks);
    if (fermat.count == 0 || fermat.scratch_bytes > r.scratch_bytes) return {};
    // Every modulus takes passes over all words, which a transform has driven out of the caches.
    u64 cost = r.linear_cost(check_cost + (r.square ? 500 : 800) * (1 + fermat.count));
    for (u64 i = 0; i < fermat.count; ++i)
        cost += r.cost_of(transform_cost(rung, fermat.transforms[i]), fermat.transforms[i]);
    return {&rung, nullptr, plan, cost};
}

// Folded over `plan` of a rung; no rung where it cannot be.
template <class W>
FoldPlan fold_over(const EngineRung& rung, const TransformPlan& plan, const Request<W>& r) {
    const u64 bits = r.bits();
    if (plan.wrap_sign == 0 || plan.wrap_bits >= bits || plan.wrap_bits % word_bits<W> != 0) return {};
    const u64 n = plan.wrap_bits / word_bits<W>, d = r.LA + r.LB - n;
    const bool sum = plan.wrap_sign == 1;
    if (r.LA > n || (sum && (d > n / 4 || r.LB <= d))) return {};
    if (product_scratch_bytes(plan, r.tasks) > r.scratch_bytes) return {};

    FoldPlan best;
    if (2 * d <= n) best = fold_by_low_words(rung, plan, r, d);
    // Between the rung's own lengths it would gain little, and the choice itself takes time.
    if (bits > rung.block_bits) {
        const FoldPlan fermat = fold_by_fermat(rung, plan, r, d);
        if (best.rung == nullptr || (fermat.rung != nullptr && fermat.cost < best.cost)) best = fermat;
    }
    best.cost += r.cost_of(transform_cost(rung, plan), plan);
    return best;
}

// What a product of so many bits takes that is folded over the shorter rung's longest transform, or halved; 0 where
// there is neither. Grows up to the longest that is halved.
u64 shorter_rung_bytes(const EngineRung& rung, u64 bits) noexcept {
    const EngineRung* shorter = rung.shorter;
    if (shorter == nullptr || bits <= shorter->block_bits || bits > longest_halved_bits(shorter->block_bits))
        return 0;
    const TransformPlan longest = shorter->source().plan(shorter->block_bits);
    if (longest.wrap_sign != -1) return 0;
    const bool halved = bits > longest_fold_bits(shorter->block_bits);
    return product_scratch_bytes(longest, 1) + (halved ? difference_bytes(bits) : 0);
}

}  // namespace

u64 one_shot_scratch_bytes(const EngineRung& rung, const TransformPlan& plan, u64 tasks) noexcept {
    return std::max(product_scratch_bytes(plan, tasks), shorter_rung_bytes(rung, plan.min_bits));
}

// A product's own transform takes no more than kept operands do, and the shorter rung's takes most at its end.
u64 most_scratch_bytes(const EngineRung& rung, u64 bits, u64 tasks) {
    const u64 kept = rung.source().most_kept_bytes(bits, tasks);
    if (rung.shorter == nullptr) return kept;
    return std::max(kept, shorter_rung_bytes(rung, std::min(bits, longest_halved_bits(rung.shorter->block_bits))));
}

template <class W>
FoldPlan plan_fold(const EngineRung& rung, const TransformPlan& whole, u64 LA, u64 LB, bool square, u64 least,
                   u64 scratch_bytes, u64 tasks) noexcept {
    const u64 bits = (LA + LB) * word_bits<W>;
    if (whole.wrap_sign == 0 || bits < shortest_fold_bits()) return {};
    const Request<W> request{LA, LB, square, scratch_bytes, tasks};
    FoldPlan best;
    // Estimates err by some percent, those of the number-theoretic transforms by more.
    const u64 worth = least / 100 * (whole.wrap_sign == -1 ? 97 : 94);
    const auto consider = [&](const FoldPlan& fold) {
        if (fold.rung == nullptr || fold.cost >= worth) return;
        if (best.rung == nullptr || fold.cost < best.cost) best = fold;
    };
    // Over each length of `over` from `least_bits` on that is too short. Its engine may have none beyond block_bits.
    const auto consider_lengths = [&](const EngineRung& over, u64 least_bits) {
        const u64 most_bits = std::min(bits - 1, over.block_bits);
        while (least_bits <= most_bits) {
            const TransformPlan plan = over.source().plan(least_bits);
            if (plan.capacity_bits >= bits) return;
            consider(fold_over(over, plan, request));
            least_bits = plan.capacity_bits + 1;
        }
    };
    const EngineRung* shorter = rung.shorter;
    if (shorter != nullptr && bits <= longest_fold_bits(shorter->block_bits))
        consider_lengths(*shorter, bits / 15 * 8);
    // Of the floating-point lengths, which are at most a quarter apart, the longer one has little to spare.
    if (whole.wrap_sign == 1 || bits <= whole.capacity_bits / 16 * 15) consider_lengths(rung, bits / 4 * 3);
    return best;
}

template <class W>
void unfold(W* C, u64 n, u64 d, W low) noexcept {
    // lo - hi is below zero where hi is larger: then 2^N + 1 was added to it, which makes the difference of the low
    // words hi - 1, and the sum with that reaches 2^N.
    const W top = C[n];
    C[n] = low;
    kernels::sub_nr(C + n, C + n, C, d, 0);
    add_multiple(C, n, d, top);
}

template <class W>
void unfold_sum(W* C, u64 n, u64 d) noexcept {
    // A sum of 2^N or more lost that and won 1: then the difference of the low words is hi + 1, and the sum less that
    // is below zero. It never is otherwise; nor is hi + 1 = 2^D, of D bits: the product would be above 2^(N + D) - 2^D.
    kernels::sub_nr(C + n, C, C + n, d, 0);
    u32 borrow = kernels::sub_ir(C, C + n, d, 0);
    borrow = kernels::sub1_ir(C + d, n - d, borrow);
    kernels::sub1_ir(C + n, d, borrow);
}

template FoldPlan plan_fold<u32>(const EngineRung&, const TransformPlan&, u64, u64, bool, u64, u64, u64) noexcept;
template FoldPlan plan_fold<u64>(const EngineRung&, const TransformPlan&, u64, u64, bool, u64, u64, u64) noexcept;
template void unfold_sum(u32*, u64, u64) noexcept;
template void unfold_sum(u64*, u64, u64) noexcept;
template void unfold(u32*, u64, u64, u32) noexcept;
template void unfold(u64*, u64, u64, u64) noexcept;

}  // namespace kvt::multiply
