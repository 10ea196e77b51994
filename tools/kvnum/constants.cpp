#include "constants.h"

#include <cmath>

#include "failure.h"

namespace program {
namespace {

using kv::Real;

constexpr double series_weight = 30;

const Series chudnovsky_series{
    {1, {{6, -5}, {2, -1}, {6, -1}}, true}, {10'939'058'860'032'000, {{1, 0, 3}}}, {13'591'409, 545'140'134}};
const Series ramanujan_series{{1, {{4, -3}, {2, -1}, {4, -1}}}, {3'073'907'232, {{1, 0, 3}}}, {1'103, 26'390}};
const Series gamma_series{{1, {{6, -5}, {2, -1}, {6, -1}}}, {11'979, {{1, 0, 3}}}, {1}};

// D. and G. Chudnovsky, 1988: pi = 426880 sqrt(10005) / S.
Real chudnovsky(Workshop& shop) {
    Fraction s = shop.sum(chudnovsky_series);
    Real out = shop.quotient(std::move(s.denominator), s.numerator);
    s.numerator = Real();
    out *= shop.inv_sqrt(10'005);
    return std::move(out.multiply_word(std::uint64_t{426'880} * 10'005));
}

// S. Ramanujan, 1914: pi = 9801 / (2 sqrt(2) S).
Real ramanujan(Workshop& shop) {
    Fraction s = shop.sum(ramanujan_series);
    Real out = shop.quotient(std::move(s.denominator), s.numerator);
    out *= shop.inv_sqrt(2);
    return std::move(out.multiply_word(9'801).scale(-1));
}

// c0 atanh(1/x0) + c1 atanh(1/x1) + ..; atanh(1/x) = 1/x sum of 1 / ((2k + 1) x^(2k)).
struct Atanh {
    std::int64_t c;
    std::uint64_t x;
};
Series atanh_series(std::uint64_t x) { return {{1, {{2, -1}}}, {x * x, {{2, 1}}}, {1}}; }
Formula machin_like(const char* name, std::vector<Atanh> terms) {
    std::vector<Series> sums;
    for (const Atanh& term : terms) sums.push_back(atanh_series(term.x));
    return {name, static_cast<double>(terms.size()) * 12,
            [terms](Workshop& shop) {
                Real out(0, shop.precision);
                for (const auto& [c, x] : terms) {
                    Fraction s = shop.sum(atanh_series(x));
                    s.numerator.multiply_word(kv::detail::magnitude(c));
                    s.denominator.multiply_word(x);
                    const Real part = shop.quotient(std::move(s.numerator), s.denominator);
                    c < 0 ? out -= part : out += part;
                }
                return out;
            },
            std::move(sums)};
}

// S / divisor
Formula plain_series(const char* name, const Series& series, std::uint64_t divisor) {
    return {name,
            series_weight + 4,
            [series, divisor](Workshop& shop) {
                Fraction s = shop.sum(series);
                s.denominator.multiply_word(divisor);
                return shop.quotient(std::move(s.numerator), s.denominator);
            },
            {series}};
}

std::uint64_t integer_root(std::uint64_t x) {
    auto root = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(x)));
    root = std::min<std::uint64_t>(root, UINT32_MAX);
    while (root * root > x) --root;
    while (root < UINT32_MAX && (root + 1) * (root + 1) <= x) ++root;
    return root;
}

Real root_of_word(Workshop& shop, std::uint64_t x) {
    if (const std::uint64_t root = integer_root(x); root * root == x) return Real(root, shop.precision);
    return std::move(shop.inv_sqrt(x).multiply_word(x));
}

Real root_by_newton(Workshop& shop, const Real& x) {
    shop.progress.begin("square root", 12);
    return sqrt(x);
}

// The lemniscate: Gamma(1/4)^2 = 2 pi^(3/2) / agm(1, 1/sqrt(2)).
Real gamma_by_mean(Workshop& shop) {
    Real root_pi = root_by_newton(shop, chudnovsky(shop));
    shop.progress.begin("mean", 200);
    Real a(1, shop.precision), b = Real::inv_sqrt(2, shop.precision);
    // Each step doubles the digits that the means share.
    for (double shared = 1; shared < 2 * shop.digits; shared *= 2) {
        Real product = a * b;
        a += b;
        a.scale(-1);
        b = sqrt(product);
    }
    Real out = shop.quotient(root_pi * root_pi * root_pi, a);
    return root_by_newton(shop, out.scale(1));
}

// Gamma(1/4)^4 = 32 pi^3 S / sqrt(33), S = sum of (6k)! / ((3k)! k!^3 66^(3k)): the period of the elliptic curve with
// multiplication by 2i, of invariant 66^3.
Real gamma_by_series(Workshop& shop) {
    Fraction s = shop.sum(gamma_series);
    Real value = shop.quotient(std::move(s.numerator), s.denominator);
    s = Fraction();
    value *= shop.inv_sqrt(33);
    const Real pi = chudnovsky(shop);
    value *= pi * pi;
    value *= pi;
    value.scale(5);
    return root_by_newton(shop, root_by_newton(shop, value));
}

}  // namespace

Fraction Workshop::sum(const Series& series, const char* phase) {
    const std::uint64_t terms = terms_needed(series, digits);
    progress.begin(phase, series_weight, work_units(terms));
    Fraction out = sum_series(series, terms, precision, progress.done());
    kv::Context::current().release();
    return out;
}

Real Workshop::quotient(Real a, const Real& b) {
    progress.begin("division", 3);
    a /= b;
    return a;
}

Real Workshop::inv_sqrt(std::uint64_t x) {
    progress.begin("square root", 3);
    return Real::inv_sqrt(x, precision);
}

Constant pi() {
    return {"pi",
            {"Chudnovsky", series_weight + 6, chudnovsky, {chudnovsky_series}},
            {"Ramanujan", series_weight + 6, ramanujan, {ramanujan_series}}};
}

Constant e() {
    const Series exponential{{}, {1, {{1, 0}}}, {1}};
    Series alternating = exponential;
    alternating.p.negative = true;
    return {"e",
            plain_series("the sum of 1/k!", exponential, 1),
            {"one over the sum of (-1)^k/k!",
             series_weight + 4,
             [alternating](Workshop& shop) {
                 Fraction s = shop.sum(alternating);
                 return shop.quotient(std::move(s.denominator), s.numerator);
             },
             {alternating}}};
}

Constant log_of(std::uint64_t x) {
    if (x == 2)
        return {"log2", machin_like("Machin-like, 3 terms", {{18, 26}, {-2, 4801}, {8, 8749}}),
                machin_like("Machin-like, 4 terms", {{144, 251}, {54, 449}, {-38, 4801}, {62, 8749}})};
    if (x == 10)
        return {"log10", machin_like("Machin-like, 3 terms", {{46, 31}, {34, 49}, {20, 161}}),
                machin_like("Machin-like, 4 terms", {{478, 251}, {180, 449}, {-126, 4801}, {206, 8749}})};
    throw UserError("log is there for 2 and 10");
}

Constant sqrt_of(std::uint64_t x) {
    return {"sqrt" + std::to_string(x),
            {"the inverse square root", 5, [x](Workshop& shop) { return root_of_word(shop, x); }},
            {"Newton's iteration on products", 12,
             [x](Workshop& shop) { return root_by_newton(shop, Real(x, shop.precision)); }}};
}

Constant golden_ratio() {
    auto from_root = [](Real root) {
        root += Real(1, root.precision());
        return std::move(root.scale(-1));
    };
    return {"golden",
            {"the inverse square root", 5, [=](Workshop& shop) { return from_root(root_of_word(shop, 5)); }},
            {"Newton's iteration on products", 12,
             [=](Workshop& shop) { return from_root(root_by_newton(shop, Real(5, shop.precision))); }}};
}

// T. Amdeberhan and D. Zeilberger, 1997; S. Wedeniwski, 1998.
Constant zeta3() {
    return {
        "zeta3",
        plain_series("Amdeberhan and Zeilberger", {{1, {{1, 0, 5}}, true}, {32, {{2, 1, 5}}}, {77, 250, 205}}, 64),
        plain_series("Wedeniwski",
                     {{1, {{1, 0, 5}, {2, -1, 3}}, true},
                      {24, {{3, 1}, {3, 2}, {4, 1, 3}, {4, 3, 3}}},
                      {12'463, 104'000, 336'367, 531'578, 412'708, 126'392}},
                     10'368)};
}

// J. Guillera, 2008; A. Lupas, 2000.
Constant catalan() {
    return {"catalan", plain_series("Guillera", {{1, {{1, 0, 3}}, true}, {1, {{2, 1, 3}}}, {2, 3}}, 2),
            plain_series("Lupas", {{32, {{1, 0, 3}, {2, -1}}, true}, {1, {{4, 1, 2}, {4, 3, 2}}}, {19, 56, 40}}, 18)};
}

Constant gamma_quarter() {
    return {"gamma14",
            {"the period of a curve of invariant 66^3",
             2 * series_weight + 40,
             gamma_by_series,
             {gamma_series, chudnovsky_series}},
            {"the arithmetic-geometric mean", series_weight + 250, gamma_by_mean, {chudnovsky_series}}};
}

}  // namespace program
