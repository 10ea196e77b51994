#include "multiply/engine_algorithm.h"

#include <cstring>
#include <utility>

#include "frame/exceptions.h"
#include "kernels/schoolbook.h"
#include "multiply/block_product.h"
#include "multiply/transform_checks.h"
#include "multiply/twiddle_table.h"

namespace kvt::multiply {
namespace {

// Rows: the longest shorter operand for which a direct product beats every transform.
template <class W>
constexpr u64 row_words = 16 * 64 / word_bits<W>;

// One product, its operands in order of length, and the part of it that is kept.
template <class W>
struct Job {
    const W* A;  // the longer operand
    u64 LA;
    const W* B;  // null: the square of A
    u64 LB;
    W* C;
    u64 first, count;

    u64 length() const { return LA + LB; }
    bool writes_in_place() const {
        return count == length() && !overlaps(A, LA) && (B == nullptr || !overlaps(B, LB));
    }

  private:
    bool overlaps(const W* X, u64 L) const { return C < X + L && X < C + count; }
};

// Runs form(C', memory', memory_bytes'), which forms the whole product at C': in C itself, or in the last bytes of
// the scratch when only a window is wanted or C overlaps the operands. False: no room for that.
template <class W, class Form>
bool form_whole(const Job<W>& job, u8* memory, u64 scratch_bytes, Form&& form) {
    if (job.writes_in_place()) return form(job.C, memory, scratch_bytes);
    const u64 bytes = job.length() * sizeof(W);
    u8* end = memory + scratch_bytes;
    end -= reinterpret_cast<std::uintptr_t>(end) % alignof(W);
    if (static_cast<u64>(end - memory) < bytes) return false;
    W* whole = reinterpret_cast<W*>(end - bytes);
    if (!form(whole, memory, static_cast<u64>(end - memory) - bytes)) return false;
    std::memcpy(job.C, whole + job.first, job.count * sizeof(W));
    return true;
}

template <class W>
bool run_rows(const Job<W>& job, u8* memory, u64 scratch_bytes) {
    if (job.B == nullptr || job.LB > row_words<W>) return false;
    return form_whole(job, memory, scratch_bytes, [&](W* C, u8*, u64) {
        kernels::mulB(C, job.A, job.LA, job.B, job.LB);
        return true;
    });
}

template <class W>
bool run_blocks(const EngineRung& rung, const TransformPlan& whole, const GlobalTwiddleTable& table,
                const Job<W>& job, u8* memory, u64 scratch_bytes, u64 tasks) {
    if (job.B == nullptr || job.LA / 2 < job.LB) return false;
    return form_whole(job, memory, scratch_bytes, [&](W* C, u8* rest, u64 rest_bytes) {
        const BlockPlan plan = plan_blocks<W>(rung, whole, job.LA, job.LB, rest_bytes, tasks);
        if (plan.engine == nullptr) return false;
        multiply_blocks(plan, table, C, job.A, job.LA, job.B, job.LB, rest, tasks);
        return true;
    });
}

template <class W>
void run(const EngineRung& rung, const TransformEngine& engine, const BasicParameters& params, const char* location,
         Job<W> job) {
    const u64 bits = job.length() * word_bits<W>;
    const u64 tasks = useful_tasks(params.tasks, bits);
    const TransformPlan plan = engine.plan(bits);
    const GlobalTwiddleTable& table = require_table(params, plan, location);
    const u64 scratch_bytes = product_scratch_bytes(plan, tasks);
    if (params.memory_bytes < scratch_bytes) raise_scratch_too_small(location, params.memory_bytes, scratch_bytes);
    warn_if_misaligned(params);

    if (job.B != nullptr && job.LA < job.LB) {
        std::swap(job.A, job.B);
        std::swap(job.LA, job.LB);
    }
    u8* memory = static_cast<u8*>(params.memory);
    if (run_rows(job, memory, scratch_bytes)) return;
    if (run_blocks(rung, plan, table, job, memory, scratch_bytes, tasks)) return;
    u8* work = memory + plan.operand_bytes;
    const Residue residue = engine.forward(plan, table, operand_of(job.A, job.LA), memory, work, tasks);
    engine.product(plan, table, memory, residue, operand_of(job.B, job.B == nullptr ? 0 : job.LB),
                   window_of(job.C, job.first, job.count), true, work, tasks);
}

}  // namespace

template <class W>
const TransformEngine& EngineAlgorithm<W>::engine() const {
    if (rung_.source == nullptr) raise_no_algorithm();
    return rung_.source();
}

template <class W>
u64 EngineAlgorithm<W>::scratch_bytes(u64 L, u64 tasks) const {
    const u64 bits = L * word_bits<W>;
    return kept_scratch_bytes(engine().plan(bits), useful_tasks(tasks, bits));
}

template <class W>
void EngineAlgorithm<W>::size_record(MulSizeRecord& record, u64 L, u64 tasks) const {
    const u64 bits = L * word_bits<W>;
    record = length_record<W>(L, product_scratch_bytes(engine().plan(bits), useful_tasks(tasks, bits)));
}

template <class W>
void EngineAlgorithm<W>::square(const BasicParameters& params, W* C, const W* A, u64 L) const {
    run<W>(rung_, engine(), params, this->short_name, {A, L, nullptr, L, C, 0, 2 * L});
}

template <class W>
void EngineAlgorithm<W>::multiply(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) const {
    run<W>(rung_, engine(), params, this->short_name, {A, LA, B, LB, C, 0, LA + LB});
}

template <class W>
void EngineAlgorithm<W>::square_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                        u64 L) const {
    run<W>(rung_, engine(), params, this->short_name, {A, L, nullptr, L, C, first, count});
}

template <class W>
void EngineAlgorithm<W>::multiply_partial(const BasicParameters& params, W* C, u64 first, u64 count, const W* A,
                                          u64 LA, const W* B, u64 LB) const {
    run<W>(rung_, engine(), params, this->short_name, {A, LA, B, LB, C, first, count});
}

template class EngineAlgorithm<u32>;
template class EngineAlgorithm<u64>;

}  // namespace kvt::multiply
