// ExactFloat: products.

#include <algorithm>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "frame/format.h"
#include "kernels/residue61.h"
#include "kernels/schoolbook.h"
#include "multiply/dispatch.h"
#include "objects/exact_float.h"
#include "objects/inverse_product.h"
#include "objects/shared_factor.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

constexpr const char* mul_location = "ExactFloat::set_mul()";

template <class W>
void set_zero(ExactFloat<W>& out) noexcept {
    out.T = out.buffer;
    out.L = 0;
    out.exp = 0;
    out.hash = 0;
}

// z zero words below the product.
template <class W>
void multiply_above(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A, const ExactFloat<W>& B,
                    u64 z, const char* location) {
    const u64 n = A.L + B.L;
    require_capacity(out.buffer_size, n + z < z ? ~u64{0} : n + z, location);
    if (A.L == 0 || B.L == 0) return set_zero(out);
    assert_apart(out.buffer, n + z, A.T, A.L, location);
    assert_apart(out.buffer, n + z, B.T, B.L, location);
    W* C = out.buffer + z;
    if (n < exact_float_basecase_words)
        kernels::mulB(C, A.T, A.L, B.T, B.L);
    else
        multiply::mul_p(params, C, A.T, A.L, B.T, B.L);
    zero_words(out.buffer, z);
    out.hash = kernels::residue_mul(A.hash, B.hash);
    out.exp = A.exp + B.exp - static_cast<i64>(z);
    out.L = z + n - (C[n - 1] == 0);
    out.T = out.buffer;
}

}  // namespace

template <class W>
void set_sqr(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A) {
    const u64 n = 2 * A.L;
    require_capacity(out.buffer_size, n, "ExactFloat::set_sqr()");
    if (A.L == 0) return set_zero(out);
    assert_apart(out.buffer, n, A.T, A.L, "ExactFloat::set_sqr()");
    if (n < exact_float_basecase_words)
        kernels::sqrB(out.buffer, A.T, A.L);
    else
        multiply::sqr_p(params, out.buffer, A.T, A.L);
    out.hash = kernels::residue_mul(A.hash, A.hash);
    out.exp = 2 * A.exp;
    out.L = n - (out.buffer[n - 1] == 0);
    out.T = out.buffer;
}

template <class W>
void set_mul(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A, const ExactFloat<W>& B) {
    multiply_above(out, params, A, B, 0, mul_location);
}

template <class W>
void set_mul_extend(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A, const ExactFloat<W>& B,
                    i64 extend) {
    const i64 e = A.exp + B.exp;
    const u64 z = e > extend ? static_cast<u64>(e) - static_cast<u64>(extend) : 0;
    multiply_above(out, params, A, B, z, "ExactFloat::set_mul(extend)");
}

template <class W>
void set_inverse_fmul(ExactFloat<W>& out, const multiply::TransformHelper<W>& helper, TransformedExact<W>& a,
                      const TransformedExact<W>& b) {
    if (a.words.setup != &helper || b.words.setup != &helper)
        fatal_exit("ExactFloat::set_inverse_fmul(): Mismatching Transform Parameters");
    const u64 n = a.words.words + b.words.words;
    const i64 exp = a.exp + b.exp;
    require_capacity(out.buffer_size, n, "ExactFloat::set_inverse_fmul()");
    if (helper.spoiled_words(n) != 0 || n > helper.wrap_words()) {
        kvt::print("ie = " + to_decimal_signed(exp) + "\nte = " + to_decimal_signed(exp + static_cast<i64>(n)) + "\n",
                   'R');
        fatal_exit("ExactFloat::set_inverse_fmul(): Truncated Range\n\n");
    }
    const u64 hash = kernels::residue_mul(a.hash, b.hash);
    helper.product(a.words, b.words, out.buffer, 0, n);
    out.T = out.buffer;
    out.L = trimmed_length(out.T, n);
    out.exp = exp;
    out.hash = hash;
}

template <class W>
void set_mul_AB_BC(ExactFloat<W>& out_AB, ExactFloat<W>& out_BC, const BasicParameters& params,
                   const ExactFloat<W>& A, const ExactFloat<W>& B, const ExactFloat<W>& C) {
    require_capacity(out_AB.buffer_size, A.L + B.L, mul_location);
    require_capacity(out_BC.buffer_size, B.L + C.L, mul_location);
    if (!shares_factor<W>(params, A.L, B.L, C.L)) {
        set_mul(out_AB, params, A, B);
        set_mul(out_BC, params, B, C);
        return;
    }
    const multiply::TransformHelper<W> helper(params, B.L + std::max(A.L, C.L));
    const TransformedExact<W> factor{helper.forward_first(B.T, B.L), B.exp, B.hash};
    auto multiply_by = [&](ExactFloat<W>& out, const ExactFloat<W>& x) {
        TransformedExact<W> other{helper.forward_second(x.T, x.L), x.exp, x.hash};
        set_inverse_fmul(out, helper, other, factor);
    };
    multiply_by(out_AB, A);
    multiply_by(out_BC, C);
}

template <class W>
void set_mul_AB_BC_normalize(ExactFloat<W>& out_AB, ExactFloat<W>& out_BC, const BasicParameters& params,
                             const ExactFloat<W>& A, const ExactFloat<W>& B, const ExactFloat<W>& C) {
    set_mul_AB_BC(out_AB, out_BC, params, A, B, C);
    strip_tzs_all(out_AB);
    strip_tzs_all(out_BC);
}

template void set_sqr(ExactFloat<u32>&, const BasicParameters&, const ExactFloat<u32>&);
template void set_mul(ExactFloat<u32>&, const BasicParameters&, const ExactFloat<u32>&, const ExactFloat<u32>&);
template void set_mul_extend(ExactFloat<u32>&, const BasicParameters&, const ExactFloat<u32>&, const ExactFloat<u32>&,
                             i64);
template void set_inverse_fmul(ExactFloat<u32>&, const multiply::TransformHelper<u32>&, TransformedExact<u32>&,
                               const TransformedExact<u32>&);
template void set_mul_AB_BC(ExactFloat<u32>&, ExactFloat<u32>&, const BasicParameters&, const ExactFloat<u32>&,
                            const ExactFloat<u32>&, const ExactFloat<u32>&);
template void set_mul_AB_BC_normalize(ExactFloat<u32>&, ExactFloat<u32>&, const BasicParameters&,
                                      const ExactFloat<u32>&, const ExactFloat<u32>&, const ExactFloat<u32>&);

template void set_sqr(ExactFloat<u64>&, const BasicParameters&, const ExactFloat<u64>&);
template void set_mul(ExactFloat<u64>&, const BasicParameters&, const ExactFloat<u64>&, const ExactFloat<u64>&);
template void set_mul_extend(ExactFloat<u64>&, const BasicParameters&, const ExactFloat<u64>&, const ExactFloat<u64>&,
                             i64);
template void set_inverse_fmul(ExactFloat<u64>&, const multiply::TransformHelper<u64>&, TransformedExact<u64>&,
                               const TransformedExact<u64>&);
template void set_mul_AB_BC(ExactFloat<u64>&, ExactFloat<u64>&, const BasicParameters&, const ExactFloat<u64>&,
                            const ExactFloat<u64>&, const ExactFloat<u64>&);
template void set_mul_AB_BC_normalize(ExactFloat<u64>&, ExactFloat<u64>&, const BasicParameters&,
                                      const ExactFloat<u64>&, const ExactFloat<u64>&, const ExactFloat<u64>&);

}  // namespace kvt::objects
