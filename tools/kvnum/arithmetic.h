#pragma once
// Operations on integers in files.

#include <cstdint>
#include <string>

namespace program {

struct ArithmeticRequest {
    std::string a, b, output;
    std::uint64_t exponent = 0;
    bool hex = false;
};

void multiply(const ArithmeticRequest& request);
void square(const ArithmeticRequest& request);
void divide(const ArithmeticRequest& request);  // quotient and remainder, a line each
void power(const ArithmeticRequest& request);
void convert(const ArithmeticRequest& request);  // from decimal to hexadecimal; the other way with hex

}  // namespace program
