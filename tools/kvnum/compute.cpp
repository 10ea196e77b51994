#include "compute.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "failure.h"
#include "files.h"

namespace program {
namespace {

constexpr double digits_per_hex_digit = 1.2041199826559248;  // log10(16)
constexpr std::uint64_t guard_digits = 12;
constexpr std::uint64_t terminal_digits = 10'000;  // more go into a file
constexpr std::uint64_t last_digits = 50;
constexpr std::uint64_t most_digits = 1'000'000'000'000'000;

double decimal_digits(const ComputeRequest& request) {
    return static_cast<double>(request.digits) * (request.hex ? digits_per_hex_digit : 1.0) + 2 * guard_digits;
}
double decimal_digits(const ComputeRequest& request, const Formula& formula) {
    return decimal_digits(request) + formula.extra;
}

std::uint64_t precision_of(const ComputeRequest& request, const Formula& formula) {
    return kv::Real::words_for_digits(static_cast<std::uint64_t>(decimal_digits(request, formula)) + 20);
}

std::string mebibytes(std::uint64_t bytes) {
    return fmt::format("{:.1f} MiB", static_cast<double>(bytes) / (1 << 20));
}

// The wanted digits of a number: its integer part with the sign, the point and the digits behind it. Zeros at the end may
// be missing.
struct Digits {
    kv::Text text;
    std::string before;
    std::string_view after;
};

// The digits of x, cut behind the wanted ones. Guard digits of nothing but nines or zeros leave open whether the
// digits before them are right; then there is no value.
std::optional<Digits> digits_of(const kv::Real& x, const ComputeRequest& request) {
    // Digits are counted from the first one; below one that is the 1 which is added.
    const kv::Integer integer = x.to_integer();
    const bool proper = integer.is_zero();
    const kv::Real moved = proper ? abs(x) + kv::Real(1, x.precision()) : kv::Real();
    const std::uint64_t integer_bits = proper ? 1 : integer.bits();
    const double per_digit = request.hex ? 4 : std::log2(10.0);
    const std::uint64_t d = request.digits + guard_digits + 10 +
                            static_cast<std::uint64_t>(static_cast<double>(integer_bits) / per_digit) + 1;
    const kv::Real& shown = proper ? moved : x;
    Digits out{request.hex ? shown.to_hex(d) : shown.to_decimal(d), {}, {}};
    const std::string_view all = out.text.view();
    const std::size_t point = std::min(all.find('.'), all.size());
    if (all.find_first_not_of("0123456789abcdef", all[0] == '-') < point)
        throw LibraryError("the text of a number is not positional");
    const std::string_view fraction = all.substr(std::min(point + 1, all.size()));
    const std::string_view guard = fraction.substr(std::min<std::size_t>(request.digits, fraction.size()));
    const bool whole = fraction.find_first_not_of('0') == std::string_view::npos;
    if (!whole && (guard.find_first_not_of('0') == std::string_view::npos ||
                   (guard.size() >= 5 && guard.find_first_not_of(request.hex ? 'f' : '9') == std::string_view::npos)))
        return std::nullopt;
    if (!fraction.empty()) out.after = all.substr(point, 1 + std::min<std::size_t>(request.digits, fraction.size()));
    // Nothing but zeros has no sign: it may be that of an error.
    const bool zeros = out.after.find_first_not_of(".0") == std::string_view::npos;
    out.before = !proper ? std::string(all.substr(0, point)) : x.sign() < 0 && !zeros ? "-0" : "0";
    return out;
}

// Both values agree in all wanted digits and some of the guard digits.
void require_agreement(const kv::Real& x, const kv::Real& y, const ComputeRequest& request) {
    const double bits = (decimal_digits(request) - guard_digits) * std::log2(10.0);
    kv::Real unit(1, 1);
    unit.scale(-static_cast<std::int64_t>(bits));
    if (abs(x - y) >= unit) throw LibraryError("the second formula gives another value: the result is not written");
}

kv::Real evaluate(const Formula& formula, Progress& progress, const ComputeRequest& request) {
    Workshop shop{progress, precision_of(request, formula), decimal_digits(request, formula)};
    kv::Real value = formula.evaluate(shop);
    kv::Context::current().release();
    return value;
}

struct Summary {
    const Constant& constant;
    const ComputeRequest& request;
    const Progress& progress;
    std::string file, last;
    std::uint64_t foreseen;
};

void print_summary(const Summary& s) {
    const kv::Context& context = kv::Context::current();
    std::string phases;
    for (const Phase& phase : s.progress.phases())
        phases += fmt::format("{}{} {:.3f}", phases.empty() ? "" : ", ", phase.name, phase.seconds);
    const std::string checks =
        s.request.verify ? "every product; second formula (" + s.constant.second.name + ") agrees" : "every product";
    tell(
        fmt::format("{:<10}{}, {} {} digits after the point\n{:<10}{}\n{:<10}{:.3f} s: {}\n{:<10}{} at its peak, {} "
                    "foreseen\n{:<10}{}, {}\n{:<10}{}\n{:<10}{}\n",
                    "constant", s.constant.name, s.request.digits, s.request.hex ? "hexadecimal" : "decimal",
                    "formula", s.constant.first.name, "time", s.progress.seconds(), phases, "memory",
                    mebibytes(peak_memory_bytes()), mebibytes(s.foreseen), "threads", context.tasks(),
                    kv::Context::framework(), "checks", checks, "last", s.last));
    if (!s.file.empty()) tell(fmt::format("{:<10}{}\n", "file", s.file));
}

std::string json_text(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        if (static_cast<unsigned char>(c) < ' ')
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        else
            out += c;
    }
    return out + '"';
}

void print_json(const Summary& s) {
    std::string phases;
    for (const Phase& phase : s.progress.phases())
        phases += fmt::format("{}{}: {:.6f}", phases.empty() ? "" : ", ", json_text(phase.name), phase.seconds);
    tell(fmt::format(
        "{{\"constant\": {}, \"digits\": {}, \"base\": {}, \"formula\": {}, \"seconds\": {:.6f}, \"phases\": "
        "{{{}}}, \"peak_bytes\": {}, \"foreseen_bytes\": {}, \"threads\": {}, \"framework\": {}, \"verified\": "
        "{}, \"last\": {}, \"file\": {}}}\n",
        json_text(s.constant.name), s.request.digits, s.request.hex ? 16 : 10, json_text(s.constant.first.name),
        s.progress.seconds(), phases, peak_memory_bytes(), s.foreseen, kv::Context::current().tasks(),
        json_text(kv::Context::framework()), s.request.verify, json_text(s.last),
        s.file.empty() ? "null" : json_text(s.file)));
}

}  // namespace

