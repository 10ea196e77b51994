#include "multiply/engine_algorithm.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/exceptions.h"
#include "kernels/direct.h"
#include "kernels/karatsuba.h"
#include "kernels/residue61.h"
#include "kernels/schoolbook.h"
#include "multiply/block_product.h"
#include "multiply/cost.h"
#include "multiply/folded_product.h"
#include "multiply/halved_product.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// One product, its operands in order of length, and the part of it that is kept.
template <class W>
struct Job {
    const W* A;  // the longer operand
    u64 LA;
    const W* B;  // null: the square of A
    u64 LB;
    W* C;
    u64 first, count;

    Job(const W* A, u64 L, W* C, u64 first, u64 count)
        : A(A), LA(L), B(nullptr), LB(L), C(C), first(first), count(count) {}
    Job(const W* A, u64 LA, const W* B, u64 LB, W* C, u64 first, u64 count)
        : A(A), LA(LA), B(B), LB(LB), C(C), first(first), count(count) {
        if (this->LA >= this->LB) return;
        std::swap(this->A, this->B);
        std::swap(this->LA, this->LB);
    }

    u64 length() const { return LA + LB; }
    bool writes_in_place() const {
        return count == length() && disjoint(C, count, A, LA) && (B == nullptr || disjoint(C, count, B, LB));
    }
};

// Where a way that writes whole products puts them: C itself, or the last bytes of the scratch when only a window is
// wanted or C overlaps the operands. C is null when there is no room.
template <class W>
struct Place {
    W* C;
    u64 scratch_bytes;  // what is left of the scratch
};

template <class W>
Place<W> place_of(const Job<W>& job, u8* memory, u64 scratch_bytes) {
    if (job.writes_in_place()) return {job.C, scratch_bytes};
    u8* end = memory + scratch_bytes;
    end -= reinterpret_cast<std::uintptr_t>(end) % alignof(W);
    const u64 present = static_cast<u64>(end - memory), bytes = job.length() * sizeof(W);
    if (present < bytes) return {nullptr, 0};
    return {reinterpret_cast<W*>(end - bytes), present - bytes};
}

// Up to so many words of the shorter operand rows win, whatever the longer one.
template <class W>
constexpr u64 row_words = 16 * 8 / sizeof(W);

// A direct product's cost, nothing where it is sure to win, or the largest number when it lacks scratch.
template <class W>
u64 direct_cost_of(const EngineRung& rung, const Job<W>& job, u64 scratch_bytes) {
    constexpr u64 halves = 8 / sizeof(W);
    const bool square = job.B == nullptr;
    const u64 needed = square ? kernels::direct_square_scratch_bytes<W>(job.LA)
                              : kernels::direct_multiply_scratch_bytes<W>(job.LA, job.LB);
    if (needed > scratch_bytes) return ~u64{0};
    if (job.LB <= row_words<W> || job.length() * word_bits<W> <= direct_bits(rung)) return 0;
    return direct_cost((job.LA + halves - 1) / halves, (job.LB + halves - 1) / halves, square);
}

template <class W>
void run(const EngineRung& rung, const BasicParameters& params, const Job<W>& job, bool warns = true);

// out[0..count) := the lowest words of X * Y; X and Y are the same part of both factors, of a square's one factor X.
template <class W>
void form_part(const EngineRung& rung, const BasicParameters& params, bool square, const W* X, u64 nx, const W* Y,
               u64 ny, W* out, u64 count) {
    if (square)
        run<W>(rung, params, {X, nx, out, 0, count}, false);
    else
        run<W>(rung, params, {X, nx, Y, ny, out, 0, count}, false);
}

// a_residue: of job.A, modulo 2^61 - 1.
template <class W>
void check_product(const EngineRung& rung, const Job<W>& job, const W* C, u64 a_residue) {
    const u64 b_residue = job.B == nullptr ? a_residue : kernels::residue_of_words(job.B, job.LB);
    if (kernels::residue_of_words(C, job.length()) != kernels::residue_mul(a_residue, b_residue))
        raise_redundancy_failure(rung.location, "The product fails its check modulo 2^61 - 1.\n");
}

