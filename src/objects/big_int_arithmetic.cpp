// BigInt: sums, differences and products.

#include "frame/exceptions.h"
#include "objects/big_int.h"
#include "objects/products.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

// An operand's magnitude, taken before the result is touched: the result may be the operand.
template <class W>
struct Magnitude {
    const W* T;
    u64 L;
};

template <class W>
void finish(BigInt<W>& out, u64 L, bool sign) noexcept {
    out.T = out.buffer;
    out.L = L;
    out.sign = sign || L == 0;
}

template <class W>
void add_magnitudes(BigInt<W>& out, Magnitude<W> X, Magnitude<W> Y, bool sign) {
    if (X.L < Y.L) std::swap(X, Y);
    require_capacity(out.buffer_size, X.L + 1, "BigInt::set_add()");
    W* C = out.buffer;
    const u32 carry = kernels::add_nr(C, X.T, Y.T, Y.L, 0);
    copy_words(C + Y.L, X.T + Y.L, X.L - Y.L);
    const u32 top = kernels::add1_ir(C + Y.L, X.L - Y.L, carry);
    C[X.L] = top;
    finish(out, X.L + top, sign);
}

// |X| >= |Y|. The location is that of the sum for set_sub as well.
template <class W>
void subtract_magnitudes(BigInt<W>& out, Magnitude<W> X, Magnitude<W> Y, bool sign) {
    require_capacity(out.buffer_size, X.L, "BigInt::set_add()");
    W* C = out.buffer;
    const u32 borrow = kernels::sub_nr(C, X.T, Y.T, Y.L, 0);
    copy_words(C + Y.L, X.T + Y.L, X.L - Y.L);
    if (kernels::sub1_ir(C + Y.L, X.L - Y.L, borrow) != 0)
        raise(UnsupportedValueException(errors::negative_value, "BigInt::set_sub()", errors::negative_encountered,
                                        REACT_PRINT_EXIT));
    finish(out, trimmed_length(C, X.L), sign);
}

// A + B where B counts with the given sign.
template <class W>
void add_signed(BigInt<W>& out, const BigInt<W>& A, const BigInt<W>& B, bool sign_B) {
    if (A.L == 0) {
        set_BigInt(out, B);
        if (out.L != 0) out.sign = sign_B;
        return;
    }
    if (B.L == 0) return set_BigInt(out, A);
    const Magnitude<W> a{A.T, A.L}, b{B.T, B.L};
    const bool sign_A = A.sign;
    if (sign_A == sign_B) return add_magnitudes(out, a, b, sign_A);
    const int order = compare_words(a.T, a.L, b.T, b.L);
    if (order == 0) return set_zero(out);
    if (order > 0)
        subtract_magnitudes(out, a, b, sign_A);
    else
        subtract_magnitudes(out, b, a, !sign_A);
}

}  // namespace

template <class W>
void set_add(BigInt<W>& out, const BigInt<W>& A, const BigInt<W>& B) {
    const u64 L = A.L;
    if (L == B.L && A.sign == B.sign && L != 0 && L < out.buffer_size) [[likely]] {
        // Sums of one length, without the general case's comparisons: those take longer than some words' sum.
        const bool sign = A.sign;
        return finish(out, add_words(out.buffer, A.T, B.T, L), sign);
    }
    add_signed(out, A, B, B.sign);
}

template <class W>
void set_sub(BigInt<W>& out, const BigInt<W>& A, const BigInt<W>& B) {
    add_signed(out, A, B, !B.sign);
}

template <class W>
u64 big_int_mul_Psize(u64 LA, u64 LB, u64 tasks) {
    const u64 L = LA + LB < LA ? ~u64{0} : LA + LB;
    MulSizeRecord record;
    multiply::mul_Psize<W>(record, L, tasks);
    return record.scratch_bytes;
}

template <class W>
void set_sqr(BigInt<W>& out, const BasicParameters& params, const BigInt<W>& A) {
    const u64 n = 2 * A.L;
    require_capacity(out.buffer_size, n, "BigInt::set_sqr()");
    if (A.L == 0) return set_zero(out);
    assert_apart(out.buffer, n, A.T, A.L, "BigInt::set_sqr()");
    form_square(params, out.buffer, A.T, A.L);
    finish(out, n - (out.buffer[n - 1] == 0), true);
}

template <class W>
void set_mul(BigInt<W>& out, const BasicParameters& params, const BigInt<W>& A, const BigInt<W>& B) {
    const u64 n = A.L + B.L;
    require_capacity(out.buffer_size, n, "BigInt::set_mul()");
    if (A.L == 0 || B.L == 0) return set_zero(out);
    assert_apart(out.buffer, n, A.T, A.L, "BigInt::set_mul()");
    assert_apart(out.buffer, n, B.T, B.L, "BigInt::set_mul()");
    const bool sign = A.sign == B.sign;
    form_product(params, out.buffer, A.T, A.L, B.T, B.L);
    finish(out, n - (out.buffer[n - 1] == 0), sign);
}

template void set_add(BigInt<u32>&, const BigInt<u32>&, const BigInt<u32>&);
template void set_sub(BigInt<u32>&, const BigInt<u32>&, const BigInt<u32>&);
template u64 big_int_mul_Psize<u32>(u64, u64, u64);
template void set_sqr(BigInt<u32>&, const BasicParameters&, const BigInt<u32>&);
template void set_mul(BigInt<u32>&, const BasicParameters&, const BigInt<u32>&, const BigInt<u32>&);

template void set_add(BigInt<u64>&, const BigInt<u64>&, const BigInt<u64>&);
template void set_sub(BigInt<u64>&, const BigInt<u64>&, const BigInt<u64>&);
template u64 big_int_mul_Psize<u64>(u64, u64, u64);
template void set_sqr(BigInt<u64>&, const BasicParameters&, const BigInt<u64>&);
template void set_mul(BigInt<u64>&, const BasicParameters&, const BigInt<u64>&, const BigInt<u64>&);

}  // namespace kvt::objects
