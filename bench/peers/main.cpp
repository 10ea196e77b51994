// kvnum_peers: our operations against other libraries' on the same operands. See bench/README.md.

#include <fmt/format.h>
#include <kvnum/kvnum.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "comparison.h"
#include "measure.h"
#include "memory.h"

// From the benchmark variant of the shared library; see src/exports/seams.cpp.
extern "C" void kvnum_seam_cap_levels(std::uint32_t vector, std::uint32_t word) noexcept;

namespace peers {
namespace {

struct Options {
    std::string operation = "mul", peer = "gmp", isa = "best", word_isa = "best", framework, clock, csv;
    std::vector<std::string> sizes{"4,6,8,10,12,16,24,30,50,100,150,500,1000,2500,5000,12288,16384,131072"};
    std::uint64_t threads = 1;
    double shape = 1;
    bool memory = false;
    Limits limits{3e-4, 0.5, 5, 1001};
};

constexpr std::string_view one_task = "one_task";

std::vector<Operation> all_operations() {
    std::vector<Operation> out;
    for (auto family : {kernel_operations(), product_operations(), object_operations(), inverse_operations(),
                        text_operations(), pi_operations()})
        out.insert(out.end(), family.begin(), family.end());
    return out;
}

// "8,16,24" or "FIRST:LAST[:FACTOR]", a geometric grid (default factor 1.5), or several of these.
std::vector<std::size_t> parse_sizes(const std::vector<std::string>& texts) {
    std::vector<std::size_t> out;
    for (const std::string& text : texts)
        for (const std::string& part : CLI::detail::split(text, ',')) {
            const std::vector<std::string> fields = CLI::detail::split(part, ':');
            const double first = std::stod(fields[0]);
            const double last = fields.size() > 1 ? std::stod(fields[1]) : first;
            const double factor = fields.size() > 2 ? std::stod(fields[2]) : 1.5;
            if (first < 1 || factor <= 1) throw std::invalid_argument("a size is at least 1, a factor above 1");
            for (double n = first; n <= last * (1 + 1e-9); n = std::max(n * factor, n + 1))
                if (const auto words = static_cast<std::size_t>(std::llround(n)); out.empty() || words != out.back())
                    out.push_back(words);
        }
    return out;
}

void choose_framework(const Options& options) {
    if (options.framework.empty()) return;
    ParallelFramework* framework = GetBuiltInFrameworkByName(options.framework.c_str());
    if (framework == nullptr) throw std::invalid_argument("no framework " + options.framework);
    SetParallelFramework(framework);
}

void cap_levels(const Options& options) {
    const std::map<std::string, std::uint32_t> vector{
        {"scalar", 0}, {"avx2", 1}, {"avx512", 2}, {"avx512ifma", 3}, {"best", 3}};
    const std::map<std::string, std::uint32_t> word{{"scalar", 0}, {"adx", 1}, {"best", 1}};
    kvnum_seam_cap_levels(vector.at(options.isa), word.at(options.word_isa));
}

std::string first_line_of(const char* command) {
    std::string out;
    if (FILE* pipe = popen(command, "r")) {
        char buffer[256];
        if (std::fgets(buffer, sizeof buffer, pipe) != nullptr) out = buffer;
        pclose(pipe);
    }
    return out.substr(0, out.find('\n'));
}

Clock clock_of(const Options& options) {
    if (options.clock.empty()) return options.threads == 1 ? Clock::thread : Clock::wall;
    return options.clock == "thread" ? Clock::thread : Clock::wall;
}

void print_machine(const Options& options) {
    fmt::print("# {}\n", first_line_of("sed -n 's/^model name[^:]*: //p' /proc/cpuinfo"));
    fmt::print("# GCC {}, commit {}\n", __VERSION__,
               first_line_of("git -C " KVNUM_SOURCE_FOLDER " describe --always --dirty"));
    fmt::print("# isa {}, word isa {}, threads {}, framework {}, time of the {}\n", options.isa, options.word_isa,
               options.threads, GetFrameworkName(GetParallelFramework()),
               clock_of(options) == Clock::thread ? "thread" : "wall clock");
}

constexpr char csv_head[] =
    "op,peer,peer_call,isa,word_isa,threads,words_a,words_b,samples,ours_min_ns,ours_median_ns,peer_min_ns,"
    "peer_median_ns,ours_ns_per_word,ratio,ratio_of_min\n";
constexpr char memory_csv_head[] =
    "op,peer,peer_call,isa,word_isa,threads,words_a,words_b,ours_peak_bytes,peer_peak_bytes,table_bytes\n";

// Our operation with all tasks against itself with one.
Comparison one_task_comparison(const Operation& operation, const Setting& setting) {
    Setting single = setting;
    single.tasks = 1;
    return {operation.prepare(setting).ours, operation.prepare(single).ours, [] { return true; }};
}

struct Row {
    const Operation& operation;
    std::string_view peer, peer_call;
    Setting setting;

