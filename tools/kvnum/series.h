#pragma once
// Hypergeometric series by binary splitting:  S = sum over k >= 0 of a(k) * p(1)..p(k) / (q(1)..q(k)).

#include <atomic>
#include <cstdint>
#include <kvnum/kvnum.hpp>
#include <vector>

namespace program {

// (multiplier * k + addend)^power; positive for k >= 1.
struct Factor {
    std::uint64_t multiplier;
    std::int64_t addend;
    unsigned power = 1;
};

// A constant times factors, with a sign.
struct Product {
    std::uint64_t constant = 1;
    std::vector<Factor> factors;
    bool negative = false;
};

struct Series {
    Product p, q;
    std::vector<std::uint64_t> a;  // coefficients of the polynomial a(k), the constant one first
};

// The series is numerator / denominator.
struct Fraction {
    kv::Real numerator, denominator;
};

// Terms after which the rest is below 10^-digits. Throws UserError for a series that does not converge.
std::uint64_t terms_needed(const Series& series, double digits);

// Decimal digits of the integer part of the largest term, at most.
double integer_digits(const Series& series);

// Sums the terms at that precision in words: integers are exact until they outgrow it. Runs on the tasks of the
// current Context. done counts up to work_units(terms).
Fraction sum_series(const Series& series, std::uint64_t terms, std::uint64_t precision,
                    std::atomic<std::uint64_t>& done);
std::uint64_t work_units(std::uint64_t terms);

// Bytes that summing takes at most: the numbers and arenas of all ranges that are open at once.
std::uint64_t sum_bytes(const Series& series, std::uint64_t terms, std::uint64_t precision, std::uint64_t tasks);

}  // namespace program
