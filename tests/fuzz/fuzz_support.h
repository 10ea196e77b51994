#pragma once
// What the fuzzed programs share: both widths of the C interface under one name, operands cut from the fuzzer's bytes,
// memory that ends where it was asked to end, and GMP as the oracle. Everything is reached through the public headers.

#include <fuzzer/FuzzedDataProvider.h>
#include <gmpxx.h>
#include <kvnum/kvnum.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

[[noreturn]] inline void fail(const char* file, int line, const char* what) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, what);
    std::abort();
}
#define FUZZ_CHECK(...) ((__VA_ARGS__) ? void() : fuzz::fail(__FILE__, __LINE__, #__VA_ARGS__))

// The calls of one word width.
template <class W>
struct Api;
#define FUZZ_API(word, c)                                                                 \
    template <>                                                                           \
    struct Api<word> {                                                                    \
        using BigInt = BigInt_##c;                                                        \
        using BigFloat = BigFloat_##c;                                                    \
        using ExactFloat = ExactFloat_##c;                                                \
        static constexpr auto make_exact = make_ExactFloat_##c;                           \
        static constexpr auto checksum = kvnum_checksum_##c;                              \
        static constexpr auto mul_p = ::mul_p_##c;                                        \
        static constexpr auto sqr_p = ::sqr_p_##c;                                        \
        static constexpr auto mulp_p = ::mulp_p_##c;                                      \
        static constexpr auto mul_iPsize = ::mul_iPsize_##c;                              \
        static constexpr auto int_mul_size = BigInt_##c##_mul_Psize;                      \
        static constexpr auto int_add = BigInt_##c##_set_add;                             \
        static constexpr auto int_sub = BigInt_##c##_set_sub;                             \
        static constexpr auto int_mul = BigInt_##c##_set_mul;                             \
        static constexpr auto int_sqr = BigInt_##c##_set_sqr;                             \
        static constexpr auto int_shl = BigInt_##c##_shl;                                 \
        static constexpr auto int_shr = BigInt_##c##_shr;                                 \
        static constexpr auto int_mul_word = BigInt_##c##_mul_uW;                         \
        static constexpr auto int_set_mul_word = BigInt_##c##_set_mul_uW;                 \
        static constexpr auto int_set_words = BigInt_##c##_set_uWs;                       \
        static constexpr auto int_set_float = BigInt_##c##_set_BigFloat;                  \
        static constexpr auto int_cmp = BigInt_##c##_cmp;                                 \
        static constexpr auto int_get_range = BigInt_##c##_get_range;                     \
        static constexpr auto float_set = BigFloat_##c##_set_BigFloat;                    \
        static constexpr auto float_set_double = BigFloat_##c##_set_double;               \
        static constexpr auto float_to_double = BigFloat_##c##_to_double;                 \
        static constexpr auto float_get_range = BigFloat_##c##_get_range;                 \
        static constexpr auto float_strip = BigFloat_##c##_strip_tzs_all;                 \
        static constexpr auto float_cmp = BigFloat_##c##_cmp;                             \
        static constexpr auto float_shift = BigFloat_##c##_mp2;                           \
        static constexpr auto float_mul_word = BigFloat_##c##_mul_uW;                     \
        static constexpr auto float_add = BigFloat_##c##_set_add;                         \
        static constexpr auto float_sub = BigFloat_##c##_set_sub;                         \
        static constexpr auto float_mul_size = BigFloat_##c##_mul_Psize;                  \
        static constexpr auto float_sqr = BigFloat_##c##_set_sqr;                         \
        static constexpr auto float_mul = BigFloat_##c##_set_mul;                         \
        static constexpr auto float_mul_both = BigFloat_##c##_set_mul_AB_BC;              \
        static constexpr auto exact_add = ExactFloat_##c##_set_add;                       \
        static constexpr auto exact_sub = ExactFloat_##c##_set_sub;                       \
        static constexpr auto exact_mul = ExactFloat_##c##_set_mul_extend;                \
        static constexpr auto reciprocal = BigFloatR_##c##_rcp;                           \
        static constexpr auto reciprocal_sizes = BigFloatR_##c##_rcp_sizes;               \
        static constexpr auto divide = BigFloatR_##c##_div;                               \
        static constexpr auto divide_sizes = BigFloatR_##c##_div_sizes;                   \
        static constexpr auto inverse_root = BigFloatR_##c##_invsqrt_uW;                  \
        static constexpr auto inverse_root_sizes = BigFloatR_##c##_invsqrt_uW_sizes;      \
        static constexpr auto power = BigFloatR_##c##_pow_uW_sL;                          \
        static constexpr auto power_sizes = BigFloatR_##c##_pow_uW_sL_sizes;              \
        static constexpr auto int_write = BigInt_##c##_to_string_dec;                     \
        static constexpr auto int_write_sizes = BigInt_##c##_to_string_dec_sizes;         \
        static constexpr auto int_read = BigInt_##c##_set_string_dec;                     \
        static constexpr auto int_read_sizes = BigInt_##c##_set_string_dec_sizes;         \
        static constexpr auto int_write_hex = BigInt_##c##_to_string_hex;                 \
        static constexpr auto int_write_hex_sizes = BigInt_##c##_to_string_hex_sizes;     \
        static constexpr auto int_read_hex = BigInt_##c##_set_string_hex;                 \
        static constexpr auto int_read_hex_sizes = BigInt_##c##_set_string_hex_sizes;     \
        static constexpr auto float_write = BigFloat_##c##_to_string_dec;                 \
        static constexpr auto float_write_sizes = BigFloat_##c##_to_string_dec_sizes;     \
        static constexpr auto float_read = BigFloat_##c##_set_string_dec;                 \
        static constexpr auto float_read_sizes = BigFloat_##c##_set_string_dec_sizes;     \
        static constexpr auto float_write_hex = BigFloat_##c##_to_string_hex;             \
        static constexpr auto float_write_hex_sizes = BigFloat_##c##_to_string_hex_sizes; \
        static constexpr auto float_read_hex = BigFloat_##c##_set_string_hex;             \
        static constexpr auto float_read_hex_sizes = BigFloat_##c##_set_string_hex_sizes; \
    };
