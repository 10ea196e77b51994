#include "self_benchmark.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <kvnum/kvnum.hpp>
#include <vector>

#include "constants.h"

namespace program {
namespace {

// The shortest of as many runs as fit in half a second, three at least.
template <class Work>
double seconds_of(Work&& work) {
    using Clock = std::chrono::steady_clock;
    double best = 1e300, total = 0;
    for (int run = 0; run < 3 || total < 0.5; ++run) {
        const auto start = Clock::now();
        work();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, seconds);
        total += seconds;
        if (total > 3) break;
    }
    return best;
}

kv::Integer arbitrary(std::uint64_t words, std::uint64_t seed) {
    std::vector<std::uint64_t> w(words);
    for (std::uint64_t& x : w) x = seed = seed * 6'364'136'223'846'793'005 + 1'442'695'040'888'963'407;
    return kv::Integer::from_words(w.data(), words);
}

std::string milliseconds(double seconds) { return fmt::format("{:>12.3f}", 1e3 * seconds); }

}  // namespace

void self_benchmark() {
    fmt::print("{} tasks, {}; milliseconds\n{:>10}{:>12}{:>12}{:>12}{:>12}{:>12}\n", kv::Context::current().tasks(),
               kv::Context::framework(), "digits", "product", "square", "division", "text", "pi");
    for (std::uint64_t digits : {1'000, 10'000, 100'000, 1'000'000}) {
        const auto words = static_cast<std::uint64_t>(static_cast<double>(digits) * 0.0519051265) + 1;
        const kv::Integer a = arbitrary(words, 1), b = arbitrary(words, 2), ab = a * b;
        const std::string product = milliseconds(seconds_of([&] { (void)(a * b); }));
        const std::string square = milliseconds(seconds_of([&] { (void)(a * a); }));
        const std::string division = milliseconds(seconds_of([&] { (void)(ab / a); }));
        const std::string text = milliseconds(seconds_of([&] { (void)a.to_decimal(); }));
        const std::string circle = milliseconds(seconds_of([&] {
            Progress progress(false, 1);
            Workshop shop{progress, kv::Real::words_for_digits(digits), static_cast<double>(digits)};
            (void)pi().first.evaluate(shop);
        }));
        fmt::print("{:>10}{}{}{}{}{}\n", digits, product, square, division, text, circle);
        std::fflush(stdout);
    }
}

}  // namespace program
