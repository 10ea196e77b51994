// kvnum: arithmetic on integers in files, on the library's public interface. See docs/program.md.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>
#include <string>
#include <thread>

#include "failure.h"
#include "files.h"
#include "integer.h"

namespace program {
namespace {

constexpr int library_failure = 1, user_failure = 2;

struct Request {
    std::string a, b, output;
    bool hex = false;
    unsigned threads = std::max(1u, std::thread::hardware_concurrency());
};

void require_hex(const Request& request) {
    if (!request.hex) throw UserError("decimal operands and results come in a later version: use --hex");
}

void run_mul(const Request& request) {
    require_hex(request);
    if (request.a == "-" && request.b == "-") throw UserError("only one operand can be standard input");
    const Integer a = integer_from_hex(read_hex_operand(request.a));
    const Integer b = integer_from_hex(read_hex_operand(request.b));
    write_result(request.output, hex_from_integer(product(a, b, request.threads)).text);
}

void run_sqr(const Request& request) {
    require_hex(request);
    const Integer a = integer_from_hex(read_hex_operand(request.a));
    write_result(request.output, hex_from_integer(square(a, request.threads)).text);
}

void add_common_options(CLI::App* command, Request& request) {
    command->add_flag("--hex", request.hex, "operands and result are hexadecimal");
    command->add_option("-o,--output", request.output, "write the result into FILE, not to standard output")
        ->type_name("FILE");
    command->add_option("--threads", request.threads, "tasks that the operation may use")
        ->check(CLI::Range(1u, 4096u))
        ->capture_default_str();
}

int main(int argc, char** argv) {
    print_library_messages_to_stderr();
    CLI::App app{
        "Arithmetic on integers of any length. Operands are files, or - for standard input: an optional sign, an "
        "optional 0x, digits; white space and line breaks may stand anywhere."};
    app.name("kvnum");
    app.require_subcommand(1);
    Request request;

    CLI::App* mul = app.add_subcommand("mul", "the product of two integers");
    mul->add_option("A", request.a, "first factor")->required()->type_name("FILE");
    mul->add_option("B", request.b, "second factor")->required()->type_name("FILE");
    add_common_options(mul, request);
    mul->final_callback([&] { run_mul(request); });

    CLI::App* sqr = app.add_subcommand("sqr", "the square of an integer");
    sqr->add_option("A", request.a, "the integer")->required()->type_name("FILE");
    add_common_options(sqr, request);
    sqr->final_callback([&] { run_sqr(request); });

    auto fail = [](int status, const std::string& reason) {
        fmt::print(stderr, "kvnum: {}\n", reason);
        return status;
    };
    try {
        app.parse(argc, argv);
        return 0;
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : user_failure;
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
