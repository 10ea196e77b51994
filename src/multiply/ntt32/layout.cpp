#include "multiply/ntt32/layout.h"

#include <algorithm>
#include <bit>

#include "multiply/ntt32/output.h"

namespace kvt::multiply::ntt32 {

Layout::Layout(const Row& row, bool negacyclic) : row(row) {
    shape.primes = row.count;
    shape.radix = row.radix;
    shape.exponent = row.exponent;
    shape.block_log = row.exponent <= single_block_log ? row.exponent : block_log;
    shape.negacyclic = negacyclic;
    shape.half_empty = false;
    // Three lines more than a power of two, so that a column of rows does not fall into one set of a cache.
    shape.pitch = (u64{1} << shape.block_log) + (shape.rows() > 1 ? 48 : 0);
    // A group of columns takes up to 128 KB in 64-bit lanes, but no row's share is below a cache line.
    const unsigned rows_log = static_cast<unsigned>(std::bit_width(shape.rows() - 1));
    shape.column_log = std::clamp(rows_log < 11 ? 11 - rows_log : 0u, 6u, shape.block_log);
    prime_words = shape.pitch * shape.rows();
}

u64 Layout::task_bytes() const {
    const u64 kernels = std::max(block_scratch_bytes(shape.block_log), top_scratch_bytes(shape));
    return aligned(sizeof(OutputPart)) + aligned(kernels) + (splits_primes() ? 0 : second_operand_bytes());
}

void Layout::fill(TransformPlan& plan) const {
    plan.capacity_bits = plan.wrap_bits = row.capacity_bits();
    plan.wrap_sign = shape.negacyclic ? -1 : 1;
    plan.operand_bytes = operand_bytes();
    plan.work_bytes = alignment;
    plan.product_bytes = alignment + (splits_primes() ? second_operand_bytes() : 0);
    plan.task_bytes = task_bytes();
    plan.points = row.points();
}

}  // namespace kvt::multiply::ntt32
