#include <algorithm>

#include "frame/exceptions.h"
#include "kernels/cpu.h"
#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/ntt32/layout.h"
#include "multiply/ntt32/output.h"
#include "multiply/ntt32/root_tables.h"
#include "multiply/transform_checks.h"
#include "multiply/twiddle_table.h"
#include "threads/parallel.h"

namespace kvt::multiply {
namespace ntt32 {
namespace {

// One call's view of a transform.
class Call {
  public:
    Call(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, void* work, u64 tasks)
        : layout_(row_of(plan.row), plan.wrap_sign < 0),
          kernels_(active_kernels()),
          section_(table.section[plan.row < fine_list.length ? 2 : 1]),
          residues_(static_cast<u32*>(aligned(operand, alignment))),
          work_(static_cast<u8*>(aligned(work, alignment))),
          task_bytes_(plan.task_bytes),
          tasks_(std::max<u64>(tasks, 1)) {}

    void forward(Operand a) {
        const Shape shape = shape_of(a);
        each_prime([&](unsigned i, u64 task) { transform(i, shape, a, residues(i), task); },
                   [&](unsigned i) {
                       top_forward(i, a, residues(i));
                       each_row([&](u64 row, u64 task) {
                           kernels_.block_forward(prime(i), shape, {}, row_at(residues(i), row), row, scratch(task));
                       });
                   });
    }

    void multiply(const u32* b) {
        const auto block = [&](unsigned i, u64 row, u64 task) {
            const u64 at = i * layout_.prime_words + row * layout_.shape.pitch;
            kernels_.block_multiply(prime(i), layout_.shape, residues_ + at, b + at, row, scratch(task));
        };
        each_prime([&](unsigned i, u64 task) { all_rows([&](u64 row) { block(i, row, task); }); },
                   [&](unsigned i) { each_row([&](u64 row, u64 task) { block(i, row, task); }); });
    }

    void inverse() {
        const auto block = [&](unsigned i, u64 row, u64 task) {
            kernels_.block_inverse(prime(i), layout_.shape, row_at(residues(i), row), row, scratch(task));
        };
        each_prime(
            [&](unsigned i, u64 task) {
                all_rows([&](u64 row) { block(i, row, task); });
                finish(i, task);
            },
            [&](unsigned i) {
                each_row([&](u64 row, u64 task) { block(i, row, task); });
                top_inverse(i);
            });
    }

    // The residues become those of their product by b or, where an operand is kept, of b by that.
    void product(Operand b, const u32* kept = nullptr) {
        const Shape shape = b.bytes == nullptr ? layout_.shape : shape_of(b);
        const u32* const first = kept == nullptr ? residues_ : kept;
        const auto block = [&](unsigned i, Words words, u32* second, u64 row, u64 task) {
            const u64 at = i * layout_.prime_words + row * layout_.shape.pitch;
            kernels_.block_product(prime(i), shape, words, first + at,
                                   second == nullptr ? nullptr : row_at(second, row), residues_ + at, row,
                                   scratch(task));
        };
        const auto second_of = [&](unsigned i, u64 task) -> u32* {
            if (b.bytes == nullptr) return nullptr;
            return kept != nullptr ? residues(i) : second_operand(task);
        };
        each_prime(
            [&](unsigned i, u64 task) {
                if (shape.rows() == 1) return block(i, words_of(b), nullptr, 0, task);
                u32* const second = second_of(i, task);
                if (second != nullptr)
                    kernels_.top_forward(prime(i), shape, words_of(b), second, 0, columns(), scratch(task));
                all_rows([&](u64 row) { block(i, {}, second, row, task); });
                finish(i, task);
            },
            [&](unsigned i) {
                u32* const second = second_of(i, 0);
                if (second != nullptr) top_forward(i, b, second);
                each_row([&](u64 row, u64 task) { block(i, {}, second, row, task); });
                top_inverse(i);
            });
    }

    u64 output(Window out) {
        return write_output(layout_, kernels_, residues_, out, task_area(0), task_bytes_, tasks_);
    }

    u64 residue(Operand a) {
        constexpr u64 grain = u64{1} << 16;
        const u64 parts = std::min(tasks_, a.n / grain + 1);
        Threads::run_parts(parts, [&](u64 i) {
            const Threads::Share share = Threads::share_of(a.n, parts, i);
            const u64 value = kernels::residue_of(a.bytes + 4 * share.first, share.last - share.first);
            record(i).residue = kernels::residue_shift(value, static_cast<i64>(32 * share.first % 61));
        });
        u64 sum = 0;
        for (u64 i = 0; i < parts; ++i) sum = kernels::residue_add(sum, record(i).residue);
        return sum;
    }

