// Floats against GMP: sums, products and conversions are compared word for word with what their declarations say.

#include <bit>
#include <cmath>

#include "fuzz_support.h"

namespace {

using namespace fuzz;

template <class W>
struct Float {
    std::vector<W> memory;
    typename Api<W>::BigFloat value;

    explicit Float(uint64_t capacity) : memory(capacity, static_cast<W>(0x5a5a5a5a)) {
        value = {memory.data(), 0, 0, true, memory.data(), capacity};
    }
    Float(std::vector<W> digits, int64_t exp, bool sign, uint64_t capacity = 0)
        : Float(std::max<uint64_t>(capacity, digits.size())) {
        while (!digits.empty() && digits.back() == 0) digits.pop_back();
        std::copy(digits.begin(), digits.end(), memory.begin());
        value.L = digits.size();
        value.exp = digits.empty() ? 0 : exp;
        value.sign = sign || digits.empty();
    }
};

// A value as significand * B^exp.
struct Exact {
    mpz_class significand;
    int64_t exp;
};

template <class Number>
Exact exact(const Number& x) {
    return {significand(x), x.L == 0 ? 0 : x.exp};
}

template <class W>
bool equal(const Exact& a, const Exact& b) {
    const int64_t low = std::min(a.exp, b.exp);
    return scaled(a.significand, (low - a.exp) * word_bits<W>) == scaled(b.significand, (low - b.exp) * word_bits<W>);
}

// x cut to its top `most` words.
template <class W>
Exact cut(const Exact& x, int64_t most) {
    const int64_t length =
        x.significand == 0
            ? 0
            : (static_cast<int64_t>(mpz_sizeinbase(x.significand.get_mpz_t(), 2)) + word_bits<W> - 1) / word_bits<W>;
    if (length <= most) return x;
    return {scaled(x.significand, (length - most) * word_bits<W>), x.exp + length - most};
}

template <class W, class Call>
void into_fresh(FuzzedDataProvider& in, uint64_t needed, const Exact& want, Call call) {
    const bool short_by_one = needed > 0 && in.ConsumeBool();
    Float<W> out(needed - short_by_one);
    const std::vector<W> before = out.memory;
    const bool success = succeeded(call(&out.value));
    FUZZ_CHECK(success != short_by_one);
    if (success)
        FUZZ_CHECK(equal<W>(exact(out.value), want));
    else
        FUZZ_CHECK(out.memory == before && out.value.L == 0);
}

template <class W>
void sums(FuzzedDataProvider& in, const Float<W>& A, const Float<W>& B, uint64_t p, bool subtract) {
    const auto operation = subtract ? Api<W>::float_sub : Api<W>::float_add;
    const auto &a = A.value, &b = B.value;
    const auto call = [&](auto* out) { return operation(out, &a, &b, p); };
    if (a.L == 0 || b.L == 0) {
        Exact want = cut<W>(exact(a.L == 0 ? b : a), static_cast<int64_t>(p) + 2);
        if (subtract && a.L == 0) want.significand = -want.significand;
        return into_fresh<W>(in, std::min<uint64_t>(a.L + b.L, p + 2), want, call);
    }
    const int64_t top = std::max(a.exp + static_cast<int64_t>(a.L), b.exp + static_cast<int64_t>(b.L));
    const int64_t bottom = std::max(top - static_cast<int64_t>(p) - 1, std::min(a.exp, b.exp));
    const mpz_class x = scaled(significand(a), (bottom - a.exp) * word_bits<W>),
                    y = scaled(significand(b), (bottom - b.exp) * word_bits<W>);
    const bool added = (a.sign == b.sign) != subtract;
    const Exact minus_b{subtract ? significand(b) : mpz_class(-significand(b)), b.exp};
    if (equal<W>(exact(a), minus_b)) return into_fresh<W>(in, 0, {0, 0}, call);
    into_fresh<W>(in, static_cast<uint64_t>(top - bottom) + added,
                  {subtract ? mpz_class(x - y) : mpz_class(x + y), bottom}, call);
}

template <class W>
void products(FuzzedDataProvider& in, const Float<W>& A, const Float<W>& B, uint64_t p) {
    using api = Api<W>;
    const auto most = static_cast<int64_t>(p) + 2;
    const bool square = in.ConsumeBool();
    const auto &a = A.value, &b = square ? A.value : B.value;
    const uint64_t tasks = in.ConsumeIntegralInRange<uint64_t>(1, 2);
    uint64_t bytes = 0;
    expect_success(api::float_mul_size(&bytes, a.L, b.L, p, tasks));
    Memory memory(bytes, in.ConsumeIntegralInRange<uint64_t>(0, 63));
    const BasicParameters params = parameters(memory, tasks);
    const Exact x = cut<W>(exact(a), most), y = cut<W>(exact(b), most);
    const Exact want = cut<W>({x.significand * y.significand, x.exp + y.exp}, most);
    const uint64_t most_words = p + 2;
    uint64_t words = std::min(std::min(a.L, most_words) + std::min(b.L, most_words), most_words);
    if (a.L == 0 || b.L == 0) words = 0;
    into_fresh<W>(in, words, want, [&](auto* out) {
        return square ? api::float_sqr(out, &params, &a, p) : api::float_mul(out, &params, &a, &b, p);
    });
}

template <class W>
void exact_floats(FuzzedDataProvider& in, Float<W>& A, Float<W>& B) {
    using api = Api<W>;
    const auto a = api::make_exact(A.value.T, A.value.L, A.value.exp, A.value.L);
    const auto b = api::make_exact(B.value.T, B.value.L, B.value.exp, B.value.L);
    if (a.L == 0 || b.L == 0) return;
    const auto top = std::max(a.exp + static_cast<int64_t>(a.L), b.exp + static_cast<int64_t>(b.L));
    const int64_t bottom = std::min(a.exp, b.exp);
    const mpz_class x = scaled(natural(a.T, a.L), (bottom - a.exp) * word_bits<W>),
                    y = scaled(natural(b.T, b.L), (bottom - b.exp) * word_bits<W>);
    Exact want{0, bottom};
    std::vector<W> memory(static_cast<uint64_t>(top - bottom) + 1);
    const char* message = "";
    typename api::ExactFloat out{memory.data(), 0, 0, 0, memory.data(), memory.size()};
    ExceptionWrapper* error = nullptr;
    if (in.ConsumeBool()) {
        want.significand = x + y;
        error = api::exact_add(&out, &a, &b);
    } else {
        want.significand = x - y;
        if (x < y) message = "A negative value was encountered.";
        if (x == y) message = "Zero was encountered.";
        error = api::exact_sub(&out, &a, &b);
    }
    if (!succeeded(error, message)) return FUZZ_CHECK(*message != '\0');
    FUZZ_CHECK(x + y == want.significand || x > y);
    FUZZ_CHECK(equal<W>({natural(out.T, out.L), out.exp}, want));
    FUZZ_CHECK(out.hash == api::checksum(out.T, out.L, out.exp));
}

template <class W>
void exact_product(FuzzedDataProvider& in, Float<W>& A, Float<W>& B) {
    using api = Api<W>;
    const auto a = api::make_exact(A.value.T, A.value.L, A.value.exp, A.value.L);
    const auto b = api::make_exact(B.value.T, B.value.L, B.value.exp, B.value.L);
    const int64_t extend = a.exp + b.exp - in.ConsumeIntegralInRange<int64_t>(-5, 20);
    const uint64_t needed = a.L + b.L + static_cast<uint64_t>(std::max<int64_t>(a.exp + b.exp - extend, 0));
    uint64_t bytes = 0;
    expect_success(api::int_mul_size(&bytes, a.L, b.L, 1));
    Memory scratch(bytes, 1);
    const BasicParameters params = parameters(scratch);
    std::vector<W> memory(needed);
    typename api::ExactFloat out{memory.data(), 0, 0, 0, memory.data(), memory.size()};
    expect_success(api::exact_mul(&out, &params, &a, &b, extend));
    FUZZ_CHECK(equal<W>({natural(out.T, out.L), out.L == 0 ? 0 : out.exp},
                        {natural(a.T, a.L) * natural(b.T, b.L), a.L == 0 || b.L == 0 ? 0 : a.exp + b.exp}));
    FUZZ_CHECK(out.hash == api::checksum(out.T, out.L, out.exp));
}

template <class W>
void doubles(FuzzedDataProvider& in, const Float<W>& A) {
    using api = Api<W>;
    const double d =
        in.ConsumeBool() ? std::bit_cast<double>(in.ConsumeIntegral<uint64_t>()) : in.ConsumeProbability<double>();
    const int64_t e = in.ConsumeIntegralInRange<int64_t>(-1000, 1000);
    Float<W> out(4);
    if (succeeded(api::float_set_double(&out.value, d, e), "Value is unsupported.")) {
        FUZZ_CHECK(std::isfinite(d));
        // d = m * 2^k with an integer m, brought to a whole number of words.
        int k = 0;
        const mpz_class m(std::ldexp(std::frexp(d, &k), 53));
        const int64_t low = -40 * word_bits<W>;  // below every double's last bit
        FUZZ_CHECK(equal<W>(exact(out.value), {scaled(m, low - (k - 53)), e - 40}));
    } else {
        FUZZ_CHECK(!std::isfinite(d) && out.value.L == 0);
    }
    int64_t exp = 0;
    const double near = api::float_to_double(&A.value, &exp);
    if (A.value.L == 0) {
        FUZZ_CHECK(near == 0);
        return;
    }
    FUZZ_CHECK(std::fabs(near) <= 1 && std::fabs(near) >= std::ldexp(1.0, -static_cast<int>(word_bits<W>)));
    int k = 0;
    const mpz_class m(std::ldexp(std::frexp(near, &k), 53));
    // |x - near| * 2^52 < |x|, in units of a power of two below both.
    const int64_t unit = std::min<int64_t>(A.value.exp * word_bits<W>, exp * word_bits<W> + k - 53);
    const mpz_class x = scaled(significand(A.value), unit - A.value.exp * word_bits<W>),
                    y = scaled(m, unit - (exp * word_bits<W> + k - 53));
    FUZZ_CHECK(abs(mpz_class(x - y)) * (mpz_class(1) << 52) < abs(x));
}

template <class W>
void in_place(FuzzedDataProvider& in, Float<W>& A) {
    using api = Api<W>;
    const Exact before = exact(A.value);
    const uint64_t room = A.memory.size() - A.value.L;
    if (in.ConsumeBool()) {
        const int64_t bits = in.ConsumeIntegralInRange<int64_t>(-300, 300);
        if (succeeded(api::float_shift(&A.value, bits))) {
            const Exact after = exact(A.value);
            FUZZ_CHECK(equal<W>({scaled(before.significand, -(bits + 320)), before.exp},
                                {scaled(after.significand, -320), after.exp}));
        } else {
            FUZZ_CHECK(room == 0 && equal<W>(exact(A.value), before));
        }
    } else {
        const W m = in.ConsumeIntegral<W>();
        if (succeeded(api::float_mul_word(&A.value, m)))
            FUZZ_CHECK(equal<W>(exact(A.value), {before.significand * natural(&m, 1), before.exp}));
        else
            FUZZ_CHECK(room == 0 && equal<W>(exact(A.value), before));
    }
    const Exact kept = exact(A.value);
    api::float_strip(&A.value);
    FUZZ_CHECK(equal<W>(exact(A.value), kept));
    FUZZ_CHECK(A.value.L == 0 || A.value.T[0] != 0);
}

template <class W>
void comparisons(FuzzedDataProvider& in, const Float<W>& A, const Float<W>& B) {
    using api = Api<W>;
    const int64_t low = std::min(A.value.exp, B.value.exp);
    const mpz_class x = scaled(significand(A.value), (low - A.value.exp) * word_bits<W>),
                    y = scaled(significand(B.value), (low - B.value.exp) * word_bits<W>);
    FUZZ_CHECK(api::float_cmp(&A.value, &B.value) == sgn(mpz_class(x - y)));
    const int64_t first = A.value.exp + in.ConsumeIntegralInRange<int64_t>(-5, 90);
    std::vector<W> range(in.ConsumeIntegralInRange<uint64_t>(0, 90));
    api::float_get_range(&A.value, range.data(), first, range.size());
    for (uint64_t i = 0; i < range.size(); ++i) {
        const int64_t at = first + static_cast<int64_t>(i) - A.value.exp;
        FUZZ_CHECK(range[i] == (at >= 0 && at < static_cast<int64_t>(A.value.L) ? A.value.T[at] : W{0}));
    }
}

template <class W>
void one_input(FuzzedDataProvider& in) {
    const uint64_t most = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 1500 : 40;
    const uint64_t p = in.ConsumeIntegralInRange<uint64_t>(0, in.ConsumeBool() ? 2 * most : 8);
    const auto exponent = [&] {
        const int64_t reach = in.ConsumeBool() ? 60 : 3;
        return in.ConsumeIntegralInRange<int64_t>(-reach, reach);
    };
    const bool sign_a = in.ConsumeBool(), sign_b = in.ConsumeBool();
    const int64_t exp_a = exponent(), exp_b = exponent();
    Float<W> A(words<W>(in, most), exp_a, sign_a, in.ConsumeIntegralInRange<uint64_t>(0, 50));
    Float<W> B(words<W>(in, most), exp_b, sign_b);
    switch (in.ConsumeIntegralInRange<int>(0, 8)) {
        case 0: return sums(in, A, B, p, false);
        case 1: return sums(in, A, B, p, true);
        case 2: return products(in, A, B, p);
        case 3: return exact_floats(in, A, B);
        case 4: return exact_product(in, A, B);
        case 5: return doubles(in, A);
        case 6: return in_place(in, A);
        case 7: return comparisons(in, A, B);
        case 8:
            return into_fresh<W>(in, std::min<uint64_t>(A.value.L, p + 2),
                                 cut<W>(exact(A.value), static_cast<int64_t>(p) + 2),
                                 [&](auto* out) { return Api<W>::float_set(out, &A.value, p); });
    }
}

}  // namespace

FUZZ_TARGET(one_input)