// The product by FoldPlan, in C, which overlaps no operand.
template <class W>
void multiply_folded(const FoldPlan& fold, const GlobalTwiddleTable& table, const Job<W>& job, W* C, u8* memory,
                     u64 scratch_bytes, u64 tasks) {
    const TransformEngine& engine = fold.rung->source();
    const u64 n = fold.transform.wrap_bits / word_bits<W>, d = job.length() - n;

    W low = 0;
    if (fold.low_rung != nullptr) {
        const BasicParameters params{&table, memory, scratch_bytes, tasks};
        form_part<W>(*fold.low_rung, params, job.B == nullptr, job.A, d, job.B, d, C + n, d);
        low = C[n];
    }
    u8* work = memory + fold.transform.operand_bytes;
    const Operand b = operand_of(job.B, job.B == nullptr ? 0 : job.LB);
    const Residue a_residue = engine.forward(fold.transform, table, operand_of(job.A, job.LA), memory, work, tasks);
    const bool sum = fold.transform.wrap_sign == 1;
    engine.product(fold.transform, table, memory, a_residue, b, window_of(C, 0, sum ? n : n + 1), false, work, tasks);
    if (fold.low_rung == nullptr)
        complete_by_fermat(engine, fold.transform, table, job.A, job.LA, job.B, job.LB, C, d, memory, tasks);
    else if (sum)
        unfold_sum(C, n, d);
    else
        unfold(C, n, d, low);

    check_product(*fold.rung, job, C, a_residue.value);
}

// The product by halves, in C, which overlaps no operand.
template <class W>
void multiply_halves(const EngineRung& rung, const GlobalTwiddleTable& table, const Job<W>& job, W* C, u8* memory,
                     u64 scratch_bytes, u64 tasks) {
    const u64 l = (job.LA + 1) / 2, ha = job.LA - l, hb = job.LB - l;
    const u64 at = scratch_bytes - difference_bytes(job.length() * word_bits<W>);
    W* const S = static_cast<W*>(aligned(memory + at, alignof(W)));
    const BasicParameters params{&table, memory, at, tasks};
    const auto form = [&](W* out, const W* X, u64 nx, const W* Y, u64 ny) {
        const EngineRung& half_rung = rung_for(rung, (nx + ny) * word_bits<W>);
        form_part<W>(half_rung, params, job.B == nullptr, X, nx, Y, ny, out, nx + ny);
    };
    bool same_sign = true;
    const bool a_smaller = kernels::half_difference(C, job.A, l, ha);
    if (job.B != nullptr) same_sign = kernels::half_difference(C + l, job.B, l, hb) == a_smaller;
    form(S, C, l, C + l, l);
    const W* const B = job.B == nullptr ? job.A : job.B;
    form(C, job.A, l, B, l);
    form(C + 2 * l, job.A + l, ha, B + l, hb);
    kernels::combine_halves(C, S, l, ha + hb, same_sign);

    check_product(rung, job, C, kernels::residue_of_words(job.A, job.LA));
}

template <class W>
void multiply_directly(const Job<W>& job, W* C, u8* memory) {
    if (job.B == nullptr)
        kernels::direct_square(C, job.A, job.LA, memory);
    else
        kernels::direct_multiply(C, job.A, job.LA, job.B, job.LB, memory);
}

// Forms the product in place.C by the cheapest way, a direct product's cost being known; false: by one transform, which
// is left to the caller.
template <class W>
bool choose_and_multiply(const EngineRung& rung, const TransformPlan& whole, const GlobalTwiddleTable& table,
                         const Job<W>& job, u64 direct, const Place<W>& place, u8* memory, u64 tasks) {
    const TransformCost transform = transform_cost(rung, whole);
    const u64 transformed = job.B == nullptr ? transform.square : transform.product;
    u64 least = std::min(direct, transformed);
    FoldPlan fold;
    if (direct > transformed / 4 * 3)
        fold = plan_fold<W>(rung, whole, job.LA, job.LB, job.B == nullptr, least, place.scratch_bytes, tasks);
    if (fold.rung != nullptr) least = fold.cost;
    // Estimates of the number-theoretic transforms are up to two fifths too high just above the floating-point ones.
    if (halved_cost<W>(rung, job.LA, job.LB, job.B == nullptr, place.scratch_bytes, tasks) < least / 10 * 7) {
        multiply_halves(rung, table, job, place.C, memory, place.scratch_bytes, tasks);
        return true;
    }
    // No number of blocks makes up for a direct product that is far cheaper than one transform.
    BlockPlan blocks;
    if (job.B != nullptr && job.LA / 2 >= job.LB && direct > transformed / 3)
        blocks = plan_blocks<W>(rung, job.LA, job.LB, least, place.scratch_bytes, tasks);
    if (blocks.engine != nullptr)
        multiply_blocks(blocks, table, place.C, job.A, job.LA, job.B, job.LB, memory, tasks);
    else if (fold.rung != nullptr)
        multiply_folded(fold, table, job, place.C, memory, place.scratch_bytes, tasks);
    else if (direct <= least)
        multiply_directly(job, place.C, memory);
    else
        return false;
    return true;
}

