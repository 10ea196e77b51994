// Inverse operations and powers of numbers of so many words, against GMP, MPFR, FLINT and our own balanced product.

#include <cmath>

#include "numbers.h"

namespace peers {
namespace {

struct Prepared {
    Side run;
    std::shared_ptr<Number> result;
};

// Sizes the operation by its query and runs call(parameters, result, scratch, scratch_words).
template <auto sizes, class Call>
Prepared sized(SharedNumbers s, Call call) {
    std::uint64_t words, scratch, bytes;
    succeed(sizes(&words, &scratch, &bytes, s->p, s->tasks));
    s->scratch.resize(scratch);
    auto result = std::make_shared<Number>(s->result(words));
    return {repeated([s, result, call, params = s->parameters(bytes), scratch] {
                succeed(call(params, *result, s->scratch.data(), scratch));
            }),
            result};
}

Prepared our_reciprocal(SharedNumbers s) {
    return sized<BigFloatR_c64_rcp_sizes>(
        s, [p = s->p, y = s->number(s->b)](auto& params, Number& out, auto* scratch, auto n) {
            return BigFloatR_c64_rcp(&params, &out, &y, p, scratch, n, nullptr);
        });
}

Prepared our_division(SharedNumbers s) {
    return sized<BigFloatR_c64_div_sizes>(
        s, [p = s->p, x = s->number(s->a), y = s->number(s->b)](auto& params, Number& out, auto* scratch, auto n) {
            return BigFloatR_c64_div(&params, &out, &x, &y, p, scratch, n, nullptr);
        });
}

constexpr unsigned radicand = 10;
Prepared our_inverse_sqrt(SharedNumbers s) {
    return sized<BigFloatR_c64_invsqrt_uW_sizes>(s, [p = s->p](auto& params, Number& out, auto* scratch, auto n) {
        return BigFloatR_c64_invsqrt_uW(&params, &out, radicand, p, scratch, n, nullptr);
    });
}

// A power of three that fills about so many times the precision.
constexpr unsigned base = 3;
std::uint64_t exponent_filling(double words) { return static_cast<std::uint64_t>(words * 64 / std::log2(base)); }
constexpr double truncated_lengths = 4;

Prepared our_power(SharedNumbers s, std::uint64_t exponent) {
    std::uint64_t words, bytes;
    succeed(BigFloatR_c64_pow_uW_uL_sizes(&words, &bytes, s->p, s->tasks));
    auto result = std::make_shared<Number>(s->result(words));
    return {repeated([s, result, exponent, params = s->parameters(bytes)] {
                succeed(BigFloatR_c64_pow_uW_uL(&params, result.get(), base, exponent, s->p, nullptr));
            }),
            result};
}
Prepared our_truncated_power(SharedNumbers s) {
    return our_power(s, exponent_filling(truncated_lengths * static_cast<double>(s->p)));
}

// Against an operation of MPFR or FLINT on x, y and z of their own.
template <class Peer, class Call>
Comparison against(const Setting& setting, Prepared (*prepare)(SharedNumbers), Call call) {
    auto s = std::make_shared<Numbers>(setting);
    const Prepared ours = prepare(s);
    auto peer = std::make_shared<Peer>(*s);
    return {ours.run, repeated([peer, call] { call(*peer); }),
            [s, ours, peer] { return close(*s, *ours.result, peer->z); }};
}

Comparison reciprocal_mpfr(const Setting& s) {
    return against<MpfrNumbers>(s, our_reciprocal, [](auto& m) { mpfr_ui_div(m.z, 1, m.y, MPFR_RNDZ); });
}
Comparison division_mpfr(const Setting& s) {
    return against<MpfrNumbers>(s, our_division, [](auto& m) { mpfr_div(m.z, m.x, m.y, MPFR_RNDZ); });
}
Comparison inverse_sqrt_mpfr(const Setting& s) {
    return against<MpfrNumbers>(s, our_inverse_sqrt, [](auto& m) {
        mpfr_set_ui(m.x, radicand, MPFR_RNDZ);
        mpfr_rec_sqrt(m.z, m.x, MPFR_RNDZ);
    });
}
Comparison power_mpfr(const Setting& s) {
    const auto n = exponent_filling(truncated_lengths * static_cast<double>(s.words));
    return against<MpfrNumbers>(s, our_truncated_power, [n](auto& m) { mpfr_ui_pow_ui(m.z, base, n, MPFR_RNDZ); });
}

Comparison reciprocal_flint(const Setting& s) {
    return against<FlintNumbers>(s, our_reciprocal, [](auto& f) { arb_inv(f.z, f.y, f.precision); });
}
Comparison division_flint(const Setting& s) {
    return against<FlintNumbers>(s, our_division, [](auto& f) { arb_div(f.z, f.x, f.y, f.precision); });
}
Comparison inverse_sqrt_flint(const Setting& s) {
    return against<FlintNumbers>(s, our_inverse_sqrt, [](auto& f) { arb_rsqrt_ui(f.z, radicand, f.precision); });
}
Comparison power_flint(const Setting& s) {
    const auto n = exponent_filling(truncated_lengths * static_cast<double>(s.words));
    return against<FlintNumbers>(s, our_truncated_power, [n](auto& f) { arb_ui_pow_ui(f.z, base, n, f.precision); });
}

// GMP divides integers: the quotient has one word more than the precision.
Comparison division_gmp(const Setting& setting, Prepared (*prepare)(SharedNumbers), bool of_one) {
    auto s = std::make_shared<Numbers>(setting);
    const Prepared ours = prepare(s);
    auto g = std::make_shared<GmpNumbers>(*s);
    const std::uint64_t shift = 64 * (of_one ? 2 * s->p : s->p);
    if (of_one) mpz_set_ui(g->x, 1);
    mpz_mul_2exp(g->x, g->x, shift);
    return {ours.run, repeated([g] { mpz_tdiv_q(g->z, g->x, g->y); }), [s, ours, g, shift] {
                mpfr_t quotient;
                mpfr_init2(quotient, static_cast<mpfr_prec_t>(64 * s->p + 64));
                mpfr_set_z_2exp(quotient, g->z, -static_cast<mpfr_exp_t>(shift), MPFR_RNDZ);
                const bool same = close(*s, *ours.result, quotient);
                mpfr_clear(quotient);
                return same;
            }};
}
Comparison quotient_gmp(const Setting& s) { return division_gmp(s, our_division, false); }
Comparison reciprocal_gmp(const Setting& s) { return division_gmp(s, our_reciprocal, true); }

// The whole power, which just fits.
Comparison power_gmp(const Setting& setting) {
    auto s = std::make_shared<Numbers>(setting);
    const std::uint64_t n = exponent_filling(static_cast<double>(s->p) - 0.1);
    const Prepared ours = our_power(s, n);
    auto g = std::make_shared<GmpNumbers>(*s);
    return {ours.run, repeated([g, n] { mpz_ui_pow_ui(g->z, base, n); }), [ours, g] {
                mpz_t value;
                mpz_init(value);
                mpz_import(value, ours.result->L, -1, 8, 0, 0, ours.result->T);
                mpz_mul_2exp(value, value, 64 * static_cast<std::uint64_t>(ours.result->exp));
                const bool same = mpz_cmp(value, g->z) == 0;
                mpz_clear(value);
                return same;
            }};
}

template <Prepared (*prepare)(SharedNumbers)>
Comparison in_products(const Setting& s) {
    return {prepare(std::make_shared<Numbers>(s)).run, our_product(std::make_shared<Numbers>(s)),
            [] { return true; }};
}

constexpr Operation operations[] = {
    {"rcp", "gmp", "mpz_tdiv_q", 2, reciprocal_gmp},
    {"div", "gmp", "mpz_tdiv_q", 2, quotient_gmp},
    {"pow", "gmp", "mpz_ui_pow_ui", 2, power_gmp},
    {"rcp", "mpfr", "mpfr_ui_div", 2, reciprocal_mpfr},
    {"div", "mpfr", "mpfr_div", 2, division_mpfr},
    {"invsqrt", "mpfr", "mpfr_rec_sqrt", 2, inverse_sqrt_mpfr},
    {"pow", "mpfr", "mpfr_ui_pow_ui", 2, power_mpfr},
    {"rcp", "flint", "arb_inv", 2, reciprocal_flint},
    {"div", "flint", "arb_div", 2, division_flint},
    {"invsqrt", "flint", "arb_rsqrt_ui", 2, inverse_sqrt_flint},
    {"pow", "flint", "arb_ui_pow_ui", 2, power_flint},
    {"rcp", "own", "our product", 1, in_products<our_reciprocal>},
    {"div", "own", "our product", 1, in_products<our_division>},
    {"invsqrt", "own", "our product", 1, in_products<our_inverse_sqrt>},
    {"pow", "own", "our product", 1, in_products<our_truncated_power>},
};

}  // namespace

std::span<const Operation> inverse_operations() { return operations; }

}  // namespace peers