    Comparison prepare() const {
        return peer == one_task ? one_task_comparison(operation, setting) : operation.prepare(setting);
    }
    // The columns that all files begin with.
    std::string csv(const Options& options) const {
        return fmt::format("{},{},{},{},{},{},{},{}", operation.name, peer,
                           fmt::join(CLI::detail::split(std::string(peer_call), ','), ";"), options.isa,
                           options.word_isa, options.threads, setting.words, setting.short_words);
    }
    std::string text() const {
        return fmt::format("{:>8} {:>10} {:>8}", operation.name, setting.words, setting.short_words);
    }
};

// Prepares, compares the results, measures, prints.
void run_row(const Row& row, const Options& options, std::ofstream& csv) {
    const Comparison comparison = row.prepare();
    comparison.ours(1);
    comparison.theirs(1);
    if (!comparison.same_result())
        throw std::runtime_error(fmt::format("results differ at {} words", row.setting.words));

    const Measurement m = measure(comparison, options.limits, clock_of(options));
    const double per_word = m.ours.median_ns / static_cast<double>(row.setting.words);
    fmt::print("{} {:>14.1f} {:>14.1f} {:>9.3f} {:>14.1f} {:>14.1f} {:>7.3f} {:>7.3f}\n", row.text(), m.ours.min_ns,
               m.ours.median_ns, per_word, m.theirs.min_ns, m.theirs.median_ns, m.ratio, m.ratio_of_min);
    if (csv.is_open())
        csv << fmt::format("{},{},{:.1f},{:.1f},{:.1f},{:.1f},{:.4f},{:.4f},{:.4f}\n", row.csv(options), m.samples,
                           m.ours.min_ns, m.ours.median_ns, m.theirs.min_ns, m.theirs.median_ns, per_word, m.ratio,
                           m.ratio_of_min);
}

void run_memory_row(const Row& row, const Options& options, std::ofstream& csv) {
    const std::uint64_t table_bits = 64 * (row.setting.words + row.setting.short_words);
    const Peak peak = measure_peak([&] { return row.prepare(); }, table_bits);
    fmt::print("{} {:>14} {:>14} {:>14}\n", row.text(), peak.ours_bytes, peak.theirs_bytes, peak.table_bytes);
    if (csv.is_open())
        csv << fmt::format("{},{},{},{}\n", row.csv(options), peak.ours_bytes, peak.theirs_bytes, peak.table_bytes);
}

void run_rows(const Operation& operation, const Options& options, std::ofstream& csv) {
    const bool alone = options.peer == one_task;
    const std::string_view peer = alone ? one_task : operation.peer;
    const std::string_view peer_call = alone ? "the same with one task" : operation.peer_call;
    fmt::print("# {} against {} ({}); {}\n", operation.name, peer, peer_call,
               options.memory ? "peak memory of a call in bytes, and our table of roots"
                              : "times in ns, ratio = peer's time by ours");
    if (options.memory)
        fmt::print("{:>8} {:>10} {:>8} {:>14} {:>14} {:>14}\n", "op", "words", "by", "ours", "peer", "table");
    else
        fmt::print("{:>8} {:>10} {:>8} {:>14} {:>14} {:>9} {:>14} {:>14} {:>7} {:>7}\n", "op", "words", "by", "min",
                   "median", "per word", "peer min", "peer median", "ratio", "of min");
    for (std::size_t words : parse_sizes(options.sizes)) {
        const auto short_words = static_cast<std::size_t>(std::max(1.0, static_cast<double>(words) / options.shape));
        const Row row{operation, peer, peer_call, {words, short_words, options.threads}};
        if (short_words < operation.least_words) continue;
        try {
            options.memory ? run_memory_row(row, options, csv) : run_row(row, options, csv);
        } catch (const NotAvailable& reason) {
            fmt::print("{} {}\n", row.text(), reason.what());
        }
        std::fflush(stdout);
        csv.flush();
    }
}

// Those of the wanted name and peer; a name once where we are compared with ourselves.
std::vector<Operation> chosen_operations(const Options& options) {
    std::vector<Operation> chosen;
    for (const Operation& operation : all_operations()) {
        if (options.operation != operation.name && options.operation != "all") continue;
        auto same_name = [&](const Operation& other) { return other.name == operation.name; };
        if (options.peer == one_task ? std::none_of(chosen.begin(), chosen.end(), same_name)
                                     : options.peer == operation.peer)
            chosen.push_back(operation);
    }
    if (chosen.empty()) throw std::invalid_argument("no such operation for this peer; --list shows all");
    return chosen;
}

int run(const Options& options) {
    const std::vector<Operation> chosen = chosen_operations(options);
    cap_levels(options);
    choose_framework(options);
    SetConsoleSink([](void*, const char*, std::uint64_t, char) {}, nullptr);  // errors come back as wrappers
    print_machine(options);
    std::ofstream csv;
    if (!options.csv.empty()) {
        csv.open(options.csv);
        if (!csv) throw std::runtime_error("cannot write " + options.csv);
        csv << (options.memory ? memory_csv_head : csv_head);
    }
    for (const Operation& operation : chosen) run_rows(operation, options, csv);
    return 0;
}

}  // namespace
}  // namespace peers