// Forms the product directly, folded or in blocks if that is cheaper than one transform; false: it is not.
template <class W>
bool run_without_whole_transform(const EngineRung& rung, const TransformPlan& whole, const GlobalTwiddleTable& table,
                                 const Job<W>& job, u8* memory, u64 scratch_bytes, u64 tasks) {
    const Place<W> place = place_of(job, memory, scratch_bytes);
    if (place.C == nullptr) return false;
    const u64 direct = direct_cost_of(rung, job, place.scratch_bytes);
    if (direct == 0)
        multiply_directly(job, place.C, memory);
    else if (!choose_and_multiply(rung, whole, table, job, direct, place, memory, tasks))
        return false;
    if (place.C != job.C) std::memcpy(job.C, place.C + job.first, job.count * sizeof(W));
    return true;
}

// A product's plan, and its parameters, which are large enough.
struct Checked {
    TransformPlan plan;
    u64 tasks, scratch_bytes;
    const GlobalTwiddleTable& table;

    Checked(const EngineRung& rung, const BasicParameters& params, u64 bits, bool warns)
        : plan(rung.source().plan(bits)),
          tasks(useful_tasks(params.tasks, bits)),
          scratch_bytes(one_shot_scratch_bytes(rung, plan, tasks)),
          table(require_table(params, plan, rung.location)) {
        if (params.memory_bytes < scratch_bytes)
            raise_scratch_too_small(rung.location, params.memory_bytes, scratch_bytes);
        if (warns) warn_if_misaligned(params);
    }
};

template <class W>
void run(const EngineRung& rung, const BasicParameters& params, const Job<W>& job, bool warns) {
    const TransformEngine& engine = rung.source();
    const auto& [plan, tasks, scratch_bytes, table] = Checked(rung, params, job.length() * word_bits<W>, warns);
    u8* memory = static_cast<u8*>(params.memory);
    if (run_without_whole_transform(rung, plan, table, job, memory, scratch_bytes, tasks)) return;
    u8* work = memory + plan.operand_bytes;
    const Residue residue = engine.forward(plan, table, operand_of(job.A, job.LA), memory, work, tasks);
    engine.product(plan, table, memory, residue, operand_of(job.B, job.B == nullptr ? 0 : job.LB),
                   window_of(job.C, job.first, job.count), true, work, tasks);
}

}  // namespace

template <class W>
u64 EngineAlgorithm<W>::scratch_bytes(u64 L, u64 tasks) const {
    return most_scratch_bytes(rung_, L * word_bits<W>, tasks);
}

template <class W>
void EngineAlgorithm<W>::size_record(MulSizeRecord& record, u64 L, u64 tasks) const {
    const u64 bits = L * word_bits<W>;
    record = length_record<W>(L, one_shot_scratch_bytes(rung_, engine().plan(bits), useful_tasks(tasks, bits)));
}

template <class W>
void EngineAlgorithm<W>::square(const BasicParameters& params, W* C, const W* A, u64 L) const {
    run<W>(rung_, params, {A, L, C, 0, 2 * L});
}

template <class W>
void EngineAlgorithm<W>::multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const {
    // One or two rows cost no more than the choice of a way.
    if (std::min(LA, LB) <= 2 && disjoint(C, LA + LB, A, LA) && disjoint(C, LA + LB, B, LB)) {
        Checked(rung_, params, (LA + LB) * word_bits<W>, true);
        return kernels::mulB(C, A, LA, B, LB);
    }
    run<W>(rung_, params, {A, LA, B, LB, C, 0, LA + LB});
}

template <class W>
void EngineAlgorithm<W>::square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                        u64 L) const {
    run<W>(rung_, params, {A, L, C, first, count});
}

template <class W>
void EngineAlgorithm<W>::multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                          u64 LA, const W* B, u64 LB) const {
    run<W>(rung_, params, {A, LA, B, LB, C, first, count});
}

template class EngineAlgorithm<u32>;
template class EngineAlgorithm<u64>;

}  // namespace kvt::multiply