    // Tells where the tasks' own areas start: product() keeps the second operand of a split prime before them.
    void reserve_second_operand() {
        if (layout_.splits_primes()) areas_offset_ = layout_.second_operand_bytes();
    }

  private:
    Prime prime(unsigned i) const {
        const PrimeRoots roots = roots_in(section_, layout_.row.set(), i);
        return {prime_sets[layout_.row.set()].primes[i], roots.inner, roots.steps};
    }
    Shape shape_of(Operand a) const {
        Shape shape = layout_.shape;
        shape.half_empty = 4 * a.n <= shape.points() / 2 * shape.point_bytes();
        return shape;
    }
    u32* residues(unsigned i) const { return residues_ + i * layout_.prime_words; }
    u32* row_at(u32* rows, u64 row) const { return rows + row * layout_.shape.pitch; }
    u64 columns() const { return u64{1} << layout_.shape.block_log; }

    u8* task_area(u64 task) const { return work_ + areas_offset_ + task * task_bytes_; }
    OutputPart& record(u64 task) const { return *reinterpret_cast<OutputPart*>(task_area(task)); }
    u32* second_operand(u64 task) const {
        if (layout_.splits_primes()) return reinterpret_cast<u32*>(work_);
        return reinterpret_cast<u32*>(task_area(task) + aligned(sizeof(OutputPart)));
    }
    void* scratch(u64 task) const {
        return task_area(task) + aligned(sizeof(OutputPart)) +
               (layout_.splits_primes() ? 0 : layout_.second_operand_bytes());
    }

    // Either a task does whole primes, or the primes go one after the other and each is split.
    template <class Whole, class Split>
    void each_prime(Whole&& whole, Split&& split) {
        const unsigned count = layout_.row.count;
        if (layout_.splits_primes()) {
            for (unsigned i = 0; i < count; ++i) split(i);
            return;
        }
        const u64 parts = std::min<u64>(tasks_, count);
        Threads::run_parts(parts, [&](u64 task) {
            const Threads::Share share = Threads::share_of(count, parts, task);
            for (u64 i = share.first; i < share.last; ++i) whole(static_cast<unsigned>(i), task);
        });
    }
    template <class Block>
    void all_rows(Block&& block) {
        for (u64 row = 0; row < layout_.shape.rows(); ++row) block(row);
    }
    template <class Block>
    void each_row(Block&& block) {
        const u64 parts = std::min(tasks_, layout_.shape.rows());
        Threads::run_parts(parts, [&](u64 task) {
            const Threads::Share share = Threads::share_of(layout_.shape.rows(), parts, task);
            for (u64 row = share.first; row < share.last; ++row) block(row, task);
        });
    }
    template <class Columns>
    void each_group(Columns&& work) {
        const u64 groups = columns() >> layout_.shape.column_log, parts = std::min(tasks_, groups);
        Threads::run_parts(parts, [&](u64 task) {
            const Threads::Share share = Threads::share_of(groups, parts, task);
            work(share.first << layout_.shape.column_log, share.last << layout_.shape.column_log, task);
        });
    }

    static Words words_of(Operand a) { return {a.bytes, 4 * a.n}; }

    void transform(unsigned i, const Shape& shape, Operand a, u32* rows, u64 task) {
        if (shape.rows() == 1) return kernels_.block_forward(prime(i), shape, words_of(a), rows, 0, scratch(task));
        kernels_.top_forward(prime(i), shape, words_of(a), rows, 0, columns(), scratch(task));
        all_rows(
            [&](u64 row) { kernels_.block_forward(prime(i), shape, {}, row_at(rows, row), row, scratch(task)); });
    }
    void finish(unsigned i, u64 task) {
        if (layout_.shape.rows() > 1)
            kernels_.top_inverse(prime(i), layout_.shape, residues(i), 0, columns(), scratch(task));
    }
    void top_forward(unsigned i, Operand a, u32* rows) {
        const Shape shape = shape_of(a);
        each_group([&](u64 begin, u64 end, u64 task) {
            kernels_.top_forward(prime(i), shape, words_of(a), rows, begin, end, scratch(task));
        });
    }
    void top_inverse(unsigned i) {
        each_group([&](u64 begin, u64 end, u64 task) {
            kernels_.top_inverse(prime(i), layout_.shape, residues(i), begin, end, scratch(task));
        });
    }

