#include "inverse/texts.h"

#include <exception>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "frame/format.h"

namespace kvt::inverse {

constinit const EngineTexts reciprocal_direct_texts{
    .location = "BigFloatR_rcp_E()",
    .divide_by_zero = "BigFloatR_rcp_E(): Divide-by-Zero",
    .convergence = "BigFloatR_rcp_E(): Convergence Failure",
    .under_estimate = "BigFloatR_rcp_E(): Under-Estimate -> Convergence Failure",
    .over_estimate = "BigFloatR_rcp_E(): Over-Estimate -> Convergence Failure",
    .failed = "BigFloatR_rcp_E(): Computation Failed",
    .failed_over = "Reciprocal_E(): Computation Failed",  // an older wording, kept: clients match on it
    .strip_zero = "BigFloatR_rcp_E(): strip_l1s() resulted in zero.",
    .insufficient_space = "BigFloatR_rcp_E(): Insufficient Allocated Space - PL",
};

constinit const EngineTexts reciprocal_texts{
    .location = "BigFloatR_rcp_P()",
    .divide_by_zero = nullptr,
    .convergence = "BigFloatR_rcp_P(): Convergence Failure",
    .under_estimate = "BigFloatR_rcp_P(): Under-Estimate -> Convergence Failure",
    .over_estimate = "BigFloatR_rcp_P(): Over-Estimate -> Convergence Failure",
    .failed = "BigFloatR_rcp_P(): Computation Failed",
    .failed_over = "BigFloatR_rcp_P(): Computation Failed",
    .strip_zero = "BigFloatR_rcp_P(): strip_l1s() resulted in zero.",
    .insufficient_space = nullptr,
};

constinit const EngineTexts inverse_sqrt_direct_texts{
    .location = "BigFloatR_invsqrt_uW_E()",
    .divide_by_zero = "BigFloatR_invsqrt_uW_E(): Divide-by-Zero",
    .convergence = "BigFloatR_invsqrt_uW_E(): Convergence Failure",
    .under_estimate = "BigFloatR_invsqrt_uW_E(): Under-Estimate -> Convergence Failure",
    .over_estimate = "BigFloatR_invsqrt_uW_E(): Over-Estimate -> Convergence Failure",
    .failed = nullptr,  // each failure raises its own line
    .failed_over = nullptr,
    .strip_zero = "BigFloatR_invsqrt_uW_E(): strip_l1s() resulted in zero.",
    .insufficient_space = "BigFloatR_invsqrt_uW_E(): Insufficient Allocated Space - PL",
};

constinit const EngineTexts inverse_sqrt_texts{
    .location = "BigFloatR_invsqrt_uW_P()",
    .divide_by_zero = nullptr,
    .convergence = "BigFloatR_invsqrt_uW_P(): Convergence Failure",
    .under_estimate = "BigFloatR_invsqrt_uW_P(): Under-Estimate -> Convergence Failure",
    .over_estimate = "BigFloatR_invsqrt_uW_P(): Over-Estimate -> Convergence Failure",
    .failed = nullptr,
    .failed_over = nullptr,
    .strip_zero = "BigFloatR_invsqrt_uW_P(): strip_l1s() resulted in zero.",
    .insufficient_space = "BigFloatR_invsqrt_uW_P(): Insufficient Allocated Space - PL",
};

namespace {

[[noreturn]] void raise_failure(const char* text) { raise_generic(errors::convergence_failure, nullptr, text); }

}  // namespace

void fail_guard(const EngineTexts& texts, u64 guard) {
    ConsoleText().line(texts.convergence, 'R').line("top  0x" + to_hexadecimal(guard), 'w').print();
    raise_failure(texts.failed ? texts.failed : texts.convergence);
}

void fail_residual(const EngineTexts& texts, bool over_estimate, i64 top, u64 half_precision) {
    const char* line = over_estimate ? texts.over_estimate : texts.under_estimate;
    const char* failed = over_estimate ? texts.failed_over : texts.failed;
    ConsoleText()
        .line(to_decimal_signed(top) + "  " + to_decimal_signed(-static_cast<i64>(half_precision)))
        .line(line, 'R')
        .add("", 'w')
        .print();
    raise_failure(failed ? failed : line);
}

void fail_space(const EngineTexts& texts, u64 given_words, u64 required_words) {
    print_line(to_decimal(given_words) + "  " + to_decimal(required_words));
    fatal_exit(texts.insufficient_space);
}

void raise_divide_by_zero(const EngineTexts& texts) {
    raise_generic(errors::divide_by_zero, nullptr, texts.divide_by_zero);
}

}  // namespace kvt::inverse
