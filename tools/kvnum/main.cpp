// kvnum: constants to any number of digits and arithmetic on integers in files, on the library's public interface.
// See docs/program.md.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <kvnum/kvnum.hpp>
#include <new>
#include <string>
#include <thread>

#include "arithmetic.h"
#include "compute.h"
#include "custom.h"
#include "failure.h"
#include "files.h"
#include "interrupt.h"
#include "numbers.h"
#include "progress.h"
#include "self_benchmark.h"

namespace program {
namespace {

constexpr int library_failure = 1, user_failure = 2;

struct Request {
    ArithmeticRequest arithmetic;
    ComputeRequest compute;
    std::uint64_t radicand = 0;
    std::string memory, framework;
    std::uint64_t threads = std::max(1u, std::thread::hardware_concurrency());
};

// "500M", "2G", "1000000": bytes.
std::uint64_t bytes_of(const std::string& text) {
    std::size_t end = 0;
    double number = -1;
    try {
        number = std::stod(text, &end);
    } catch (const std::exception&) {
    }
    const std::string unit = text.substr(std::min(end, text.size()));
    const std::string units = "kmgt";
    int power = 0;
    if (!unit.empty()) {
        const std::size_t at = units.find(static_cast<char>(std::tolower(static_cast<unsigned char>(unit[0]))));
        const std::string rest = unit.substr(1);
        if (at == std::string::npos || !(rest.empty() || rest == "B" || rest == "iB")) number = -1;
        power = static_cast<int>(at) + 1;
    }
    const double bytes = std::ldexp(number, 10 * power);
    if (!(bytes >= 1) || bytes > 1e18) throw UserError(text + " is no amount of memory: 500M, 2G");
    return static_cast<std::uint64_t>(bytes);
}

template <class Action>
void with_context(const Request& request, Action&& action) {
    kv::Context context(request.threads, request.framework.empty() ? nullptr : request.framework.c_str());
    action();
}

class CommandLine {
  public:
    CommandLine() {
        app.name("kvnum");
        app.require_subcommand(1);
        add_constant("pi", "the circle number", pi);
        add_constant("e", "the base of the natural logarithm", e);
        add_constant("golden", "the golden ratio", golden_ratio);
        add_constant("zeta3", "zeta(3)", zeta3);
        add_constant("catalan", "Catalan's constant", catalan);
        add_constant("gamma14", "Gamma(1/4)", gamma_quarter);
        CLI::App* log = add_constant(
            "log", "the natural logarithm of 2 or 10", [this] { return log_of(request.radicand); }, true);
        log->get_option("X")->description("2 or 10");
        CLI::App* root = add_constant(
            "sqrt", "the square root of an integer below 2^64", [this] { return sqrt_of(request.radicand); }, true);
        root->get_option("X")->description("the integer");

        CLI::App* custom = add_constant("custom", "a series described in a file", [this] {
            Formula formula = formula_from_file(series_file);
            Formula second = against_file.empty() ? formula : formula_from_file(against_file);
            request.compute.verify |= !against_file.empty();
            if (request.compute.verify && against_file.empty())
                throw UserError("custom is verified by another series: --against FILE");
            return Constant{"custom", std::move(formula), std::move(second)};
        });
        custom->add_option("--series", series_file, "the description")->required()->type_name("FILE");
        custom->add_option("--against", against_file, "a second series of the same value")->type_name("FILE");

        add_operation("mul", "the product of two integers", 2, &multiply);
        add_operation("sqr", "the square of an integer", 1, &square);
        add_operation("div", "the quotient and the remainder of two integers, a line each", 2, &divide);
        add_number(add_operation("pow", "a power of an integer", 1, &power), "N", request.arithmetic.exponent,
                   "exponent");
        add_operation("convert", "decimal to hexadecimal, with --hex the other way", 1, &convert);
        CLI::App* info = app.add_subcommand("info", "version, kernels and tuning of the library");
        info->final_callback([] {
            SetConsoleSink(nullptr, nullptr);
            PrintVersionInfo();
            CompilationOptions();
        });
        CLI::App* bench = app.add_subcommand("bench", "times of products, division, text and pi, a few seconds");
        add_thread_options(bench);
        bench->final_callback([this] { with_context(request, self_benchmark); });
    }