int main(int argc, char** argv) {
    using namespace peers;
    Options options;
    CLI::App app{
        "Measures our operations against other libraries' on the same operands, alternating in one process."};
    app.add_option("--op", options.operation, "operation, or all")->capture_default_str();
    app.add_option("--peer", options.peer, "gmp, mpfr, flint, own, or one_task for any operation")
        ->capture_default_str();
    app.add_option("--sizes", options.sizes, "words: 8,16,24 or FIRST:LAST[:FACTOR]")->capture_default_str();
    app.add_option("--shape", options.shape, "first operand so many times as long as the second")
        ->check(CLI::Range(1.0, 1e9));
    app.add_option("--threads", options.threads, "tasks")->capture_default_str()->check(CLI::Range(1, 1024));
    app.add_option("--framework", options.framework, "parallel framework (default: the library's)");
    app.add_option("--isa", options.isa, "vector kernels at most")
        ->capture_default_str()
        ->check(CLI::IsMember({"scalar", "avx2", "avx512", "avx512ifma", "best"}));
    app.add_option("--word-isa", options.word_isa, "word kernels at most")
        ->capture_default_str()
        ->check(CLI::IsMember({"scalar", "adx", "best"}));
    app.add_option("--clock", options.clock, "thread or wall (default: thread for one thread)")
        ->check(CLI::IsMember({"thread", "wall"}));
    app.add_option("--csv", options.csv, "also write the rows into this file");
    app.add_option("--row-seconds", options.limits.row_seconds, "time for a row")->capture_default_str();
    app.add_option("--samples", options.limits.least_samples, "samples of a row at least")->capture_default_str();
    app.add_flag("--memory", options.memory, "peak memory instead of time, each side in a process of its own");
    app.add_flag_callback(
        "--list",
        [] {
            for (const Operation& operation : all_operations())
                fmt::print("{:10} {:8} {}\n", operation.name, operation.peer, operation.peer_call);
            throw CLI::Success();
        },
        "list operations and peers");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "kvnum_peers: {}\n", error.what());
        return 1;
    }
}
