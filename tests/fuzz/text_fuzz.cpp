// Text both ways. Reading takes any bytes: what is accepted must be what the grammar says and have the value that GMP
// reads. Writing is compared with GMP and read back.

#include <regex>

#include "fuzz_support.h"

namespace {

using namespace fuzz;

// A number as text, taken apart: sign, digits, and the power of the radix of the last digit.
struct Parsed {
    bool valid = false, positive = true;
    std::string digits;
    mpz_class exponent;
};

const std::regex& grammar(int radix, bool is_float) {
    static const std::regex decimal_integer("([+-]?)([0-9]+)"),
        hexadecimal_integer("([+-]?)(?:0[xX])?([0-9a-fA-F]+)"),
        decimal_float("([+-]?)([0-9]*)(?:\\.([0-9]*))?(?:(?:[eE]| *\\*10\\^ *)([+-]?[0-9]+))?"),
        hexadecimal_float("([+-]?)(?:0[xX])?([0-9a-fA-F]*)(?:\\.([0-9a-fA-F]*))?(?: *\\*16\\^ *([+-]?[0-9]+))?");
    return radix == 10 ? is_float ? decimal_float : decimal_integer
           : is_float  ? hexadecimal_float
                       : hexadecimal_integer;
}

Parsed parse(const std::string& text, int radix, bool is_float) {
    std::smatch part;
    Parsed out;
    if (!std::regex_match(text, part, grammar(radix, is_float))) return out;
    out.positive = part[1] != "-";
    out.digits = part[2];
    if (is_float) {
        out.digits += part[3];
        if (part[4].length() > 0) {
            const std::string written = part[4];
            out.exponent = mpz_class(written.substr(written[0] == '+'), 10);
            if (abs(out.exponent) > mpz_class(1) << 60) return out;
        }
        out.exponent -= static_cast<unsigned long>(part[3].length());
    }
    out.valid = !out.digits.empty();
    return out;
}

mpz_class power(int base, const mpz_class& n) {
    mpz_class out;
    mpz_ui_pow_ui(out.get_mpz_t(), static_cast<unsigned long>(base), n.get_ui());
    return out;
}

mpq_class value(const Parsed& text, int radix) {
    mpq_class out = mpz_class(text.digits.empty() ? "0" : text.digits, radix);
    const mpz_class scale = power(radix, abs(text.exponent));
    if (text.exponent < 0)
        out /= scale;
    else
        out *= scale;
    return text.positive ? out : mpq_class(-out);
}

template <class Number>
mpq_class value(const Number& x, int64_t exp_bits) {
    mpq_class out = significand(x);
    if (exp_bits < 0)
        out /= mpz_class(1) << static_cast<unsigned long>(-exp_bits);
    else
        out *= mpz_class(1) << static_cast<unsigned long>(exp_bits);
    return out;
}

// An error must be the parser's, at a place inside the text.
bool accepted(ExceptionWrapper* error, uint64_t chars) {
    if (error == nullptr) return true;
    unsigned long long place = 0;
    FUZZ_CHECK(std::sscanf(error->message, "Invalid character at position %llu.", &place) == 1);
    FUZZ_CHECK(place <= chars);
    error->destroy(error);
    return false;
}

template <class W>
void read_integer(FuzzedDataProvider& in, int radix) {
    using api = Api<W>;
    const uint64_t skew = in.ConsumeIntegralInRange<uint64_t>(0, 7) * sizeof(W);
    const std::string given = in.ConsumeRemainingBytesAsString();
    const std::vector<char> text(given.begin(), given.end());  // no zero byte behind it
    uint64_t capacity = 0, bytes = 0;
    if (radix == 10)
        expect_success(api::int_read_sizes(&capacity, &bytes, text.size(), 1));
    else
        expect_success(api::int_read_hex_sizes(&capacity, text.size()));
    Memory memory(bytes, skew);
    const BasicParameters params = parameters(memory);
    std::vector<W> words(capacity, static_cast<W>(0x5a5a5a5a));
    const std::vector<W> before = words;
    typename api::BigInt out{words.data(), 0, true, words.data(), capacity};
    ExceptionWrapper* error = radix == 10 ? api::int_read(&params, &out, text.data(), text.size())
                                          : api::int_read_hex(&out, text.data(), text.size());
    const Parsed want = parse(given, radix, false);
    FUZZ_CHECK(accepted(error, text.size()) == want.valid);
    if (want.valid)
        FUZZ_CHECK(mpq_class(significand(out)) == value(want, radix));
    else
        FUZZ_CHECK(words == before && out.L == 0);
}

template <class W>
void read_float(FuzzedDataProvider& in, int radix) {
    using api = Api<W>;
    const uint64_t p = in.ConsumeIntegralInRange<uint64_t>(0, 30);
    const std::string given = in.ConsumeRemainingBytesAsString();
    const std::vector<char> text(given.begin(), given.end());
    uint64_t capacity = 0, bytes = 0;
    if (radix == 10)
        expect_success(api::float_read_sizes(&capacity, &bytes, text.size(), p, 1));
    else
        expect_success(api::float_read_hex_sizes(&capacity, text.size(), p));
    Memory memory(bytes);
    const BasicParameters params = parameters(memory);
    std::vector<W> words(capacity, static_cast<W>(0x5a5a5a5a));
    const std::vector<W> before = words;
    typename api::BigFloat out{words.data(), 0, 0, true, words.data(), capacity};
    ExceptionWrapper* error = radix == 10 ? api::float_read(&params, &out, text.data(), text.size(), p)
                                          : api::float_read_hex(&out, text.data(), text.size(), p);
    const Parsed want = parse(given, radix, true);
    FUZZ_CHECK(accepted(error, text.size()) == want.valid);
    if (!want.valid) FUZZ_CHECK(words == before && out.L == 0);
    if (!want.valid || abs(want.exponent) > 2000) return;
    const mpq_class exact = value(want, radix);
    FUZZ_CHECK((out.L == 0) == (exact == 0));
    if (out.L == 0) return;
    const mpq_class got = value(out, out.exp * word_bits<W>);
    // Decimal: farther from zero by less than a unit in word p, or in word 1, but for what stands behind words of zeros;
    // hexadecimal: truncated to p + 2 words.
    const bool nearer = abs(got) < abs(exact);
    FUZZ_CHECK(radix == 10 || abs(got) <= abs(exact));
    const uint64_t held = radix == 16 || nearer ? p + 2 : std::max<uint64_t>(p, 1);
    typename api::BigFloat unit = out;  // of the last word held
    W one = 1;
    unit.T = &one;
    unit.L = 1;
    unit.sign = true;
    FUZZ_CHECK(abs(mpq_class(got - exact)) <
               value(unit, (out.exp + static_cast<int64_t>(out.L) - static_cast<int64_t>(held)) * word_bits<W>));
}

template <class W>
void write_integer(FuzzedDataProvider& in, int radix) {
    using api = Api<W>;
    const bool sign = in.ConsumeBool();
    const uint64_t tasks = in.ConsumeIntegralInRange<uint64_t>(1, 2);
    std::vector<W> digits = words<W>(in, in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 1500 : 60);
    while (!digits.empty() && digits.back() == 0) digits.pop_back();
    const typename api::BigInt x{digits.data(), digits.size(), sign || digits.empty(), digits.data(), digits.size()};
    uint64_t chars = 0, bytes = 0;
    if (radix == 10)
        expect_success(api::int_write_sizes(&chars, &bytes, x.L, tasks));
    else
        expect_success(api::int_write_hex_sizes(&chars, x.L));
    Memory memory(bytes);
    const BasicParameters params = parameters(memory, tasks);
    std::vector<char> buffer(chars);
    char* text = nullptr;
    expect_success(radix == 10 ? api::int_write(&params, &text, buffer.data(), &x)
                               : api::int_write_hex(&text, buffer.data(), &x));
    FUZZ_CHECK(text >= buffer.data() && text < buffer.data() + chars);
    FUZZ_CHECK(significand(x).get_str(radix) == text);
}

template <class W>
void write_float(FuzzedDataProvider& in, int radix) {
    using api = Api<W>;
    const uint64_t d = in.ConsumeIntegralInRange<uint64_t>(0, in.ConsumeIntegralInRange<int>(0, 7) == 0 ? 3000 : 60);
    const bool sign = in.ConsumeBool();
    const int64_t exp = in.ConsumeIntegralInRange<int64_t>(-40, 20);
    std::vector<W> digits = words<W>(in, 60);
    while (!digits.empty() && digits.back() == 0) digits.pop_back();
    const typename api::BigFloat x{digits.data(),          digits.size(), digits.empty() ? 0 : exp,
                                   sign || digits.empty(), digits.data(), digits.size()};
    uint64_t chars = 0, bytes = 0;
    if (radix == 10)
        expect_success(api::float_write_sizes(&chars, &bytes, d, 1));
    else
        expect_success(api::float_write_hex_sizes(&chars, d));
    Memory memory(bytes);
    const BasicParameters params = parameters(memory);
    std::vector<char> buffer(chars);
    char* text = nullptr;
    expect_success(radix == 10 ? api::float_write(&params, &text, buffer.data(), &x, d)
                               : api::float_write_hex(&text, buffer.data(), &x, d));
    FUZZ_CHECK(text >= buffer.data() && text < buffer.data() + chars);
    Parsed written = parse(text, radix, true);
    FUZZ_CHECK(written.valid);
    const mpq_class got = value(written, radix), exact = value(x, x.exp * word_bits<W>);
    if (x.L == 0) return FUZZ_CHECK(got == 0);
    FUZZ_CHECK(got != 0 && (got > 0) == sign);
    // the unit of digit d of the text
    written.exponent += static_cast<long>(written.digits.size() - written.digits.find_first_not_of('0')) -
                        static_cast<long>(std::max<uint64_t>(d, 1));
    written.digits = "1";
    written.positive = true;
    const mpq_class unit = value(written, radix), error = abs(mpq_class(got - exact));
    if (radix == 10)
        FUZZ_CHECK(error <= unit);
    else
        FUZZ_CHECK(error < unit && abs(got) <= abs(exact));
}

template <class W>
void one_input(FuzzedDataProvider& in) {
    const int radix = in.ConsumeBool() ? 10 : 16;
    switch (in.ConsumeIntegralInRange<int>(0, 3)) {
        case 0: return read_integer<W>(in, radix);
        case 1: return read_float<W>(in, radix);
        case 2: return write_integer<W>(in, radix);
        case 3: return write_float<W>(in, radix);
    }
}

}  // namespace

FUZZ_TARGET(one_input)
