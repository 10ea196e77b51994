#include "multiply/transform_checks.h"

#include "frame/console.h"
#include "frame/exceptions.h"
#include "multiply/twiddle_table.h"

namespace kvt::multiply {
namespace {

u64 saturate(u128 bytes) { return bytes > ~u64{0} ? ~u64{0} : static_cast<u64>(bytes); }

constexpr u64 wanted_alignment_bytes = 16;

constexpr GlobalTwiddleTable empty_table{};

}  // namespace

u64 product_scratch_bytes(const TransformPlan& plan, u64 useful_tasks) noexcept {
    return saturate(u128{plan.operand_bytes} + plan.product_bytes + u128{plan.task_bytes} * useful_tasks);
}

u64 kept_scratch_bytes(const TransformPlan& plan, u64 useful_tasks) noexcept {
    return saturate(2 * u128{plan.operand_bytes} + plan.work_bytes + u128{plan.task_bytes} * useful_tasks);
}

const GlobalTwiddleTable& require_table(const BasicParameters& params, const TransformPlan& plan,
                                        const char* location) {
    const GlobalTwiddleTable& table = params.table == nullptr ? empty_table : *params.table;
    if (table.covered < plan.table_bits) raise_table_too_small(location, table.covered, plan.table_bits);
    return table;
}

void warn_if_misaligned(const BasicParameters& params) {
    if (reinterpret_cast<std::uintptr_t>(params.memory) % wanted_alignment_bytes != 0)
        print_line(errors::misaligned_data, 'Y');
}

}  // namespace kvt::multiply
