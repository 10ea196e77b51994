// Inverse operations and decimal text of numbers of so many words, against MPFR, GMP and our own balanced product.

#include <mpfr.h>

#include <cstring>

#include "gmp_operands.h"

namespace peers {
namespace {

using Number = BigFloat_c64;

// Our side of an operation: operands of `words` words, everything else sized by the queries.
struct Bench {
    explicit Bench(const Setting& s) : p(s.words), tasks(s.tasks), a(random_words(p, 1)), b(random_words(p, 2)) {
        a.back() |= std::uint64_t{1} << 63;
        b.back() |= std::uint64_t{1} << 63;
        succeed(internal_ensure_global_table(64 * static_cast<std::uint64_t>(2 * p + 64)));
        mpz_inits(x, y, z, nullptr);
        mpz_import(x, p, -1, 8, 0, 0, a.data());
        mpz_import(y, p, -1, 8, 0, 0, b.data());
        mpfr_inits2(static_cast<mpfr_prec_t>(64 * p), fx, fy, fz, nullptr);
        mpfr_set_z(fx, x, MPFR_RNDZ);
        mpfr_set_z(fy, y, MPFR_RNDZ);
    }
    ~Bench() {
        mpz_clears(x, y, z, nullptr);
        mpfr_clears(fx, fy, fz, nullptr);
    }
    Bench(const Bench&) = delete;

    BasicParameters parameters(std::uint64_t bytes) {
        memory.resize(bytes + 64);
        const auto misaligned = reinterpret_cast<std::uintptr_t>(memory.data()) % 64;
        return {get_global_table(), memory.data() + (64 - misaligned), bytes, tasks};
    }
    Number number(Words& words) { return {words.data(), words.size(), 0, true, words.data(), words.size()}; }
    Number result(std::uint64_t words) {
        out.resize(words);
        return {out.data(), 0, 0, true, out.data(), words};
    }

