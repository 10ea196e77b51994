#pragma once
// The two products of a Newton step, by absolute word positions: one operand's transform is kept from the first to
// the second.

#include "objects/big_float_parts.h"
#include "objects/inverse_product.h"
#include "objects/words.h"

namespace kvt::inverse {

template <class W>
class StepTransforms {
    using BigFloat = objects::BigFloat<W>;

  public:
    // Products of `words` words; raises when the parameters' table or scratch is too small for them.
    StepTransforms(const BasicParameters& params, u64 words) : helper_(params, words) {}

    // Transforms the operand that both products share.
    void keep(const BigFloat& a) { kept_ = objects::transform_first(helper_, a); }

    // out[0..count) = words of kept * b at positions first..; the kept operand stays. What wraps must stay below.
    void multiply(const BigFloat& b, W* out, i64 first, u64 count) {
        auto operand = objects::transform_second(helper_, b);
        multiply(operand, out, first, count);
    }

    // The same for the kept operand's square.
    void square(W* out, i64 first, u64 count) {
        objects::TransformedFloat<W> operand{helper_.copy_second(kept_.words), kept_.exp, kept_.sign};
        multiply(operand, out, first, count);
    }

    // kept * b, which fits and is the last product of a step, is formed in one go.
    void multiply_last(const BigFloat& b, W* out, i64 first, u64 count) {
        const i64 index = first - (kept_.exp + b.exp);
        const u64 below = index < 0 ? std::min(static_cast<u64>(-index), count) : 0;
        objects::zero_words(out, below);
        helper_.product(kept_.words, b.T, b.L, out + below, static_cast<u64>(std::max<i64>(index, 0)), count - below);
    }

  private:
    void multiply(objects::TransformedFloat<W>& operand, W* out, i64 first, u64 count) {
        BigFloat product{out, 0, 0, true, out, count};
        objects::set_inverse_fmul(product, helper_, operand, kept_, first, first + static_cast<i64>(count));
        // Words to their positions: zeros below the product's lowest word and above its top one.
        const u64 below = product.L == 0 ? 0 : static_cast<u64>(product.exp - first);
        objects::copy_words(out + below, product.T, product.L);
        objects::zero_words(out, below);
        objects::zero_words(out + below + product.L, count - below - product.L);
    }

    multiply::TransformHelper<W> helper_;
    objects::TransformedFloat<W> kept_{};
};

}  // namespace kvt::inverse
