// Reciprocal, division, inverse square root and powers against the relative errors that their declarations promise.

#include "fuzz_support.h"

namespace {

using namespace fuzz;

// Everything that a call needs, as large as its query says and not a word more.
template <class W>
struct Call {
    uint64_t out_words = 0, scratch_words = 0, transform_bytes = 0, skew = 0, tasks = 1;
    std::vector<W> out_memory, scratch;
    Memory memory{0};
    BasicParameters params{};
    typename Api<W>::BigFloat out{};

    void reserve() {
        out_memory.assign(out_words, static_cast<W>(0x5a5a5a5a));
        scratch.assign(scratch_words, static_cast<W>(0x5a5a5a5a));
        memory = Memory(transform_bytes, skew);
        params = parameters(memory, tasks);
        out = {out_memory.data(), 0, 0, true, out_memory.data(), out_words};
    }
};

// |value - 1| < 2^-bits, for value = significand * B^exp.
template <class W>
bool near_one(const mpz_class& significand, int64_t exp, int64_t bits) {
    const int64_t low = std::min<int64_t>(exp, 0) * word_bits<W>;
    const mpz_class one = scaled(1, low), value = scaled(significand, low - exp * word_bits<W>);
    return abs(mpz_class(value - one)) * scaled(1, -bits) < one;
}

template <class W>
std::vector<W> operand(FuzzedDataProvider& in, uint64_t most) {
    std::vector<W> x = words<W>(in, most);
    while (!x.empty() && x.back() == 0) x.pop_back();
    if (x.empty()) x.push_back(1);
    x.shrink_to_fit();
    return x;
}

template <class W>
typename Api<W>::BigFloat number(std::vector<W>& words, int64_t exp, bool sign) {
    return {words.data(), words.size(), exp, sign, words.data(), words.size()};
}

template <class W>
void reciprocal(FuzzedDataProvider& in, Call<W>& call, uint64_t p) {
    std::vector<W> memory = operand<W>(in, 200);
    const auto x = number(memory, in.ConsumeIntegralInRange<int64_t>(-50, 50), in.ConsumeBool());
    expect_success(
        Api<W>::reciprocal_sizes(&call.out_words, &call.scratch_words, &call.transform_bytes, p, call.tasks));
    call.reserve();
    expect_success(
        Api<W>::reciprocal(&call.params, &call.out, &x, p, call.scratch.data(), call.scratch_words, nullptr));
    const int64_t bits = p == 0 ? 51 : static_cast<int64_t>(p) * word_bits<W> + word_bits<W> - 2;
    FUZZ_CHECK(near_one<W>(significand(call.out) * significand(x), call.out.exp + x.exp, bits));
}

template <class W>
void quotient(FuzzedDataProvider& in, Call<W>& call, uint64_t p) {
    std::vector<W> memory_a = operand<W>(in, 120), memory_b = operand<W>(in, 120);
    const auto a = number(memory_a, in.ConsumeIntegralInRange<int64_t>(-50, 50), in.ConsumeBool());
    const auto b = number(memory_b, in.ConsumeIntegralInRange<int64_t>(-50, 50), in.ConsumeBool());
    expect_success(Api<W>::divide_sizes(&call.out_words, &call.scratch_words, &call.transform_bytes, p, call.tasks));
    call.reserve();
    expect_success(
        Api<W>::divide(&call.params, &call.out, &a, &b, p, call.scratch.data(), call.scratch_words, nullptr));
    // |q b - a| < 2 B^-p |a|; at precision 0 two words of each factor count, the top one of which may be 1
    const int64_t bits =
        p == 0 ? std::min<int64_t>(word_bits<W> - 4, 50) : static_cast<int64_t>(p) * word_bits<W> - 1;
    const int64_t exp = call.out.exp + b.exp, low = std::min(exp, a.exp);
    const mpz_class product = scaled(significand(call.out) * significand(b), (low - exp) * word_bits<W>),
                    dividend = scaled(significand(a), (low - a.exp) * word_bits<W>);
    FUZZ_CHECK(abs(mpz_class(product - dividend)) * scaled(1, -bits) < abs(dividend));
}

template <class W>
void inverse_root(FuzzedDataProvider& in, Call<W>& call, uint64_t p) {
    const W x = std::max<W>(in.ConsumeIntegral<W>(), 1);
    expect_success(
        Api<W>::inverse_root_sizes(&call.out_words, &call.scratch_words, &call.transform_bytes, p, call.tasks));
    call.reserve();
    expect_success(
        Api<W>::inverse_root(&call.params, &call.out, x, p, call.scratch.data(), call.scratch_words, nullptr));
    // x r^2 = 1 within twice the relative error of r
    const int64_t bits = p == 0 ? 50 : static_cast<int64_t>(p) * word_bits<W> - 1;
    const mpz_class r = significand(call.out);
    FUZZ_CHECK(near_one<W>(r * r * natural(&x, 1), 2 * call.out.exp, bits));
}

template <class W>
void power(FuzzedDataProvider& in, Call<W>& call, uint64_t p) {
    const W x = std::max<W>(in.ConsumeIntegral<W>(), 1);
    const int64_t n = in.ConsumeIntegralInRange<int64_t>(-60, 60);
    p = std::max<uint64_t>(p, 1);
    expect_success(Api<W>::power_sizes(&call.out_words, &call.scratch_words, &call.transform_bytes, p, call.tasks));
    call.reserve();
    expect_success(Api<W>::power(&call.params, &call.out, x, n, p, call.scratch.data(), call.scratch_words, nullptr));
    mpz_class whole;
    const mpz_class base = natural(&x, 1);
    mpz_pow_ui(whole.get_mpz_t(), base.get_mpz_t(), static_cast<uint64_t>(n < 0 ? -n : n));
    // |out - x^n| < 2 |n| B^-(p+1) x^n, and a word less for the reciprocal of a power
    const int64_t bits = static_cast<int64_t>(p + (n > 0)) * word_bits<W> - 7;
    if (n < 0) return FUZZ_CHECK(near_one<W>(significand(call.out) * whole, call.out.exp, bits));
    const int64_t low = std::min<int64_t>(call.out.exp, 0);
    const mpz_class got = scaled(significand(call.out), (low - call.out.exp) * word_bits<W>),
                    want = scaled(whole, low * word_bits<W>);
    FUZZ_CHECK(abs(mpz_class(got - want)) * scaled(1, -bits) < want);
}

template <class W>
void one_input(FuzzedDataProvider& in) {
    Call<W> call;
    call.skew = in.ConsumeIntegralInRange<uint64_t>(0, 63);
    call.tasks = in.ConsumeIntegralInRange<uint64_t>(1, 2);
    const uint64_t p = in.ConsumeIntegralInRange<uint64_t>(0, in.ConsumeIntegralInRange<int>(0, 3) == 0 ? 400 : 40);
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: return reciprocal(in, call, p);
        case 1: return quotient(in, call, p);
        case 2: return inverse_root(in, call, p);
        case 3: return power(in, call, p);
    }
}

}  // namespace

FUZZ_TARGET(one_input)
