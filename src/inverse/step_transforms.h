#pragma once
// The two products of a Newton step, by absolute word positions: one operand is kept from the first to the second,
// transformed where the product is long. Short products are plain ones of the words.

#include <optional>

#include "frame/exceptions.h"
#include "inverse/newton.h"
#include "kernels/direct.h"
#include "kernels/residue64.h"
#include "objects/big_float_parts.h"
#include "objects/inverse_product.h"
#include "objects/words.h"

namespace kvt::inverse {

// Raises when the parameters' table or scratch is too small for a step's products of `words` words.
template <class W>
void require_transforms(const BasicParameters& params, u64 words) {
    multiply::TransformHelper<W>(params, words);
}

template <class W>
class StepTransforms {
    using BigFloat = objects::BigFloat<W>;

  public:
    // Products of `words` words, for which the parameters suffice (require_transforms).
    StepTransforms(const BasicParameters& params, u64 words) {
        const auto address = reinterpret_cast<std::uintptr_t>(params.memory);
        const u64 skipped = (0 - address) % sizeof(u64), bytes = skipped + 2 * words * sizeof(W);
        if (words <= plain_limit() && bytes <= params.memory_bytes) {
            plain_ = reinterpret_cast<u64*>(address + skipped);
            plain_bytes_ = params.memory_bytes - skipped;
        } else {
            helper_.emplace(params, words);
        }
    }

    // Transforms the operand that both products share.
    void keep(const BigFloat& a) {
        words_ = a;
        if (plain_ == nullptr) kept_ = objects::transform_first(*helper_, a);
    }

    // out[0..count) = words of kept * b at positions first..; the kept operand stays. What wraps must stay below.
    void multiply(const BigFloat& b, W* out, i64 first, u64 count) {
        if (plain_ != nullptr) return copy_window(plain_product(b), b, out, first, count);
        auto operand = objects::transform_second(*helper_, b);
        multiply(operand, out, first, count);
    }

    // The same for the kept operand's square.
    void square(W* out, i64 first, u64 count) {
        if (plain_ != nullptr) return copy_window(plain_product(words_), words_, out, first, count);
        objects::TransformedFloat<W> operand{helper_->copy_second(kept_.words), kept_.exp, kept_.sign};
        multiply(operand, out, first, count);
    }

    // kept * b, which fits and is the last product of a step, is formed in one go, and checked.
    void multiply_last(const BigFloat& b, W* out, i64 first, u64 count) {
        if (plain_ != nullptr) {
            W* const product = plain_product(b);
            check(b);
            return copy_window(product, b, out, first, count);
        }
        const i64 index = first - (kept_.exp + b.exp);
        const u64 below = index < 0 ? std::min(static_cast<u64>(-index), count) : 0;
        objects::zero_words(out, below);
        helper_->product(kept_.words, b.T, b.L, out + below, static_cast<u64>(std::max<i64>(index, 0)),
                         count - below);
    }

  private:
    // Plain products make faster steps up to here, in words: measured on Zen 4. Those in radix 2^52 are fast, the
    // transforms without vectors slow.
    static u64 plain_limit() noexcept {
        const kernels::VectorLevel level = kernels::active_levels().vector;
        const u64 words = level == kernels::VectorLevel::avx512ifma ? 230
                          : level == kernels::VectorLevel::scalar   ? 600
                                                                    : 95;
        return words * (8 / sizeof(W));
    }

    void multiply(objects::TransformedFloat<W>& operand, W* out, i64 first, u64 count) {
        BigFloat product{out, 0, 0, true, out, count};
        objects::set_inverse_fmul(product, *helper_, operand, kept_, first, first + static_cast<i64>(count));
        place(product, out, first, count);
    }

    W* plain_product(const BigFloat& b) {
        W* const product = reinterpret_cast<W*>(plain_);
        const u64 n = words_.L + b.L;
        const u64 left = plain_bytes_ - n * sizeof(W);
        if (b.T == words_.T)
            kernels::direct_square_within(product, b.T, b.L, product + n, left);
        else
            kernels::direct_multiply_within(product, words_.T, words_.L, b.T, b.L, product + n, left);
        return product;
    }

    void copy_window(W* product, const BigFloat& b, W* out, i64 first, u64 count) const noexcept {
        const i64 exp = words_.exp + b.exp, end = first + static_cast<i64>(count);
        const u64 n = exp < end ? std::min(words_.L + b.L, static_cast<u64>(end - exp)) : 0;
        place(view(product, n, exp), out, first, count);
    }

    void check(const BigFloat& b) const {
        const W* product = reinterpret_cast<const W*>(plain_);
        const u64 expected =
            kernels::multiply_residues(kernels::residue64(words_.T, words_.L), kernels::residue64(b.T, b.L));
        if (kernels::residue_difference(kernels::residue64(product, words_.L + b.L), expected) != 0)
            raise_redundancy_failure("DirectProduct::multiply()",
                                     "The product does not match its factors modulo 2^64 - 1.\n");
    }

    u64* plain_ = nullptr;  // plain products, in the scratch memory; null where transforms are in use
    u64 plain_bytes_ = 0;
    BigFloat words_{};  // the kept operand, and its transform
    std::optional<multiply::TransformHelper<W>> helper_;
    objects::TransformedFloat<W> kept_{};
};

}  // namespace kvt::inverse
