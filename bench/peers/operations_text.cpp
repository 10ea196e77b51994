// Decimal text of integers, and of real numbers against MPFR.

#include <cstring>

#include "numbers.h"

namespace peers {
namespace {

Side our_writing(SharedNumbers s) {
    std::uint64_t buffer, bytes;
    succeed(BigInt_c64_to_string_dec_sizes(&buffer, &bytes, s->p, s->tasks));
    s->text.resize(buffer);
    const BigInt_c64 x{s->a.data(), s->p, true, s->a.data(), s->p};
    return repeated([s, x, params = s->parameters(bytes)] {
        char* text;
        succeed(BigInt_c64_to_string_dec(&params, &text, s->text.data(), &x));
        if (text != s->text.data()) std::memmove(s->text.data(), text, std::strlen(text) + 1);
    });
}

// The digits of x, for both sides.
void write_operand(Numbers& s) {
    const GmpNumbers g(s);
    s.other_text.resize(mpz_sizeinbase(g.x, 10) + 2);
    mpz_get_str(s.other_text.data(), 10, g.x);
}

Side our_reading(SharedNumbers s) {
    write_operand(*s);
    const std::uint64_t chars = std::strlen(s->other_text.data());
    std::uint64_t words, bytes;
    succeed(BigInt_c64_set_string_dec_sizes(&words, &bytes, chars, s->tasks));
    s->out.resize(words);
    return repeated([s, chars, params = s->parameters(bytes)] {
        BigInt_c64 y{s->out.data(), 0, true, s->out.data(), s->out.size()};
        succeed(BigInt_c64_set_string_dec(&params, &y, s->other_text.data(), chars));
    });
}

template <class Peer, class Call>
Comparison writing(const Setting& setting, Call call) {
    auto s = std::make_shared<Numbers>(setting);
    const Side ours = our_writing(s);
    auto peer = std::make_shared<Peer>(*s);
    s->other_text.resize(s->text.size());
    return {ours, repeated([s, peer, call] { call(s->other_text.data(), *peer); }),
            [s] { return std::strcmp(s->text.data(), s->other_text.data()) == 0; }};
}
Comparison writing_gmp(const Setting& s) {
    return writing<GmpNumbers>(s, [](char* text, auto& g) { mpz_get_str(text, 10, g.x); });
}
Comparison writing_flint(const Setting& s) {
    return writing<FlintNumbers>(s, [](char* text, auto& f) { fmpz_get_str(text, 10, f.ix); });
}

template <class Peer, class Call>
Comparison reading(const Setting& setting, Call call) {
    auto s = std::make_shared<Numbers>(setting);
    const Side ours = our_reading(s);
    auto peer = std::make_shared<Peer>(*s);
    return {ours, repeated([s, peer, call] { call(*peer, s->other_text.data()); }),
            [s] { return std::memcmp(s->out.data(), s->a.data(), 8 * s->p) == 0; }};
}
Comparison reading_gmp(const Setting& s) {
    return reading<GmpNumbers>(s, [](auto& g, const char* text) { mpz_set_str(g.z, text, 10); });
}
Comparison reading_flint(const Setting& s) {
    return reading<FlintNumbers>(s, [](auto& f, const char* text) { fmpz_set_str(f.iz, text, 10); });
}

// x / B^p, a fraction of p words, in as many digits as it has.
Comparison writing_real_mpfr(const Setting& setting) {
    auto s = std::make_shared<Numbers>(setting);
    const std::uint64_t digits = static_cast<std::uint64_t>(static_cast<double>(s->p) * 19.2659197);
    std::uint64_t buffer, bytes;
    succeed(BigFloat_c64_to_string_dec_sizes(&buffer, &bytes, digits, s->tasks));
    s->text.resize(buffer);
    s->other_text.resize(digits + 2);
    auto first = std::make_shared<char*>();
    auto m = std::make_shared<MpfrNumbers>(*s);
    mpfr_mul_2si(m->x, m->x, -64 * static_cast<long>(s->p), MPFR_RNDZ);
    const Number x{s->a.data(), s->p, -static_cast<std::int64_t>(s->p), true, s->a.data(), s->p};
    return {repeated([s, x, digits, first, params = s->parameters(bytes)] {
                succeed(BigFloat_c64_to_string_dec(&params, first.get(), s->text.data(), &x, digits));
            }),
            repeated([s, m, digits] {
                mpfr_exp_t exponent;
                mpfr_get_str(s->other_text.data(), &exponent, 10, digits, m->x, MPFR_RNDZ);
            }),
            [s, first, digits] {  // ours is 0.ddd; the last digits may differ by a unit
                return std::memcmp(*first + 2, s->other_text.data(), digits - 2) == 0;
            }};
}

Comparison reading_real_mpfr(const Setting& setting) {
    auto s = std::make_shared<Numbers>(setting);
    write_operand(*s);
    const std::uint64_t chars = std::strlen(s->other_text.data());
    std::uint64_t words, bytes;
    succeed(BigFloat_c64_set_string_dec_sizes(&words, &bytes, chars, s->p, s->tasks));
    auto result = std::make_shared<Number>(s->result(words));
    auto m = std::make_shared<MpfrNumbers>(*s);
    return {repeated([s, result, chars, params = s->parameters(bytes)] {
                succeed(BigFloat_c64_set_string_dec(&params, result.get(), s->other_text.data(), chars, s->p));
            }),
            repeated([s, m] { mpfr_set_str(m->z, s->other_text.data(), 10, MPFR_RNDZ); }),
            [s, result, m] { return close(*s, *result, m->z); }};
}

template <Side (*prepare)(SharedNumbers)>
Comparison in_products(const Setting& s) {
    return {prepare(std::make_shared<Numbers>(s)), our_product(std::make_shared<Numbers>(s)), [] { return true; }};
}

constexpr Operation operations[] = {
    {"write", "gmp", "mpz_get_str", 1, writing_gmp},
    {"read", "gmp", "mpz_set_str", 1, reading_gmp},
    {"write", "mpfr", "mpfr_get_str", 2, writing_real_mpfr},
    {"read", "mpfr", "mpfr_set_str", 2, reading_real_mpfr},
    {"write", "flint", "fmpz_get_str", 1, writing_flint},
    {"read", "flint", "fmpz_set_str", 1, reading_flint},
    {"write", "own", "our product", 1, in_products<our_writing>},
    {"read", "own", "our product", 1, in_products<our_reading>},
};

}  // namespace

std::span<const Operation> text_operations() { return operations; }

}  // namespace peers
