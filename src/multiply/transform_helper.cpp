#include "multiply/transform_helper.h"

#include <cstring>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "kernels/residue61.h"
#include "multiply/thresholds.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

constexpr const char* constructor = "TransformHelper::TransformHelper()";

}  // namespace

template <class W>
typename TransformHelper<W>::Needs TransformHelper<W>::needs(u64 words, u64 tasks) {
    const TransformEngine& engine = threshold_table<W>().select(words).engine();
    const u64 bits = words * word_bits<W>;
    const TransformPlan plan = engine.plan(bits);
    return {plan.table_bits, kept_scratch_bytes(plan, useful_tasks(tasks, bits))};
}

template <class W>
TransformHelper<W>::TransformHelper(const BasicParameters& params, u64 words)
    : TransformHelper(params, words, threshold_table<W>().select(words).engine()) {}

template <class W>
TransformHelper<W>::TransformHelper(const BasicParameters& params, u64 words, const TransformEngine& engine)
    : engine_(engine),
      plan_(engine.plan(words * word_bits<W>)),
      table_(&require_table(params, plan_, constructor)),
      tasks_(useful_tasks(params.tasks, words * word_bits<W>)) {
    const u64 needed = kept_scratch_bytes(plan_, tasks_);
    require_capacity(params.memory_bytes, needed, constructor);
    second_ = static_cast<u8*>(aligned(params.memory, plan_.alignment));
    first_ = second_ + plan_.operand_bytes;
    work_ = first_ + plan_.operand_bytes;
}

template <class W>
u64 TransformHelper<W>::spoiled_words(u64 product_words) const {
    const u64 bits = product_words * word_bits<W>;
    if (bits <= plan_.capacity_bits || bits <= plan_.wrap_bits || plan_.wrap_sign == 0) return 0;
    return (bits - plan_.wrap_bits + word_bits<W> - 1) / word_bits<W>;
}

template <class W>
void TransformHelper<W>::require_own(const TransformedOperand<W>& operand) const {
    if (operand.setup != this) fatal_exit("BigFloat::set_inverse_fmul(): Mismatching Transform Parameters");
}

template <class W>
void TransformHelper<W>::require_length(u64 n) const {
    if (n > wrap_words()) fatal_assertion(errors::invalid_parameters, "TransformHelper::forward()");
}

template <class W>
TransformedOperand<W> TransformHelper<W>::forward(void* buffer, const W* A, u64 n) const {
    require_length(n);
    return {this, buffer, n, engine_.forward(plan_, *table_, operand_of(A, n), buffer, work_, tasks_)};
}

template <class W>
TransformedOperand<W> TransformHelper<W>::copy_second(const TransformedOperand<W>& a) const {
    require_own(a);
    std::memcpy(second_, a.data, plan_.operand_bytes);
    return {this, second_, a.words, a.residue};
}

template <class W>
void TransformHelper<W>::product(TransformedOperand<W>& a, const TransformedOperand<W>& b, W* out, u64 first,
                                 u64 count) const {
    require_own(a);
    require_own(b);
    const bool whole = product_bits(a.words, b.words) <= plan_.capacity_bits;
    const Residue expected{kernels::residue_mul(a.residue.value, b.residue.value)};
    engine_.multiply(plan_, *table_, a.data, b.data, work_, tasks_);
    engine_.inverse(plan_, *table_, a.data, window_of(out, first, count), whole ? &expected : nullptr, work_, tasks_);
    a = {};
}

template <class W>
void TransformHelper<W>::product(const TransformedOperand<W>& a, const W* B, u64 n, W* out, u64 first,
                                 u64 count) const {
    require_own(a);
    require_length(n);
    const bool whole = product_bits(a.words, n) <= plan_.capacity_bits;
    engine_.product_keeping(plan_, *table_, a.data, a.residue, operand_of(B, n), second_,
                            window_of(out, first, count), whole, work_, tasks_);
}

template class TransformHelper<u32>;
template class TransformHelper<u64>;

}  // namespace kvt::multiply
