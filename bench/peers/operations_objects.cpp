// Number objects: sums and truncated products against a peer's, or against its bare kernel, and our own products with
// and without what they save.

#include "numbers.h"

namespace peers {
namespace {

BigInt_c64 integer(Words& words) { return {words.data(), words.size(), true, words.data(), words.size()}; }

// value = words, the lowest at position exp; capacity of the whole vector.
BigFloat_c64 real(Words& words, std::size_t n, std::int64_t exp = 0) {
    return {words.data(), n, exp, true, words.data(), words.size()};
}

// The top word of the longer operand is halved, so that a sum carries no word.
std::shared_ptr<Operands> addends(std::size_t n) {
    auto x = std::make_shared<Operands>(Setting{n, n, 1}, n + 1);
    x->a.back() = x->a.back() >> 1 | std::uint64_t{1} << 62;
    x->b.back() >>= 2;
    x->ours.back() = x->theirs.back() = 0;
    return x;
}

// The numbers' records are made beforehand, as the peers' are.
Side our_sum(std::shared_ptr<Operands> x) {
    struct Records {
        BigInt_c64 out, a, b;
    };
    auto r = std::make_shared<Records>(Records{integer(x->ours), integer(x->a), integer(x->b)});
    return repeated([x, r] { succeed(BigInt_c64_set_add(&r->out, &r->a, &r->b)); });
}

Comparison add_integers(const Setting& setting) {
    const std::size_t n = setting.words;
    auto x = addends(n);
    return {our_sum(x),
            repeated([x, n] { mpn_add_n(limbs(x->theirs), limbs(x->a), limbs(x->b), static_cast<mp_size_t>(n)); }),
            [x] { return x->ours == x->theirs; }};
}

using Sum = ExceptionWrapper* (*)(BigFloat_c64*, const BigFloat_c64*, const BigFloat_c64*, std::uint64_t);
template <Sum sum, auto peer>
Comparison add_reals(const Setting& setting) {
    const std::size_t n = setting.words;
    auto x = addends(n);
    return {repeated([x, n] {
                BigFloat_c64 out = real(x->ours, 0), a = real(x->a, n), b = real(x->b, n);
                succeed(sum(&out, &a, &b, n));
            }),
            repeated([x, n] { peer(limbs(x->theirs), limbs(x->a), limbs(x->b), static_cast<mp_size_t>(n)); }),
            [x] { return x->ours == x->theirs; }};
}
mp_limb_t add_limbs(mp_limb_t* c, const mp_limb_t* a, const mp_limb_t* b, mp_size_t n) {
    return mpn_add_n(c, a, b, n);
}
mp_limb_t sub_limbs(mp_limb_t* c, const mp_limb_t* a, const mp_limb_t* b, mp_size_t n) {
    return mpn_sub_n(c, a, b, n);
}

// Against numbers of MPFR and FLINT; those of FLINT carry a bound of their error.
template <class Peer, class Ours, class Theirs>
Comparison reals(const Setting& setting, std::uint64_t scratch_bytes, Ours ours, Theirs theirs) {
    auto s = std::make_shared<Numbers>(setting);
    auto peer = std::make_shared<Peer>(*s);
    auto result = std::make_shared<Number>(s->result(s->p + 3));
    return {repeated([s, ours, result, x = s->number(s->a), y = s->number(s->b),
                      params = s->parameters(scratch_bytes)] { succeed(ours(params, *result, x, y, s->p)); }),
            repeated([peer, theirs] { theirs(*peer); }), [s, result, peer] { return close(*s, *result, peer->z); }};
}

template <class Peer, class Theirs>
Comparison sum_of_reals(const Setting& setting, Theirs theirs) {
    return reals<Peer>(
        setting, 0,
        [](auto&, Number& out, const Number& x, const Number& y, auto p) {
            return BigFloat_c64_set_add(&out, &x, &y, p);
        },
        theirs);
}
Comparison sum_gmp(const Setting& s) {
    return sum_of_reals<GmpReals>(s, [](auto& g) { mpf_add(g.z, g.x, g.y); });
}
Comparison sum_mpfr(const Setting& s) {
    return sum_of_reals<MpfrNumbers>(s, [](auto& m) { mpfr_add(m.z, m.x, m.y, MPFR_RNDZ); });
}
Comparison sum_flint(const Setting& s) {
    return sum_of_reals<FlintNumbers>(s, [](auto& f) { arb_add(f.z, f.x, f.y, f.precision); });
}

template <class Peer, class Theirs>
Comparison product_of_reals(const Setting& setting, Theirs theirs) {
    std::uint64_t bytes;
    succeed(BigFloat_c64_mul_Psize(&bytes, setting.words, setting.words, setting.words, setting.tasks));
    return reals<Peer>(
        setting, bytes,
        [](auto& params, Number& out, const Number& x, const Number& y, auto p) {
            return BigFloat_c64_set_mul(&out, &params, &x, &y, p);
        },
        theirs);
}
Comparison product_mpfr(const Setting& s) {
    return product_of_reals<MpfrNumbers>(s, [](auto& m) { mpfr_mul(m.z, m.x, m.y, MPFR_RNDZ); });
}
Comparison product_flint(const Setting& s) {
    return product_of_reals<FlintNumbers>(s, [](auto& f) { arb_mul(f.z, f.x, f.y, f.precision); });
}

Comparison add_integers_gmp(const Setting& setting) {
    auto x = addends(setting.words);
    auto g = std::make_shared<GmpNumbers>(*std::make_unique<Numbers>(setting));
    mpz_import(g->x, setting.words, -1, 8, 0, 0, x->a.data());
    mpz_import(g->y, setting.words, -1, 8, 0, 0, x->b.data());
    return {our_sum(x), repeated([g] { mpz_add(g->z, g->x, g->y); }), [x, g] {
                mpz_export(x->theirs.data(), nullptr, -1, 8, 0, 0, g->z);
                return x->ours == x->theirs;
            }};
}

Comparison add_integers_flint(const Setting& setting) {
    auto x = addends(setting.words);
    auto f = std::make_shared<FlintNumbers>(*std::make_unique<Numbers>(setting));
    fmpz_set_ui_array(f->ix, x->a.data(), static_cast<slong>(setting.words));
    fmpz_set_ui_array(f->iy, x->b.data(), static_cast<slong>(setting.words));
    return {our_sum(x), repeated([f] { fmpz_add(f->iz, f->ix, f->iy); }), [x, f] {
                fmpz_get_ui_array(x->theirs.data(), static_cast<slong>(x->theirs.size()), f->iz);
                return x->ours == x->theirs;
            }};
}

// A product of which the upper half is kept, against the whole one.
Comparison truncated_product(const Setting& s) {
    const std::size_t n = s.words;
    auto x = std::make_shared<Operands>(Setting{n, n, s.tasks}, 2 * n);
    x->prepare_product(2 * n, s.tasks);
    return {repeated([x, n] {
                BigFloat_c64 out = real(x->ours, 0), a = real(x->a, n), b = real(x->b, n);
                succeed(BigFloat_c64_set_mul(&out, &x->params, &a, &b, n - 2));
            }),
            repeated([x, n] {
                BigFloat_c64 out = real(x->theirs, 0), a = real(x->a, n), b = real(x->b, n);
                succeed(BigFloat_c64_set_mul(&out, &x->params, &a, &b, 2 * n));
            }),
            [x, n] {
                return std::equal(x->ours.begin(), x->ours.begin() + static_cast<std::ptrdiff_t>(n),
                                  x->theirs.begin() + static_cast<std::ptrdiff_t>(n));
            }};
}

// A*B and B*C together, against two products.
Comparison shared_factor(const Setting& s) {
    const std::size_t n = s.words;
    auto x = std::make_shared<Operands>(Setting{n, n, s.tasks}, 4 * n);
    x->prepare_product(2 * n, s.tasks);
    std::uint64_t bytes = 0;
    succeed(mul_iPsize_c64(&bytes, 2 * n, s.tasks));
    x->scratch.resize(bytes + 64);
    x->params.memory = x->scratch.data() + (64 - reinterpret_cast<std::uintptr_t>(x->scratch.data()) % 64);
    x->params.memory_bytes = bytes;
    auto products = [x, n](Words& out, auto&& call) {
        BigFloat_c64 first{out.data(), 0, 0, true, out.data(), 2 * n};
        BigFloat_c64 second{out.data() + 2 * n, 0, 0, true, out.data() + 2 * n, 2 * n};
        BigFloat_c64 a = real(x->a, n), b = real(x->b, n);
        call(first, second, a, b);
    };
    return {repeated([x, n, products] {
                products(x->ours, [&](auto& first, auto& second, auto& a, auto& b) {
                    succeed(BigFloat_c64_set_mul_AB_BC(&first, &second, &x->params, &a, &b, &a, 2 * n));
                });
            }),
            repeated([x, n, products] {
                products(x->theirs, [&](auto& first, auto& second, auto& a, auto& b) {
                    succeed(BigFloat_c64_set_mul(&first, &x->params, &a, &b, 2 * n));
                    succeed(BigFloat_c64_set_mul(&second, &x->params, &b, &a, 2 * n));
                });
            }),
            [x] { return x->ours == x->theirs; }};
}

constexpr Operation operations[] = {
    {"int_add", "gmp", "mpz_add", 1, add_integers_gmp},
    {"int_add_bare", "gmp", "mpn_add_n", 1, add_integers},
    {"int_add", "flint", "fmpz_add", 2, add_integers_flint},
    {"real_add_bare", "gmp", "mpn_add_n", 1, add_reals<BigFloat_c64_set_add, add_limbs>},
    {"real_sub_bare", "gmp", "mpn_sub_n", 1, add_reals<BigFloat_c64_set_sub, sub_limbs>},
    {"real_add", "gmp", "mpf_add", 2, sum_gmp},
    {"real_add", "mpfr", "mpfr_add", 2, sum_mpfr},
    {"real_add", "flint", "arb_add", 2, sum_flint},
    {"real_mul", "mpfr", "mpfr_mul", 2, product_mpfr},
    {"real_mul", "flint", "arb_mul", 2, product_flint},
    {"real_mul", "own", "the whole product", 12, truncated_product},
    {"AB_BC", "own", "two products", 12, shared_factor},
};

}  // namespace

std::span<const Operation> object_operations() { return operations; }

}  // namespace peers
