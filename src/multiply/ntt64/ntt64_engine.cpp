// The 64-bit transform behind the engine interface.

#include <algorithm>
#include <cstring>

#include "frame/exceptions.h"
#include "kernels/cpu.h"
#include "kernels/residue61.h"
#include "multiply/ntt64/transform.h"
#include "threads/parallel.h"

namespace kvt::multiply {
namespace {

using namespace ntt64;

constexpr u64 alignment_slack = 64;

class Ntt64Engine final : public TransformEngine {
  public:
    TransformPlan plan(u64 min_bits) const override;
    Residue forward(const TransformPlan& plan, const GlobalTwiddleTable& table, Operand a, void* operand, void* work,
                    u64 tasks) const override;
    void multiply(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b, void* work,
                  u64 tasks) const override;
    void inverse(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, Window out,
                 const Residue* expected, void* work, u64 tasks) const override;
    void product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue a_residue, Operand b,
                 Window out, bool check, void* work, u64 tasks) const override;
};

u64 encoded(const Shape& shape) { return shape.set | shape.radix << 8 | shape.exponent << 16; }

// The plan's length in the form that this machine is fastest with. Operands and scratch take the same bytes in both.
Shape shape_of(const TransformPlan& plan) {
    const Shape shape{.set = static_cast<unsigned>(plan.row & 0xff),
                      .radix = static_cast<unsigned>(plan.row >> 8 & 0xff),
                      .exponent = static_cast<unsigned>(plan.row >> 16)};
    return kernels::active_levels().vector == kernels::VectorLevel::avx512ifma ? narrowed(shape) : shape;
}

// Joins, checks, and only then stores the window.
void finish(const Transform& transform, const Shape& shape, Point* x, Window out, const Residue* expected,
            u64 tasks) {
    transform.join(x);
    if (expected != nullptr && transform.joined_residue(x).value != expected->value)
        raise_redundancy_failure("NTT64::inverse()", "The product does not match its factors modulo 2^61 - 1.");
    const u64 n = shape.bits() / 32;
    const u64 stored = out.first < n ? std::min(out.count, n - out.first) : 0;
    const u64 parts = std::min(std::max<u64>(tasks, 1), stored / 8192 + 1);
    Threads::run_parts(parts, [&](u64 i) {
        const Threads::Share share = Threads::share_of(stored, parts, i);
        const u64 first = 4 * (out.first + share.first), last = 4 * (out.first + share.last);  // bytes
        transform.joined(x, first / 8, (last + 7) / 8 - first / 8, [&](u64 word, const u8* bytes, u64 count) {
            const u64 from = std::max(8 * word, first), to = std::min(8 * (word + count), last);
            std::memcpy(out.bytes + (from - 4 * out.first), bytes + (from - 8 * word), to - from);
        });
    });
    std::memset(out.bytes + 4 * stored, 0, 4 * (out.count - stored));
}

TransformPlan Ntt64Engine::plan(u64 min_bits) const {
    const Shape shape = shape_for(min_bits);
    if (shape.radix == 0) raise_no_algorithm();
    const WorkLayout layout = growing_layout(shape);
    const u64 points = shape.points();
    TransformPlan plan;
    plan.min_bits = min_bits;
    plan.capacity_bits = plan.wrap_bits = shape.bits();
    plan.wrap_sign = 1;
    plan.table_bits = std::max(min_bits, shorter_max_bits + 1);
    plan.operand_bytes = 24 * points;
    plan.work_bytes = layout.shared_bytes() + alignment_slack;
    plan.product_bytes = 8 * points + plan.work_bytes;
    plan.task_bytes = layout.part_bytes();
    plan.row = encoded(shape);
    plan.points = points;
    return plan;
}

Residue Ntt64Engine::forward(const TransformPlan& plan, const GlobalTwiddleTable& table, Operand a, void* operand,
                             void* work, u64 tasks) const {
    const Shape shape = shape_of(plan);
    Transform transform(shape, table, work, tasks);
    auto* const x = static_cast<Point*>(operand);
    for (unsigned i = 0; i < transform.primes(); ++i) transform.forward(i, a, x + i * shape.points());
    return transform.residue(a);
}

void Ntt64Engine::multiply(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b,
                           void* work, u64 tasks) const {
    const Shape shape = shape_of(plan);
    Transform transform(shape, table, work, tasks);
    auto* const x = static_cast<Point*>(a);
    for (unsigned i = 0; i < transform.primes(); ++i)
        transform.multiply(i, x + i * shape.points(), static_cast<const Point*>(b) + i * shape.points());
}

void Ntt64Engine::inverse(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, Window out,
                          const Residue* expected, void* work, u64 tasks) const {
    const Shape shape = shape_of(plan);
    Transform transform(shape, table, work, tasks);
    auto* const x = static_cast<Point*>(operand);
    for (unsigned i = 0; i < transform.primes(); ++i) transform.inverse(i, x + i * shape.points());
    finish(transform, shape, x, out, expected, tasks);
}

void Ntt64Engine::product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue a_residue,
                          Operand b, Window out, bool check, void* work, u64 tasks) const {
    const Shape shape = shape_of(plan);
    auto* const y = static_cast<Point*>(work);
    Transform transform(shape, table, static_cast<u8*>(work) + shape.bits() / 8, tasks);
    auto* const x = static_cast<Point*>(a);
    for (unsigned i = 0; i < transform.primes(); ++i) transform.product(i, x + i * shape.points(), b, y);
    const Residue b_residue = b.bytes == nullptr || !check ? a_residue : transform.residue(b);
    const Residue expected{kernels::residue_mul(a_residue.value, b_residue.value)};
    finish(transform, shape, x, out, check ? &expected : nullptr, tasks);
}

}  // namespace

const TransformEngine& ntt64_engine() noexcept {
    static constexpr Ntt64Engine engine;
    return engine;
}

}  // namespace kvt::multiply
