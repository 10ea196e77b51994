#pragma once
// Products over a transform helper: operands transformed once, results of which only a range of words is formed.

#include "multiply/transform_helper.h"
#include "objects/big_float.h"
#include "objects/exact_float.h"

namespace kvt::objects {

// A BigFloat's transform, with what the words do not tell.
template <class W>
struct TransformedFloat {
    multiply::TransformedOperand<W> words;
    i64 exp;
    bool sign;
};

// Transforms x into the helper's first or second buffer; x.L at most helper.wrap_words().
template <class W>
TransformedFloat<W> transform_first(const multiply::TransformHelper<W>& helper, const BigFloat<W>& x) {
    return {helper.forward_first(x.T, x.L), x.exp, x.sign};
}
template <class W>
TransformedFloat<W> transform_second(const multiply::TransformHelper<W>& helper, const BigFloat<W>& x) {
    return {helper.forward_second(x.T, x.L), x.exp, x.sign};
}

// out = the words of a * b at positions [ie, te), without zero words at the top. a is destroyed, b is kept; b may be
// a. Words from te on are dropped, and words below ie where the product has them.
//   out      [words kept] ("BigFloat::set_inverse_fmul()"); may overlap nothing that is still needed
//   a, b     zero operands have words.words = 0 and give zero
//   accuracy exact where the product fits in the helper; where it wraps, the number formed by the kept words is off
//   by
//            at most one unit of its lowest word
// Ends the process when the transforms do not belong to helper, or when wrapped words reach into the range.
template <class W>
void set_inverse_fmul(BigFloat<W>& out, const multiply::TransformHelper<W>& helper, TransformedFloat<W>& a,
                      const TransformedFloat<W>& b, i64 ie, i64 te);

// An ExactFloat's transform.
template <class W>
struct TransformedExact {
    multiply::TransformedOperand<W> words;
    i64 exp;
    u64 hash;
};

// out = a * b, whole. a is destroyed, b is kept; b may be a.
//   out      [words of both] ("ExactFloat::set_inverse_fmul()")
// Ends the process when the transforms do not belong to helper, or when the product does not fit in it.
template <class W>
void set_inverse_fmul(ExactFloat<W>& out, const multiply::TransformHelper<W>& helper, TransformedExact<W>& a,
                      const TransformedExact<W>& b);

}  // namespace kvt::objects