    std::size_t p;
    std::uint64_t tasks;
    Words a, b, out, scratch;
    std::vector<unsigned char> memory;
    std::vector<char> text, other_text;
    mpz_t x, y, z;
    mpfr_t fx, fy, fz;
};
using Shared = std::shared_ptr<Bench>;
using Side = std::function<void(std::uint64_t)>;

// The result's top words against MPFR's, to a word less than the precision.
std::function<bool()> close_to_mpfr(Shared s, std::shared_ptr<Number> result) {
    return [s, result] {
        mpz_import(s->z, result->L, -1, 8, 0, 0, result->T);
        mpfr_t ours;
        mpfr_init2(ours, static_cast<mpfr_prec_t>(64 * result->L));
        mpfr_set_z_2exp(ours, s->z, 64 * result->exp, MPFR_RNDZ);
        mpfr_sub(ours, ours, s->fz, MPFR_RNDZ);
        const bool close =
            mpfr_zero_p(ours) || mpfr_get_exp(ours) < mpfr_get_exp(s->fz) - static_cast<mpfr_exp_t>(64 * (s->p - 1));
        mpfr_clear(ours);
        return close;
    };
}

struct Prepared {
    Side run;
    std::shared_ptr<Number> result;
};

Prepared our_reciprocal(Shared s) {
    std::uint64_t words, scratch, bytes;
    succeed(BigFloatR_c64_rcp_sizes(&words, &scratch, &bytes, s->p, s->tasks));
    s->scratch.resize(scratch);
    auto result = std::make_shared<Number>(s->result(words));
    return {repeated([s, result, x = s->number(s->b), params = s->parameters(bytes), scratch] {
                succeed(BigFloatR_c64_rcp(&params, result.get(), &x, s->p, s->scratch.data(), scratch, nullptr));
            }),
            result};
}

Prepared our_division(Shared s) {
    std::uint64_t words, scratch, bytes;
    succeed(BigFloatR_c64_div_sizes(&words, &scratch, &bytes, s->p, s->tasks));
    s->scratch.resize(scratch);
    auto result = std::make_shared<Number>(s->result(words));
    return {repeated([s, result, x = s->number(s->a), y = s->number(s->b), params = s->parameters(bytes), scratch] {
                succeed(BigFloatR_c64_div(&params, result.get(), &x, &y, s->p, s->scratch.data(), scratch, nullptr));
            }),
            result};
}

Prepared our_inverse_sqrt(Shared s) {
    std::uint64_t words, scratch, bytes;
    succeed(BigFloatR_c64_invsqrt_uW_sizes(&words, &scratch, &bytes, s->p, s->tasks));
    s->scratch.resize(scratch);
    auto result = std::make_shared<Number>(s->result(words));
    return {
        repeated([s, result, params = s->parameters(bytes), scratch] {
            succeed(BigFloatR_c64_invsqrt_uW(&params, result.get(), 10, s->p, s->scratch.data(), scratch, nullptr));
        }),
        result};
}

Side our_product(Shared s) {
    MulSizeRecord sizes;
    succeed(mul_Psize64(&sizes, 2 * s->p, s->tasks));
    s->out.resize(2 * s->p);
    return repeated([s, params = s->parameters(sizes.scratch_bytes)] {
        succeed(mul_p_c64(&params, s->out.data(), s->a.data(), s->p, s->b.data(), s->p));
    });
}

Side our_writing(Shared s) {
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

Side our_reading(Shared s) {
    s->other_text.resize(mpz_sizeinbase(s->x, 10) + 2);
    mpz_get_str(s->other_text.data(), 10, s->x);
    const std::uint64_t chars = std::strlen(s->other_text.data());
    std::uint64_t words, bytes;
    succeed(BigInt_c64_set_string_dec_sizes(&words, &bytes, chars, s->tasks));
    s->out.resize(words);
    return repeated([s, chars, params = s->parameters(bytes)] {
        BigInt_c64 y{s->out.data(), 0, true, s->out.data(), s->out.size()};
        succeed(BigInt_c64_set_string_dec(&params, &y, s->other_text.data(), chars));
    });
}

Comparison reciprocal_mpfr(const Setting& setting) {
    auto s = std::make_shared<Bench>(setting);
    const Prepared ours = our_reciprocal(s);
    return {ours.run, repeated([s] { mpfr_ui_div(s->fz, 1, s->fy, MPFR_RNDZ); }), close_to_mpfr(s, ours.result)};
}

Comparison division_mpfr(const Setting& setting) {
    auto s = std::make_shared<Bench>(setting);
    const Prepared ours = our_division(s);
    return {ours.run, repeated([s] { mpfr_div(s->fz, s->fx, s->fy, MPFR_RNDZ); }), close_to_mpfr(s, ours.result)};
}

Comparison inverse_sqrt_mpfr(const Setting& setting) {
    auto s = std::make_shared<Bench>(setting);
    const Prepared ours = our_inverse_sqrt(s);
    mpfr_set_ui(s->fx, 10, MPFR_RNDZ);
    return {ours.run, repeated([s] { mpfr_rec_sqrt(s->fz, s->fx, MPFR_RNDZ); }), close_to_mpfr(s, ours.result)};
}

Comparison writing_gmp(const Setting& setting) {
    auto s = std::make_shared<Bench>(setting);
    const Side ours = our_writing(s);
    s->other_text.resize(mpz_sizeinbase(s->x, 10) + 2);
    return {ours, repeated([s] { mpz_get_str(s->other_text.data(), 10, s->x); }),
            [s] { return std::strcmp(s->text.data(), s->other_text.data()) == 0; }};
}

Comparison reading_gmp(const Setting& setting) {
    auto s = std::make_shared<Bench>(setting);
    return {our_reading(s), repeated([s] { mpz_set_str(s->z, s->other_text.data(), 10); }),
            [s] { return std::memcmp(s->out.data(), s->a.data(), 8 * s->p) == 0; }};
}

// In units of our own balanced product of the same length: the ratio is that number's inverse.
Comparison against_product(const Setting& setting, Side (*prepare)(Shared)) {
    return {prepare(std::make_shared<Bench>(setting)), our_product(std::make_shared<Bench>(setting)),
            [] { return true; }};
}
Comparison reciprocal_own(const Setting& s) {
    return against_product(s, [](Shared x) { return our_reciprocal(x).run; });
}
Comparison division_own(const Setting& s) {
    return against_product(s, [](Shared x) { return our_division(x).run; });
}
Comparison inverse_sqrt_own(const Setting& s) {
    return against_product(s, [](Shared x) { return our_inverse_sqrt(x).run; });
}
Comparison writing_own(const Setting& s) { return against_product(s, our_writing); }
Comparison reading_own(const Setting& s) { return against_product(s, our_reading); }

constexpr Operation operations[] = {
    {"rcp", "mpfr", "mpfr_ui_div", 1, reciprocal_mpfr},
    {"div", "mpfr", "mpfr_div", 1, division_mpfr},
    {"invsqrt", "mpfr", "mpfr_rec_sqrt", 1, inverse_sqrt_mpfr},
    {"write", "gmp", "mpz_get_str", 1, writing_gmp},
    {"read", "gmp", "mpz_set_str", 1, reading_gmp},
    {"rcp", "own", "our product", 1, reciprocal_own},
    {"div", "own", "our product", 1, division_own},
    {"invsqrt", "own", "our product", 1, inverse_sqrt_own},
    {"write", "own", "our product", 1, writing_own},
    {"read", "own", "our product", 1, reading_own},
};

}  // namespace

std::span<const Operation> number_operations() { return operations; }

}  // namespace peers
