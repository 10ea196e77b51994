#pragma once
// Numbers, scratch and closeness for the tests of the inverse operations: everything sized by the queries and fenced.

#if KVNUM_HAVE_GMP
#include <gmp.h>

#include <vector>

#include "inverse/sizes.h"
#include "inverse/small_float.h"
#include "multiply/twiddle_table.h"
#include "objects/big_float.h"
#include "support/fenced.h"
#include "support/operands.h"

namespace kvt::inverse {

// A number whose words lie in fenced memory of exactly the capacity asked for.
template <class W>
struct TestNumber {
    explicit TestNumber(u64 capacity) : words(capacity) {
        value = {words.data(), 0, 0, true, words.data(), capacity};
    }
    test::FencedWords<W> words;
    objects::BigFloat<W> value;
};

// R without the zero words at its bottom.
template <class W>
SmallFloat<W> stripped(SmallFloat<W> R) {
    while (R.n > 0 && R.w[0] == 0) R.drop_low(1);
    return R;
}

// Parameters with fenced scratch memory of exactly so many bytes, and the global table grown to match.
class TestParameters {
  public:
    TestParameters(u64 bytes, u64 table_bits, u64 tasks = 1) : memory_(bytes) {
        multiply::ensure_global_table(table_bits);
        params = {multiply::global_table(), memory_.data(), bytes, tasks};
    }
    BasicParameters params;

  private:
    test::FencedBytes memory_;
};

// words * B^exp times factor * B^factor_exp against 1.
class Distance {
  public:
    Distance() { mpz_inits(value_, one_, nullptr); }
    ~Distance() { mpz_clears(value_, one_, nullptr); }
    Distance(const Distance&) = delete;
    Distance& operator=(const Distance&) = delete;

    template <class W>
    void set(const W* words, u64 n, i64 exp) {
        mpz_import(value_, n, -1, sizeof(W), 0, 0, words);
        exp_bits_ = exp * static_cast<i64>(word_bits<W>);
    }
    template <class W>
    void multiply(const W* words, u64 n, i64 exp) {
        mpz_import(one_, n, -1, sizeof(W), 0, 0, words);
        mpz_mul(value_, value_, one_);
        exp_bits_ += exp * static_cast<i64>(word_bits<W>);
    }

    // |value - other| < 2^-bits * other, for other = words * B^exp.
    template <class W>
    bool close_to(const W* words, u64 n, i64 exp, u64 bits) {
        mpz_import(one_, n, -1, sizeof(W), 0, 0, words);
        const i64 other_bits = exp * static_cast<i64>(word_bits<W>);
        if (other_bits > exp_bits_) mpz_mul_2exp(one_, one_, static_cast<u64>(other_bits - exp_bits_));
        if (other_bits < exp_bits_) mpz_mul_2exp(value_, value_, static_cast<u64>(exp_bits_ - other_bits));
        exp_bits_ = std::min(exp_bits_, other_bits);
        mpz_sub(value_, value_, one_);
        mpz_mul_2exp(value_, value_, bits);
        return mpz_cmpabs(value_, one_) < 0;
    }
    template <class W>
    bool close_to_one(u64 bits) {
        const W unit = 1;
        return close_to(&unit, 1, 0, bits);
    }

  private:
    mpz_t value_, one_;
    i64 exp_bits_ = 0;
};

// Operands at which a Newton step is hardest: next to powers of the word base on both sides, all ones, sparse.
template <class W>
std::vector<std::vector<W>> hard_operands(std::initializer_list<u64> lengths, u64 rounds, u64 seed) {
    test::Rng rng(seed);
    std::vector<std::vector<W>> out;
    for (u64 n : lengths) {
        for (test::Pattern pattern : test::hard_patterns) {
            for (u64 round = 0; round < rounds; ++round) {
                std::vector<W> x = test::words<W>(pattern, n, rng);
                if (x.back() == 0) x.back() = 1;
                if (round % 4 == 1) x.back() = 1;
                if (round % 4 == 2) x.back() = static_cast<W>(~W{0});
                out.push_back(x);
            }
        }
        std::vector<W> power(n, 0), above(n, 0), below(n, static_cast<W>(~W{0}));
        power.back() = 1;  // B^(n-1)
        above.back() = 1;  // B^(n-1) + 1
        above[0] |= 1;
        out.insert(out.end(), {power, above, below});
        for (u64 j = 0; j < n; ++j) {  // B^n - B^j
            if (n > 30 && j != n / 4 && j != n / 2 && j != n - 1) continue;
            std::vector<W> x(n, static_cast<W>(~W{0}));
            std::fill_n(x.begin(), j, W{0});
            out.push_back(x);
        }
    }
    return out;
}

}  // namespace kvt::inverse
#endif
