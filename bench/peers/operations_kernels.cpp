// Word kernels: sums, differences, products by one word, schoolbook products.

#include "gmp_operands.h"

namespace peers {
namespace {

// Two sides that each return a carry word, which counts as a word of the result.
template <class Ours, class Theirs>
Comparison with_carry(const Setting& setting, Ours ours, Theirs theirs) {
    auto x = std::make_shared<Operands>(setting, setting.words + 1);
    return {repeated([x, ours] { x->ours.back() = ours(*x); }),
            repeated([x, theirs] { x->theirs.back() = theirs(*x); }), [x] { return x->ours == x->theirs; }};
}

Comparison add_nr(const Setting& setting) {
    const std::size_t n = setting.words;
    return with_carry(
        {n, n, 1},
        [n](Operands& x) -> std::uint64_t { return add_nr_c64(x.ours.data(), x.a.data(), x.b.data(), n, 0); },
        [n](Operands& x) -> std::uint64_t { return mpn_add_n(limbs(x.theirs), limbs(x.a), limbs(x.b), n); });
}

Comparison sub_nr(const Setting& setting) {
    const std::size_t n = setting.words;
    return with_carry(
        {n, n, 1},
        [n](Operands& x) -> std::uint64_t { return sub_nr_c64(x.ours.data(), x.a.data(), x.b.data(), n, 0); },
        [n](Operands& x) -> std::uint64_t { return mpn_sub_n(limbs(x.theirs), limbs(x.a), limbs(x.b), n); });
}

Comparison mul_nr(const Setting& setting) {
    const std::size_t n = setting.words;
    return with_carry(
        setting, [n](Operands& x) { return mul_nr_c64(x.ours.data(), x.a.data(), n, x.b[0], 0); },
        [n](Operands& x) -> std::uint64_t { return mpn_mul_1(limbs(x.theirs), limbs(x.a), n, x.b[0]); });
}

Comparison multiply_schoolbook(const Setting& s) {
    auto x = std::make_shared<Operands>(s, s.words + s.short_words);
    return {repeated([x, s] { mulB_c64(x->ours.data(), x->a.data(), s.words, x->b.data(), s.short_words); }),
            repeated([x, s] { multiply_gmp(*x, s); }), [x] { return x->ours == x->theirs; }};
}

Comparison square_schoolbook(const Setting& s) {
    auto x = std::make_shared<Operands>(s, 2 * s.words);
    return {repeated([x, s] { sqrB_c64(x->ours.data(), x->a.data(), s.words); }),
            repeated([x, s] { mpn_sqr(limbs(x->theirs), limbs(x->a), s.words); }),
            [x] { return x->ours == x->theirs; }};
}

constexpr Operation operations[] = {
    {"add_nr", "gmp", "mpn_add_n", 1, add_nr},        {"sub_nr", "gmp", "mpn_sub_n", 1, sub_nr},
    {"mul_nr", "gmp", "mpn_mul_1", 1, mul_nr},        {"mulB", "gmp", "mpn_mul_n, mpn_mul", 1, multiply_schoolbook},
    {"sqrB", "gmp", "mpn_sqr", 1, square_schoolbook},
};

}  // namespace

std::span<const Operation> kernel_operations() { return operations; }

}  // namespace peers
