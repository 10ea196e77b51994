#include "arithmetic.h"

#include <kvnum/kvnum.hpp>
#include <utility>

#include "failure.h"
#include "files.h"

namespace program {
namespace {

kv::Integer read(const std::string& file, bool hex) {
    const std::string text = read_operand(file, hex);
    return hex ? kv::Integer::from_hex(text) : kv::Integer::from_decimal(text);
}

std::pair<kv::Integer, kv::Integer> read_both(const ArithmeticRequest& request) {
    if (request.a == "-" && request.b == "-") throw UserError("only one operand can be standard input");
    kv::Integer a = read(request.a, request.hex);
    return {std::move(a), read(request.b, request.hex)};
}

kv::Text text_of(const kv::Integer& x, bool hex) { return hex ? x.to_hex() : x.to_decimal(); }

void write(const ArithmeticRequest& request, const kv::Integer& x) {
    write_result(request.output, text_of(x, request.hex).view());
}

}  // namespace

void multiply(const ArithmeticRequest& request) {
    const auto [a, b] = read_both(request);
    write(request, a * b);
}

void square(const ArithmeticRequest& request) {
    const kv::Integer a = read(request.a, request.hex);
    write(request, a * a);
}

void divide(const ArithmeticRequest& request) {
    const auto [a, b] = read_both(request);
    if (b.is_zero()) throw UserError("division by zero");
    const auto [quotient, remainder] = divmod(a, b);
    OutputFile out(request.output);
    out.write(text_of(quotient, request.hex).view());
    out.write("\n");
    out.write(text_of(remainder, request.hex).view());
    out.write("\n");
    out.finish();
}

void power(const ArithmeticRequest& request) {
    const kv::Integer a = read(request.a, request.hex);
    // Longer powers of anything but 0, 1 and -1 fit into no memory.
    if (a.bits() > 1 && request.exponent > (std::uint64_t{1} << 50) / a.bits())
        throw UserError("the power is too long");
    write(request, pow(a, request.exponent));
}

void convert(const ArithmeticRequest& request) {
    const kv::Integer a = read(request.a, request.hex);
    write_result(request.output, text_of(a, !request.hex).view());
}

}  // namespace program
