#include "custom.h"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <map>
#include <sstream>

#include "failure.h"
#include "files.h"
#include "numbers.h"

namespace program {
namespace {

// What a file describes: scale / divisor / sqrt(root) times the series, or over it.
struct Description {
    Series series;
    std::uint64_t scale = 1, divisor = 1, root = 1;
    bool invert = false;
};

class Reader {
  public:
    explicit Reader(const std::string& file) : file_(file) {}

    Description read() {
        std::istringstream stream(read_text(file_));
        bool has_q = false;
        for (std::string line; std::getline(stream, line);) {
            ++line_;
            std::istringstream words(line.substr(0, line.find('#')));
            std::string name;
            if (!(words >> name)) continue;
            if (seen_[name]++ != 0) fail(name + " stands twice");
            if (name == "p") {
                out_.series.p = product(words);
            } else if (name == "q") {
                out_.series.q = product(words);
                has_q = true;
            } else if (name == "a") {
                for (std::string word; words >> word;) out_.series.a.push_back(number(word));
                if (out_.series.a.size() > 16) fail("a has more than 16 coefficients");
            } else if (name == "invert") {
                out_.invert = true;
            } else if (std::uint64_t* value = name == "scale"     ? &out_.scale
                                              : name == "divisor" ? &out_.divisor
                                              : name == "root"    ? &out_.root
                                                                  : nullptr) {
                std::string word;
                words >> word;
                *value = number(word);
                if (*value == 0) fail(name + " is zero");
            } else {
                fail(name + " is none of p, q, a, scale, divisor, root, invert");
            }
            std::string rest;
            if (words >> rest) fail(rest + " is too much");
        }
        ++line_;
        if (!has_q) fail("q is missing");
        if (out_.series.a.empty()) out_.series.a = {1};
        return out_;
    }

  private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw UserError(fmt::format("{}, line {}: {}", file_, line_, reason));
    }

    std::uint64_t number(std::string_view text) const {
        const std::optional<std::uint64_t> number = whole_number(text);
        if (!number) fail(fmt::format("'{}' is no number below 2^64", text));
        return *number;
    }

    // "-", a number, or a factor: k, k^3, (6k-5), (2k+1)^5.
    Product product(std::istringstream& words) const {
        Product out;
        unsigned powers = 0;
        for (std::string word; words >> word;) {
            if (word == "-") {
                out.negative = !out.negative;
            } else if (word.find('k') == std::string::npos) {
                const std::uint64_t m = number(word);
                if (m == 0 || std::bit_width(out.constant) + std::bit_width(m) > 64)
                    fail("the constant is zero or does not fit in 64 bits");
                out.constant *= m;
            } else {
                out.factors.push_back(factor(word));
                powers += out.factors.back().power;
            }
        }
        if (powers > 32) fail("more than 32 factors");
        return out;
    }

    Factor factor(std::string_view text) const {
        const std::string whole(text);
        Factor out{1, 0, 1};
        if (const std::size_t caret = text.find('^'); caret != std::string_view::npos) {
            const std::uint64_t power = number(text.substr(caret + 1));
            if (power < 1 || power > 32) fail("a power is not within 1 to 32");
            out.power = static_cast<unsigned>(power);
            text = text.substr(0, caret);
        }
        if (text.size() > 1 && text.front() == '(' && text.back() == ')') text = text.substr(1, text.size() - 2);
        const std::size_t k = text.find('k');
        if (k == std::string_view::npos) fail(fmt::format("'{}' is no factor", whole));
        if (k > 0) out.multiplier = number(text.substr(0, k));
        const std::string_view rest = text.substr(k + 1);
        if (!rest.empty()) {
            if (rest[0] != '+' && rest[0] != '-') fail(fmt::format("'{}' is no factor", whole));
            const std::uint64_t addend = number(rest.substr(1));
            if (addend > UINT32_MAX) fail("an addend does not fit in 32 bits");
            out.addend = rest[0] == '-' ? -static_cast<std::int64_t>(addend) : static_cast<std::int64_t>(addend);
        }
        if (out.multiplier == 0 || out.multiplier > UINT32_MAX) fail(fmt::format("'{}' is no factor", whole));
        if (static_cast<std::int64_t>(out.multiplier) + out.addend <= 0)
            fail(fmt::format("'{}' is not positive for k = 1", whole));
        return out;
    }

    const std::string file_;
    std::uint64_t line_ = 0;
    std::map<std::string, int> seen_;
    Description out_;
};

// The top words of a long number, for a comparison of sizes.
kv::Real head(kv::Real x) { return std::move(x.set_precision(2)); }

}  // namespace

Formula formula_from_file(const std::string& file) {
    const Description d = Reader(file).read();
    // Digits of the sum that what stands below it multiplies errors by, where it is small.
    constexpr double least_below = 20;
    const double extra =
        integer_digits(d.series) + std::log10(static_cast<double>(d.scale)) + (d.invert ? 2 * least_below : 0);
    return {file,
            40,
            [d](Workshop& shop) {
                Fraction s = shop.sum(d.series);
                kv::Real &above = d.invert ? s.denominator : s.numerator,
                         &below = d.invert ? s.numerator : s.denominator;
                if (below.is_zero()) throw UserError("the series is zero and stands below");
                if (d.invert) {
                    kv::Real least = head(above);
                    least.scale(-static_cast<std::int64_t>(least_below * std::log2(10.0)));
                    if (abs(head(below)) < abs(least)) throw UserError("the sum is below 10^-20 and stands below");
                }
                below.multiply_word(d.divisor);
                kv::Real out = shop.quotient(std::move(above), below);
                s = Fraction();
                out.multiply_word(d.scale);
                if (d.root != 1) out *= shop.inv_sqrt(d.root);
                return out;
            },
            {d.series},
            extra};
}

}  // namespace program
