// The direct products behind the engine interface: an identity transform. An operand's buffer holds its length and
// its words, the pointwise product is the plain one, and words above the transform's length are dropped.

#include <algorithm>
#include <cstring>

#include "frame/exceptions.h"
#include "kernels/direct.h"
#include "kernels/residue61.h"
#include "multiply/algorithms.h"

namespace kvt::multiply {
namespace {

// Layout of an operand buffer: in 64-bit words, so that both word widths meet the same products.
struct Buffer {
    u64 n;  // words in use; the product of two operands never exceeds the transform's length
    u64* words() { return &n + 1; }
    const u64* words() const { return &n + 1; }
};
static_assert(sizeof(Buffer) == 8);

// The length lies in the caller's scratch memory for as long as an operand is kept.
void require_length(const TransformPlan& plan, const Buffer& buffer) {
    if (buffer.n > plan.points)
        raise_redundancy_failure("DirectProduct::multiply()", "An operand's length has changed.\n");
}

class DirectEngine final : public TransformEngine {
  public:
    TransformPlan plan(u64 min_bits) const override {
        if (min_bits > basecase_algorithm<u64>.max_bits) raise_no_algorithm();
        const u64 L = (min_bits + 63) / 64;
        TransformPlan plan;
        plan.min_bits = min_bits;
        plan.capacity_bits = plan.wrap_bits = 64 * L;
        plan.wrap_sign = 0;
        plan.alignment = alignof(Buffer);
        plan.operand_bytes = length_record<u64>(L, 0).operand_bytes;
        plan.work_bytes = basecase_algorithm<u64>.scratch_bytes(L, 1) - 2 * plan.operand_bytes;
        plan.product_bytes = plan.operand_bytes + plan.work_bytes;
        plan.points = L;
        return plan;
    }

    Residue forward(const TransformPlan&, const GlobalTwiddleTable&, Operand a, void* operand, void*,
                    u64) const override {
        auto* buffer = static_cast<Buffer*>(operand);
        buffer->n = (a.n + 1) / 2;
        if (a.n % 2 != 0) buffer->words()[buffer->n - 1] = 0;
        std::memcpy(buffer->words(), a.bytes, 4 * a.n);
        return {kernels::residue_of(a.bytes, a.n)};
    }

    // The work bytes hold the product of two operands of the plan's length, and its direct scratch.
    void multiply(const TransformPlan& plan, const GlobalTwiddleTable&, void* a, const void* b, void* work,
                  u64) const override {
        auto* A = static_cast<Buffer*>(a);
        const auto* B = static_cast<const Buffer*>(b);
        require_length(plan, *A);
        require_length(plan, *B);
        const u64 n = A->n + B->n;
        if (A->n == 0 || B->n == 0) {
            A->n = 0;
            return;
        }
        auto* whole = static_cast<u64*>(work);
        if (A == B)
            kernels::direct_square(whole, A->words(), A->n, whole + n);
        else
            kernels::direct_multiply(whole, A->words(), A->n, B->words(), B->n, whole + n);
        A->n = std::min(n, plan.points);
        std::memcpy(A->words(), whole, 8 * A->n);
    }

    void inverse(const TransformPlan& plan, const GlobalTwiddleTable&, void* operand, Window out,
                 const Residue* expected, void*, u64) const override {
        const auto* buffer = static_cast<const Buffer*>(operand);
        require_length(plan, *buffer);
        if (expected != nullptr && kernels::residue_of(buffer->words(), 2 * buffer->n) != expected->value)
            raise_redundancy_failure("DirectProduct::multiply()",
                                     "The product does not match its factors modulo 2^61 - 1.\n");
        const u64 present = 2 * buffer->n;
        const u64 stored = out.first < present ? std::min(out.count, present - out.first) : 0;
        std::memcpy(out.bytes, reinterpret_cast<const u8*>(buffer->words()) + 4 * out.first, 4 * stored);
        std::memset(out.bytes + 4 * stored, 0, 4 * (out.count - stored));
    }

    void product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue, Operand b, Window out,
                 bool, void* work, u64 tasks) const override {
        u8* rest = static_cast<u8*>(work);
        void* other = a;
        if (b.bytes != nullptr) {
            other = rest;
            rest += plan.operand_bytes;
            forward(plan, table, b, other, rest, tasks);
        }
        multiply(plan, table, a, other, rest, tasks);
        inverse(plan, table, a, out, nullptr, rest, tasks);
    }
};

constexpr DirectEngine engine;

}  // namespace

const TransformEngine& direct_engine() noexcept { return engine; }

}  // namespace kvt::multiply
