// Integers and large products against GMP: every operation, every aliasing that is allowed, the documented capacity
// and one word less.

#include "fuzz_support.h"

namespace {

using namespace fuzz;

template <class W>
struct Integer {
    std::vector<W> memory;
    typename Api<W>::BigInt value;

    explicit Integer(uint64_t capacity) : memory(capacity, static_cast<W>(0x5a5a5a5a)) {
        value = {memory.data(), 0, true, memory.data(), capacity};
    }
    Integer(std::vector<W> digits, bool sign, uint64_t capacity)
        : Integer(std::max<uint64_t>(capacity, digits.size())) {
        while (!digits.empty() && digits.back() == 0) digits.pop_back();
        std::copy(digits.begin(), digits.end(), memory.begin());
        value.L = digits.size();
        value.sign = sign || digits.empty();
    }
};

template <class W>
bool same(const Integer<W>& x, const std::vector<W>& memory, uint64_t L, bool sign) {
    return x.memory == memory && x.value.L == L && x.value.sign == sign && x.value.T == x.memory.data();
}

// Runs call on a result of the capacity needed, or of one word less: then nothing may be written.
template <class W, class Call>
void into_fresh(FuzzedDataProvider& in, uint64_t needed, const mpz_class& want, Call call) {
    const bool short_by_one = needed > 0 && in.ConsumeBool();
    Integer<W> out(needed - short_by_one);
    const std::vector<W> before = out.memory;
    const bool success = succeeded(call(&out.value));
    FUZZ_CHECK(success != short_by_one);
    if (success)
        FUZZ_CHECK(significand(out.value) == want);
    else
        FUZZ_CHECK(same(out, before, 0, true));
}

// Runs call on x itself, whose memory is as long as needed or one word shorter.
template <class W, class Call>
void in_place(Integer<W>& x, uint64_t needed, const mpz_class& want, Call call) {
    const std::vector<W> before = x.memory;
    const uint64_t L = x.value.L;
    const bool sign = x.value.sign;
    if (succeeded(call(&x.value))) {
        FUZZ_CHECK(significand(x.value) == want);
    } else {
        FUZZ_CHECK(x.memory.size() < needed);
        FUZZ_CHECK(same(x, before, L, sign));
    }
}

template <class W>
void sums(FuzzedDataProvider& in, Integer<W>& A, Integer<W>& B, bool subtract) {
    using api = Api<W>;
    const auto operation = subtract ? api::int_sub : api::int_add;
    const mpz_class a = significand(A.value), b = significand(B.value);
    const mpz_class want = subtract ? mpz_class(a - b) : mpz_class(a + b);
    const bool added = (A.value.sign == B.value.sign) != subtract;
    const uint64_t longer = std::max(A.value.L, B.value.L);
    uint64_t needed = A.value.L == 0 || B.value.L == 0 ? longer : longer + added;
    if (want == 0) needed = 0;
    switch (in.ConsumeIntegralInRange<int>(0, 2)) {
        case 0: return into_fresh<W>(in, needed, want, [&](auto* out) { return operation(out, &A.value, &B.value); });
        case 1: return in_place(A, needed, want, [&](auto* out) { return operation(out, out, &B.value); });
        case 2: return in_place(B, needed, want, [&](auto* out) { return operation(out, &A.value, out); });
    }
}

template <class W>
void products(FuzzedDataProvider& in, const Integer<W>& A, const Integer<W>& B, bool square) {
    using api = Api<W>;
    const Integer<W>& second = square ? A : B;
    const mpz_class want = significand(A.value) * significand(second.value);
    const uint64_t tasks = in.ConsumeIntegralInRange<uint64_t>(1, 3);
    uint64_t bytes = 0;
    expect_success(api::int_mul_size(&bytes, A.value.L, second.value.L, tasks));
    Memory memory(bytes, in.ConsumeIntegralInRange<uint64_t>(0, 63));
    const BasicParameters params = parameters(memory, tasks);
    into_fresh<W>(in, A.value.L + second.value.L, want, [&](auto* out) {
        return square ? api::int_sqr(out, &params, &A.value) : api::int_mul(out, &params, &A.value, &B.value);
    });
}

template <class W>
void partial_product(FuzzedDataProvider& in, const Integer<W>& A, const Integer<W>& B) {
    using api = Api<W>;
    if (A.value.L == 0 || B.value.L == 0) return;
    const uint64_t whole = A.value.L + B.value.L;
    const uint64_t first = in.ConsumeIntegralInRange<uint64_t>(0, whole + 3);
    const uint64_t count = in.ConsumeIntegralInRange<uint64_t>(1, whole + 3);
    uint64_t bytes = 0;
    expect_success(api::mul_iPsize(&bytes, whole, 1));
    Memory memory(bytes, in.ConsumeIntegralInRange<uint64_t>(0, 63));
    const BasicParameters params = parameters(memory);
    std::vector<W> out(count);
    expect_success(api::mulp_p(&params, out.data(), first, count, A.value.T, A.value.L, B.value.T, B.value.L));
    const mpz_class product = natural(A.value.T, A.value.L) * natural(B.value.T, B.value.L);
    mpz_class want = scaled(product, static_cast<int64_t>(first) * word_bits<W>);
    mpz_fdiv_r_2exp(want.get_mpz_t(), want.get_mpz_t(), count * word_bits<W>);
    FUZZ_CHECK(natural(out.data(), count) == want);
}

template <class W>
void shifts(FuzzedDataProvider& in, Integer<W>& A, bool left) {
    const uint64_t bits = in.ConsumeIntegralInRange<uint64_t>(0, 40 * word_bits<W>);
    const mpz_class want =
        scaled(significand(A.value), left ? -static_cast<int64_t>(bits) : static_cast<int64_t>(bits));
    if (left)
        return in_place(A, A.value.L + bits / word_bits<W> + 1, want,
                        [&](auto* x) { return Api<W>::int_shl(x, bits); });
    Api<W>::int_shr(&A.value, bits);
    FUZZ_CHECK(significand(A.value) == want);
}

template <class W>
void one_input(FuzzedDataProvider& in) {
    using api = Api<W>;
    const uint64_t most = in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 3000 : 80;
    const bool sign_a = in.ConsumeBool(), sign_b = in.ConsumeBool();
    const uint64_t room_a = in.ConsumeIntegralInRange<uint64_t>(0, 160),
                   room_b = in.ConsumeIntegralInRange<uint64_t>(0, 160);
    const std::vector<W> words_a = words<W>(in, most), words_b = words<W>(in, most);
    Integer<W> A(words_a, sign_a, room_a), B(words_b, sign_b, room_b);
    const mpz_class a = significand(A.value), b = significand(B.value);
    const W word = in.ConsumeIntegral<W>();
    const mpz_class m = natural(&word, 1);
    switch (in.ConsumeIntegralInRange<int>(0, 9)) {
        case 0: return sums(in, A, B, false);
        case 1: return sums(in, A, B, true);
        case 2: return products(in, A, B, false);
        case 3: return products(in, A, B, true);
        case 4: return partial_product(in, A, B);
        case 5: return shifts(in, A, true);
        case 6: return shifts(in, A, false);
        case 7: {
            if (in.ConsumeBool())
                return in_place(A, A.value.L + 1, a * m, [&](auto* x) { return api::int_mul_word(x, word); });
            return into_fresh<W>(in, A.value.L == 0 || word == 0 ? 0 : A.value.L + 1, a * m,
                                 [&](auto* out) { return api::int_set_mul_word(out, &A.value, word); });
        }
        case 8: {
            FUZZ_CHECK(api::int_cmp(&A.value, &B.value) == sgn(mpz_class(a - b)));
            FUZZ_CHECK(api::int_cmp(&A.value, &A.value) == 0);
            return into_fresh<W>(in, words_a.size(), natural(words_a.data(), words_a.size()),
                                 [&](auto* out) { return api::int_set_words(out, words_a.data(), words_a.size()); });
        }
        case 9: {
            const uint64_t first = in.ConsumeIntegralInRange<uint64_t>(0, A.value.L + 3);
            std::vector<W> range(in.ConsumeIntegralInRange<uint64_t>(0, A.value.L + 3));
            api::int_get_range(&A.value, range.data(), first, range.size());
            for (uint64_t i = 0; i < range.size(); ++i)
                FUZZ_CHECK(range[i] == (first + i < A.value.L ? A.value.T[first + i] : W{0}));
        }
    }
}

}  // namespace

FUZZ_TARGET(one_input)
