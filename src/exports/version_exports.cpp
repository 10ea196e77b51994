// Exports of the version banner and the build report.

#include <string>

#include "frame/console.h"
#include "frame/export_guard.h"
#include "frame/format.h"
#include "frame/parameters.h"
#include "inverse/direct.h"
#include "kernels/karatsuba.h"
#include "multiply/thresholds.h"
#include "multiply/twiddle_table.h"
#include "objects/big_float.h"
#include "objects/exact_float.h"
#include "threads/framework.h"

using namespace kvt;

namespace {

void add_value(ConsoleText& text, const std::string& label, u64 value, const char* unit = "") {
    text.add(label + "\t", 'w').line(to_decimal(value) + unit, 'G');
}

void add_value(ConsoleText& text, const std::string& label, const char* value) {
    text.add(label + "\t", 'w').line(value, 'G');
}

// Names of the levels up to the highest.
template <class Level>
std::string levels_up_to(Level highest) {
    std::string names;
    for (unsigned i = 0; i <= static_cast<unsigned>(highest); ++i)
        names += (i == 0 ? "" : ", ") + std::string(level_name(static_cast<Level>(i)));
    return names;
}

void add_modules(ConsoleText& text) {
    text.line("Modules:", 'w');
    add_value(text, "    Parallel Frameworks", "none, spawn, cppasync, winpool, cilk");
    add_value(text, "    Word Kernels", levels_up_to(kernels::no_cap.word).c_str());
    add_value(text, "    Vector Kernels", levels_up_to(kernels::no_cap.vector).c_str());
    add_value(text, "    Numbers", "BasicInt, BigInt, BigFloat, ExactFloat");
    add_value(text, "    Inverse Operations", "rcp, div, invsqrt, pow");
    add_value(text, "    Text", "decimal, hexadecimal");
}

template <class W>
void add_thresholds(ConsoleText& text) {
    text.line("Multiplication, " + to_decimal(word_bits<W>) + "-bit words:", 'w');
    for (const auto& [limit, algorithm] : multiply::threshold_table<W>())
        add_value(text, std::string("    ") + algorithm->short_name + ": " + algorithm->display_name, limit,
                  " words");
}

}  // namespace

extern "C" {

KVNUM_EXPORT void PrintVersionInfo() noexcept {
    guarded_print([] {
        ConsoleText().line("kvnum " KVNUM_VERSION, 'Y').line("Multi-precision arithmetic", 'w').line().print();
    });
}

KVNUM_EXPORT void CompilationOptions() noexcept {
    guarded_print([] {
        ConsoleText text;
        add_value(text, "Version:", KVNUM_VERSION " (" KVNUM_REVISION ")");
        add_value(text, "Compiler:", __VERSION__);
        add_value(text, "Data Alignment:", data_alignment_bytes);
        add_value(text, "Vector Kernels:", level_name(kernels::active_levels().vector));
        add_value(text, "Word Kernels:", level_name(kernels::active_levels().word));
        auto* framework = Threads::current_framework();
        add_value(text, "Parallel Framework:", framework == nullptr ? "none" : framework->name());
        add_modules(text);
        add_value(text, "Twiddle Table:", multiply::global_table()->covered, " bits");
        text.line("MULv2:", 'w');
        add_value(text, "    c32i_sqr: Basecase - Karatsuba", kernels::sqr_threshold<u32>(), " iwords");
        add_value(text, "    c32i_mul: Basecase - Karatsuba", kernels::mul_threshold<u32>(), " iwords");
        add_value(text, "    c64i_sqr: Basecase - Karatsuba", kernels::sqr_threshold<u64>(), " iwords");
        add_value(text, "    c64i_mul: Basecase - Karatsuba", kernels::mul_threshold<u64>(), " iwords");
        add_thresholds<u32>(text);
        add_thresholds<u64>(text);
        text.line("BigFloat:", 'w');
        add_value(text, "    Extra Precision", objects::big_float_extra_words, " words");
        add_value(text, "    Addition Buffer", objects::big_float_addition_words, " words");
        text.line("Inverse:", 'w');
        add_value(text, "    Direct below", inverse::direct_limit_words, " words");
        text.line("ExactFloat:", 'w');
        add_value(text, "    Basecase clen", objects::exact_float_basecase_words, " words");
        text.print();
    });
}

}  // extern "C"