// The largest of: the sums, with the number that a formula of several keeps meanwhile; a division or a square root by
// Newton's iteration, which hold ten numbers and the arena of a product at most; the text with its number. On top, what
// the allocator keeps of small blocks and the tables of the process.
std::uint64_t memory_foreseen(const Constant& constant, const ComputeRequest& request) {
    using enum kv::Real::Operation;
    const std::uint64_t p = std::max(precision_of(request, constant.first),
                                     request.verify ? precision_of(request, constant.second) : 0),
                        number = 8 * (p + 4), tasks = kv::Context::current().tasks();
    const std::uint64_t kept = request.verify ? number : 0;
    std::uint64_t sums = 0;
    auto add_sums = [&](const Formula& formula) {
        for (const Series& series : formula.sums) {
            const std::uint64_t terms = terms_needed(series, decimal_digits(request, formula));
            const std::uint64_t before = formula.sums.size() > 1 ? number : 0;
            sums = std::max(sums, before + sum_bytes(series, terms, p, tasks));
        }
    };
    add_sums(constant.first);
    if (request.verify) add_sums(constant.second);
    const std::uint64_t division = 3 * number + kv::Real::bytes_needed(divide, p).total();
    const std::uint64_t newton = 4 * number + kv::Real::bytes_needed(kv::Real::Operation::sqrt, p).total();
    const std::uint64_t digits =
        request.digits + guard_digits + 11 + static_cast<std::uint64_t>(constant.first.extra);
    const std::uint64_t text = 2 * number + kv::Real::bytes_needed(request.hex ? to_hex : to_decimal, digits).total();
    const std::uint64_t most = kept + std::max({sums, division, newton, text});
    return most + most / 16 + (std::uint64_t{32} << 20) + (tasks * 4 << 20);
}

void compute(const Constant& constant, const ComputeRequest& request) {
    if (request.digits == 0) throw UserError("at least one digit");
    if (request.digits > most_digits) throw UserError(fmt::format("at most {} digits", most_digits));
    const std::uint64_t foreseen = memory_foreseen(constant, request);
    if (request.memory_limit != 0 && foreseen > request.memory_limit)
        throw UserError(fmt::format("{} digits need {}, more than the limit of {}", request.digits,
                                    mebibytes(foreseen), mebibytes(request.memory_limit)));

    std::string file = request.output;
    const bool terminal = is_terminal(stdout);
    if (file.empty() && terminal && request.digits > terminal_digits)
        file = fmt::format("{}-{}{}.txt", constant.name, request.digits, request.hex ? "-hex" : "");
    OutputFile out(file);

    constexpr double text_weight = 8;
    const double weight = constant.first.weight + (request.verify ? constant.second.weight : 0) + text_weight;
    std::string last;
    {
        Progress progress(!request.quiet && is_terminal(stderr), weight);
        std::optional<Digits> digits;
        {
            const kv::Real value = evaluate(constant.first, progress, request);
            if (request.verify) {
                const kv::Real again = evaluate(constant.second, progress, request);
                require_agreement(value, again, request);
            }
            progress.begin("text", text_weight);
            digits = digits_of(value, request);
        }
        if (!digits) {
            progress.end();
            throw LibraryError(
                "the digits end within a long run of equal digits, or the value ends: ask for a few more "
                "or less");
        }
        kv::Context::current().release();
        progress.begin("writing", 0);
        out.write(digits->before);
        out.write(digits->after);
        // A whole number has no more digits of its own.
        const std::uint64_t there = digits->after.empty() ? 0 : digits->after.size() - 1;
        std::string zeros = digits->after.empty() ? "." : "";
        zeros.append(request.digits - there, '0');
        out.write(zeros);
        out.write("\n");
        out.finish();
        progress.end();
        const auto tail = [](std::string_view s) {
            return s.substr(s.size() - std::min<std::size_t>(s.size(), last_digits));
        };
        last = tail(fmt::format("{}{}{}", tail(digits->before), tail(digits->after), tail(zeros)));
        if (terminal && !file.empty() && request.output.empty())
            fmt::print("{}{}... {} digits ...{}\n", digits->before, digits->after.substr(0, 51), request.digits,
                       last);
        std::fflush(stdout);
        if (!request.quiet) {
            // The bar goes before the summary comes.
            progress.hide();
            const Summary summary{constant, request, progress, file, last, foreseen};
            request.json ? print_json(summary) : print_summary(summary);
        }
    }
}

}  // namespace program