    const Layout layout_;
    const KernelTable& kernels_;
    const void* const section_;
    u32* const residues_;
    u8* const work_;
    const u64 task_bytes_, tasks_;
    u64 areas_offset_ = 0;
};

class Engine final : public TransformEngine {
  public:
    explicit constexpr Engine(bool negacyclic) : negacyclic_(negacyclic) {}

    TransformPlan plan(u64 min_bits) const override {
        if (min_bits > max_bits) raise_no_algorithm();
        TransformPlan plan;
        plan.min_bits = plan.table_bits = min_bits;
        plan_row(plan, row_number(min_bits), negacyclic_);
        return plan;
    }

    // A row may need less than a shorter one: fewer primes, or blocks instead of primes for the tasks.
    u64 most_kept_bytes(u64 min_bits, u64 tasks) const override {
        u64 most = TransformEngine::most_kept_bytes(min_bits, tasks);
        for (u64 bits = end_of_row(0); bits < min_bits; bits = end_of_row(bits + 1))
            most = std::max(most, kept_scratch_bytes(plan(bits), useful_tasks(tasks, bits)));
        return most;
    }

    Residue forward(const TransformPlan& plan, const GlobalTwiddleTable& table, Operand a, void* operand, void* work,
                    u64 tasks) const override {
        Call call(plan, table, operand, work, tasks);
        call.forward(a);
        return {call.residue(a)};
    }

    void multiply(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b, void* work,
                  u64 tasks) const override {
        Call call(plan, table, a, work, tasks);
        call.multiply(aligned_operand(b));
    }

    void inverse(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, Window out,
                 const Residue* expected, void* work, u64 tasks) const override {
        Call call(plan, table, operand, work, tasks);
        call.inverse();
        const u64 residue = call.output(out);
        if (expected != nullptr) check(residue, expected->value);
    }

    void product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue a_residue, Operand b,
                 Window out, bool check_result, void* work, u64 tasks) const override {
        Call call(plan, table, a, work, tasks);
        call.reserve_second_operand();
        const u64 b_residue = !check_result ? 0 : b.bytes == nullptr ? a_residue.value : call.residue(b);
        call.product(b);
        const u64 residue = call.output(out);
        if (check_result) check(residue, kernels::residue_mul(a_residue.value, b_residue));
    }

    void product_keeping(const TransformPlan& plan, const GlobalTwiddleTable& table, const void* a, Residue a_residue,
                         Operand b, void* operand, Window out, bool check_result, void* work,
                         u64 tasks) const override {
        Call call(plan, table, operand, work, tasks);
        const u64 b_residue = !check_result ? 0 : b.bytes == nullptr ? a_residue.value : call.residue(b);
        call.product(b, aligned_operand(a));
        const u64 residue = call.output(out);
        if (check_result) check(residue, kernels::residue_mul(a_residue.value, b_residue));
    }

  private:
    static const u32* aligned_operand(const void* operand) {
        return static_cast<const u32*>(aligned(const_cast<void*>(operand), alignment));
    }
    static void check(u64 residue, u64 expected) {
        if (residue != expected)
            raise_redundancy_failure("NTT32::inverse()", "The product fails its check modulo 2^61 - 1.");
    }

    const bool negacyclic_;
};

}  // namespace

const KernelTable& active_kernels() noexcept {
    switch (kernels::active_levels().vector) {
        case kernels::VectorLevel::scalar: return ntt32_scalar;
        case kernels::VectorLevel::avx512ifma: return ntt32_avx512ifma;
        case kernels::VectorLevel::avx512: return ntt32_avx512;
        default: return ntt32_avx2;
    }
}

void plan_row(TransformPlan& plan, u64 number, bool negacyclic) {
    plan.row = number;
    Layout(row_of(number), negacyclic).fill(plan);
}

}  // namespace ntt32

const TransformEngine& ntt32_engine() noexcept {
    static constinit const ntt32::Engine engine(false);
    return engine;
}

const TransformEngine& ntt32_negacyclic_engine() noexcept {
    static constinit const ntt32::Engine engine(true);
    return engine;
}

}  // namespace kvt::multiply