    CLI::App app{
        "Constants to any number of digits, and arithmetic on integers of any length. Operands are files, or - for "
        "standard input: an optional sign, digits; white space and line breaks may stand anywhere."};

  private:
    template <class Make>
    CLI::App* add_constant(const char* name, const char* description, Make make, bool has_argument = false) {
        CLI::App* command = app.add_subcommand(name, description);
        if (has_argument) add_number(command, "X", request.radicand);
        add_number(command, "DIGITS", request.compute.digits, "digits after the point");
        command->add_flag("--verify", request.compute.verify, "compute it by a second formula, and compare");
        command->add_option("--memory", request.memory, "refuse to start where more may be needed, as 500M or 2G")
            ->type_name("LIMIT");
        command->add_flag("--quiet", request.compute.quiet, "no bar and no summary");
        command->add_flag("--json", request.compute.json, "the summary as one line of JSON");
        add_common_options(command, "digits are hexadecimal");
        command->final_callback([this, make] {
            request.compute.hex = request.arithmetic.hex;
            request.compute.output = request.arithmetic.output;
            if (!request.memory.empty()) request.compute.memory_limit = bytes_of(request.memory);
            with_context(request, [&] {
                const Constant constant = make();
                compute(constant, request.compute);
            });
        });
        return command;
    }

    CLI::App* add_operation(const char* name, const char* description, int operands,
                            void (*run)(const ArithmeticRequest&)) {
        CLI::App* command = app.add_subcommand(name, description);
        command->add_option("A", request.arithmetic.a, "operand")->required()->type_name("FILE");
        if (operands == 2)
            command->add_option("B", request.arithmetic.b, "second operand")->required()->type_name("FILE");
        add_common_options(command, "operands and result are hexadecimal");
        command->final_callback([this, run] { with_context(request, [&] { run(request.arithmetic); }); });
        return command;
    }

    // CLI11 would take -1 for 2^64 - 1, and 010 for eight.
    void add_number(CLI::App* command, const char* name, std::uint64_t& out, const char* description = "") {
        const auto read = [name, &out](const std::string& text) {
            const std::optional<std::uint64_t> number = whole_number(text);
            if (!number) throw UserError(fmt::format("{}: '{}' is no number below 2^64", name, text));
            out = *number;
        };
        command->add_option_function<std::string>(name, read, description)->required()->type_name("UINT");
    }

    void add_common_options(CLI::App* command, const char* hex) {
        command->add_flag("--hex", request.arithmetic.hex, hex);
        command->add_option("-o,--output", request.arithmetic.output, "write the result into FILE")
            ->type_name("FILE");
        add_thread_options(command);
    }

    void add_thread_options(CLI::App* command) {
        command->add_option("--threads", request.threads, "tasks that the operation may use")
            ->check(CLI::Range(1u, 4096u))
            ->capture_default_str();
        command->add_option("--framework", request.framework, "what runs them")
            ->check(CLI::IsMember({"none", "spawn", "cppasync", "winpool", "cilk"}));
    }

    Request request;
    std::string series_file, against_file;
};

int run(int argc, char** argv) {
    CommandLine line;
    try {
        line.app.parse(argc, argv);
        return 0;
    } catch (const CLI::ParseError& error) {
        return line.app.exit(error) == 0 ? 0 : user_failure;
    }
}

int main(int argc, char** argv) {
    kv::Context::quiet();
    return_long_numbers();
    end_on_interrupt();
    auto fail = [](int status, const std::string& reason) {
        tell(fmt::format("kvnum: {}\n", reason));
        return status;
    };
    try {
        const int status = run(argc, argv);
        finish_standard_output();
        return status;
    } catch (const UserError& error) {
        return fail(user_failure, error.what());
    } catch (const std::bad_alloc&) {
        return fail(library_failure, "not enough memory");
    } catch (const std::exception& error) {
        return fail(library_failure, error.what());
    }
}

}  // namespace
}  // namespace program

int main(int argc, char** argv) { return program::main(argc, argv); }
