#include "objects/basic_int.h"

#include <algorithm>

#include "frame/exceptions.h"
#include "kernels/schoolbook.h"
#include "objects/checksums.h"
#include "objects/report.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

constexpr const char* add_location = "BasicInt::operator+=()";
constexpr const char* sub_location = "BasicInt::operator-=()";

// An operand, taken before the result is touched: the result may be the operand.
template <class W>
struct Words {
    const W* T;
    u64 L;
};

// out = X + Y with X.L >= Y.L; a word above X is always written.
template <class W>
void add_words(BasicInt<W>& out, Words<W> X, Words<W> Y, u64 hash) noexcept {
    W* C = out.T;
    const u32 carry = kernels::add_nr(C, X.T, Y.T, Y.L, 0);
    copy_words(C + Y.L, X.T + Y.L, X.L - Y.L);
    C[X.L] = kernels::add1_ir(C + Y.L, X.L - Y.L, carry);
    out.L = X.L + (C[X.L] != 0);
    out.hash = hash;
}

}  // namespace

template <class W>
void set_addto(BasicInt<W>& out, const BasicInt<W>& x) {
    require_capacity(out.buffer_size, out.L + 1, add_location);
    if (out.L < x.L) fatal_assertion(errors::invalid_parameters, add_location);
    add_words<W>(out, {out.T, out.L}, {x.T, x.L}, kernels::residue_add(out.hash, x.hash));
}

template <class W>
void set_add(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B) {
    require_capacity(out.buffer_size, std::max(A.L, B.L) + 1, "BasicIntR::set_add()");
    Words<W> X{A.T, A.L}, Y{B.T, B.L};
    if (X.L < Y.L) std::swap(X, Y);
    add_words(out, X, Y, kernels::residue_add(A.hash, B.hash));
}

template <class W>
void set_subto(BasicInt<W>& out, const BasicInt<W>& x) {
    set_sub(out, out, x);
}

template <class W>
void set_sub(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B) {
    require_capacity(out.buffer_size, std::max(A.L, B.L), sub_location);
    const int order = compare_words(A.T, A.L, B.T, B.L);
    if (order < 0)
        raise(UnsupportedValueException(errors::negative_value, sub_location, errors::negative_encountered));
    if (order == 0)
        raise(UnsupportedValueException(errors::unsupported_value, sub_location, errors::zero_encountered));
    const Words<W> X{A.T, A.L}, Y{B.T, B.L};
    W* C = out.T;
    out.hash = kernels::residue_sub(A.hash, B.hash);
    const u32 borrow = kernels::sub_nr(C, X.T, Y.T, Y.L, 0);
    copy_words(C + Y.L, X.T + Y.L, X.L - Y.L);
    kernels::sub1_ir(C + Y.L, X.L - Y.L, borrow);
    out.L = trimmed_length(C, X.L);
}

template <class W>
void set_sqrB(BasicInt<W>& out, const BasicInt<W>& A) {
    const u64 n = 2 * A.L;
    require_capacity(out.buffer_size, n, "BasicInt::set_sqrB()");
    assert_apart(out.T, n, A.T, A.L, "BasicInt::set_sqrB()");
    if (n != 0) kernels::sqrB(out.T, A.T, A.L);
    out.L = trimmed_length(out.T, n);
    out.hash = kernels::residue_mul(A.hash, A.hash);
}

template <class W>
void set_mulB(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B) {
    const u64 n = A.L + B.L;
    require_capacity(out.buffer_size, n, "BasicIntR::set_mulB()");
    assert_apart(out.T, n, A.T, A.L, "BasicIntR::set_mulB()");
    assert_apart(out.T, n, B.T, B.L, "BasicIntR::set_mulB()");
    const bool zero = A.L == 0 || B.L == 0;
    if (!zero) kernels::mulB(out.T, A.T, A.L, B.T, B.L);
    out.L = zero ? 0 : trimmed_length(out.T, n);
    out.hash = kernels::residue_mul(A.hash, B.hash);
}

template <class W>
u64 checksum(const BasicInt<W>& x) noexcept {
    return checksum_of(x.T, x.L);
}

template <class W>
void print(const BasicInt<W>& x) {
    Report().field("L", x.L).checksum(x.hash, x.hash == checksum(x)).words(x.T, x.L, Report::all_words).print();
}

template void set_addto(BasicInt<u32>&, const BasicInt<u32>&);
template void set_add(BasicInt<u32>&, const BasicInt<u32>&, const BasicInt<u32>&);
template void set_subto(BasicInt<u32>&, const BasicInt<u32>&);
template void set_sub(BasicInt<u32>&, const BasicInt<u32>&, const BasicInt<u32>&);
template void set_sqrB(BasicInt<u32>&, const BasicInt<u32>&);
template void set_mulB(BasicInt<u32>&, const BasicInt<u32>&, const BasicInt<u32>&);
template u64 checksum(const BasicInt<u32>&) noexcept;
template void print(const BasicInt<u32>&);

template void set_addto(BasicInt<u64>&, const BasicInt<u64>&);
template void set_add(BasicInt<u64>&, const BasicInt<u64>&, const BasicInt<u64>&);
template void set_subto(BasicInt<u64>&, const BasicInt<u64>&);
template void set_sub(BasicInt<u64>&, const BasicInt<u64>&, const BasicInt<u64>&);
template void set_sqrB(BasicInt<u64>&, const BasicInt<u64>&);
template void set_mulB(BasicInt<u64>&, const BasicInt<u64>&, const BasicInt<u64>&);
template u64 checksum(const BasicInt<u64>&) noexcept;
template void print(const BasicInt<u64>&);

}  // namespace kvt::objects
