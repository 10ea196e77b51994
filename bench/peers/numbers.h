#pragma once
// Operands of the operations on numbers, as each library holds them; alive as long as either side of a comparison.

#include <arb.h>
#include <flint/flint.h>
#include <flint/fmpz.h>
#include <mpfr.h>

#include <kvnum/kvnum.hpp>

#include "gmp_operands.h"

namespace peers {

using Number = BigFloat_c64;
using Side = std::function<void(std::uint64_t)>;

// Two numbers x and y of `words` words, their top bit set, as integers; ours have the words below the point.
struct Numbers {
    explicit Numbers(const Setting& s) : p(s.words), tasks(s.tasks), a(random_words(p, 1)), b(random_words(p, 2)) {
        a.back() |= std::uint64_t{1} << 63;
        b.back() |= std::uint64_t{1} << 63;
        succeed(internal_ensure_global_table(64 * static_cast<std::uint64_t>(2 * p + 64)));
        flint_set_num_threads(static_cast<int>(tasks));
    }
    Numbers(const Numbers&) = delete;

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
    Bytes memory;
    Characters text, other_text;
};
using SharedNumbers = std::shared_ptr<Numbers>;

struct GmpNumbers {
    explicit GmpNumbers(Numbers& s) {
        mpz_inits(x, y, z, nullptr);
        mpz_import(x, s.p, -1, 8, 0, 0, s.a.data());
        mpz_import(y, s.p, -1, 8, 0, 0, s.b.data());
    }
    ~GmpNumbers() { mpz_clears(x, y, z, nullptr); }
    GmpNumbers(const GmpNumbers&) = delete;
    mpz_t x, y, z;
};

struct GmpReals {
    explicit GmpReals(Numbers& s) {
        const GmpNumbers integers(s);
        for (mpf_ptr f : {x, y, z}) mpf_init2(f, 64 * s.p);
        mpf_set_z(x, integers.x);
        mpf_set_z(y, integers.y);
    }
    ~GmpReals() { mpf_clears(x, y, z, nullptr); }
    GmpReals(const GmpReals&) = delete;
    mpf_t x, y, z;
};

struct MpfrNumbers {
    explicit MpfrNumbers(Numbers& s) : precision(static_cast<mpfr_prec_t>(64 * s.p)) {
        const GmpNumbers integers(s);
        mpfr_inits2(precision, x, y, z, nullptr);
        mpfr_set_z(x, integers.x, MPFR_RNDZ);
        mpfr_set_z(y, integers.y, MPFR_RNDZ);
    }
    ~MpfrNumbers() { mpfr_clears(x, y, z, nullptr); }
    MpfrNumbers(const MpfrNumbers&) = delete;
    mpfr_prec_t precision;
    mpfr_t x, y, z;
};

// FLINT's integers, and its real numbers, which carry a bound of their error.
struct FlintNumbers {
    explicit FlintNumbers(Numbers& s) : precision(static_cast<slong>(64 * s.p)) {
        const GmpNumbers integers(s);
        fmpz_init(ix), fmpz_init(iy), fmpz_init(iz);
        arb_init(x), arb_init(y), arb_init(z);
        fmpz_set_mpz(ix, integers.x);
        fmpz_set_mpz(iy, integers.y);
        arb_set_fmpz(x, ix);
        arb_set_fmpz(y, iy);
    }
    ~FlintNumbers() {
        fmpz_clear(ix), fmpz_clear(iy), fmpz_clear(iz);
        arb_clear(x), arb_clear(y), arb_clear(z);
    }
    FlintNumbers(const FlintNumbers&) = delete;
    slong precision;
    fmpz_t ix, iy, iz;
    arb_t x, y, z;
};

// |ours - theirs| is less than a word's unit above the precision.
inline bool close(const Numbers& s, const Number& ours, mpfr_srcptr theirs) {
    mpz_t words;
    mpfr_t value;
    mpz_init(words);
    mpz_import(words, ours.L, -1, 8, 0, 0, ours.T);
    mpfr_init2(value, static_cast<mpfr_prec_t>(64 * ours.L));
    mpfr_set_z_2exp(value, words, 64 * ours.exp, MPFR_RNDZ);
    mpfr_sub(value, value, theirs, MPFR_RNDZ);
    const bool out =
        mpfr_zero_p(value) || mpfr_get_exp(value) < mpfr_get_exp(theirs) - static_cast<mpfr_exp_t>(64 * (s.p - 1));
    mpfr_clear(value);
    mpz_clear(words);
    return out;
}
inline bool close(const Numbers& s, const Number& ours, mpf_srcptr theirs) {
    mpfr_t value;
    mpfr_init2(value, static_cast<mpfr_prec_t>(64 * s.p + 64));
    mpfr_set_f(value, theirs, MPFR_RNDZ);
    const bool out = close(s, ours, value);
    mpfr_clear(value);
    return out;
}
inline bool close(const Numbers& s, const Number& ours, const arb_t theirs) {
    mpfr_t middle;
    mpfr_init2(middle, static_cast<mpfr_prec_t>(64 * s.p));
    arf_get_mpfr(middle, arb_midref(theirs), MPFR_RNDZ);
    const bool out = close(s, ours, middle);
    mpfr_clear(middle);
    return out;
}

// Our balanced product of the same length, the unit of what other operations take.
inline Side our_product(SharedNumbers s) {
    MulSizeRecord sizes;
    succeed(mul_Psize64(&sizes, 2 * s->p, s->tasks));
    s->out.resize(2 * s->p);
    return repeated([s, params = s->parameters(sizes.scratch_bytes)] {
        succeed(mul_p_c64(&params, s->out.data(), s->a.data(), s->p, s->b.data(), s->p));
    });
}

}  // namespace peers