FUZZ_API(uint32_t, c32)
FUZZ_API(uint64_t, c64)
#undef FUZZ_API

template <class W>
inline constexpr int64_t word_bits = 8 * sizeof(W);

// Memory whose last byte is the last that AddressSanitizer lets pass, at any alignment of the start.
class Memory {
  public:
    explicit Memory(uint64_t bytes, uint64_t skew = 0) : bytes_(bytes + skew), skew_(skew) {}
    unsigned char* data() { return bytes_.data() + skew_; }
    uint64_t size() const { return bytes_.size() - skew_; }

  private:
    std::vector<unsigned char> bytes_;
    uint64_t skew_;
};

// True on success; an error must carry this message ("" where the capacity is short) and is released.
inline bool succeeded(ExceptionWrapper* error, const char* message = "") {
    if (error == nullptr) return true;
    FUZZ_CHECK(std::strlen(error->message) == error->length);
    if (std::strcmp(error->message, message) != 0) {
        std::fprintf(stderr, "error \"%s\" instead of \"%s\"\n", error->message, message);
        std::abort();
    }
    error->destroy(error);
    return false;
}
inline void expect_success(ExceptionWrapper* error) { FUZZ_CHECK(succeeded(error)); }

// The words of an operand: bytes of the input, or a pattern that carries and borrows run far in.
template <class W>
std::vector<W> words(FuzzedDataProvider& in, uint64_t most) {
    std::vector<W> out(in.ConsumeIntegralInRange<uint64_t>(0, most));
    switch (in.ConsumeIntegralInRange<int>(0, 4)) {
        case 0: std::fill(out.begin(), out.end(), static_cast<W>(~W{0})); break;
        case 1: break;
        case 2: {
            uint64_t state = in.ConsumeIntegral<uint32_t>() | 1;
            for (W& word : out) {
                state = state * 6364136223846793005u + 1442695040888963407u;
                word = static_cast<W>(state ^ state >> 29);
            }
            break;
        }
        default:
            for (W& word : out) word = in.ConsumeIntegral<W>();
    }
    for (int patches = in.ConsumeIntegralInRange<int>(0, 3); patches > 0 && !out.empty(); --patches) {
        const uint64_t at = in.ConsumeIntegralInRange<uint64_t>(0, out.size() - 1);
        out[at] = in.ConsumeIntegral<W>();
    }
    out.shrink_to_fit();
    return out;
}

template <class W>
mpz_class natural(const W* words, uint64_t n) {
    mpz_class out;
    mpz_import(out.get_mpz_t(), n, -1, sizeof(W), 0, 0, words);
    return out;
}

// Sign and magnitude of a number object, the exponent left out. What comes back is checked to be in normal form.
template <class Number>
mpz_class significand(const Number& x) {
    if (x.L > 0) FUZZ_CHECK(x.T[x.L - 1] != 0);
    const mpz_class magnitude = natural(x.T, x.L);
    return x.sign ? magnitude : mpz_class(-magnitude);
}

// floor(|x| / 2^bits) with the sign of x; negative bits shift up.
inline mpz_class scaled(const mpz_class& x, int64_t bits) {
    mpz_class out;
    if (bits <= 0)
        mpz_mul_2exp(out.get_mpz_t(), x.get_mpz_t(), static_cast<uint64_t>(-bits));
    else
        mpz_tdiv_q_2exp(out.get_mpz_t(), x.get_mpz_t(), static_cast<uint64_t>(bits));
    return out;
}

// Once for a process: no printing, and a table for every product that the inputs can ask for.
inline void prepare() {
    static const bool ready = [] {
        SetConsoleSink([](void*, const char*, uint64_t, char) {}, nullptr);
        expect_success(internal_ensure_global_table(uint64_t{1} << 20));
        return true;
    }();
    (void)ready;
}

inline BasicParameters parameters(Memory& memory, uint64_t tasks = 1) {
    return {get_global_table(), memory.data(), memory.size(), tasks};
}

}  // namespace fuzz

// Half of the inputs run in each width.
#define FUZZ_TARGET(one_input)                                                \
    extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
        fuzz::prepare();                                                      \
        FuzzedDataProvider in(data, size);                                    \
        if (in.ConsumeBool())                                                 \
            one_input<uint32_t>(in);                                          \
        else                                                                  \
            one_input<uint64_t>(in);                                          \
        return 0;                                                             \
    }
