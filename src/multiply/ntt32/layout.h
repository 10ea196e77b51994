#pragma once
// How a transform lies in memory, and what it needs: functions of the row alone, the same on every machine.

#include "multiply/engine.h"
#include "multiply/ntt32/kernels.h"
#include "multiply/ntt32/rows.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply::ntt32 {

inline constexpr u64 alignment = 64;
constexpr u64 aligned(u64 bytes) { return (bytes + alignment - 1) & ~(alignment - 1); }
using multiply::aligned;  // addresses

// A transform of up to 2^single_block_log points a branch is one block; a longer one has blocks of 2^block_log.
inline constexpr unsigned single_block_log = 16, block_log = 15;

struct Layout {
    Row row;
    Shape shape;
    u64 prime_words;  // residues of one operand modulo one prime

    Layout(const Row& row, bool negacyclic);

    u64 operand_bytes() const { return aligned(4 * prime_words * row.count + alignment); }
    // Blocks of one prime go to the tasks when there are levels above them, else whole primes do: each task then needs
    // room for the second operand's residues, unless a single row is cut from the words as it is split.
    bool splits_primes() const { return shape.depth() > 0; }
    u64 second_operand_bytes() const { return shape.rows() == 1 ? 0 : aligned(4 * prime_words); }
    u64 task_bytes() const;
    void fill(TransformPlan& plan) const;
};

// The kernels of the level in use.
const KernelTable& active_kernels() noexcept;

// A plan for a row by its number, whatever lengths it is chosen for.
void plan_row(TransformPlan& plan, u64 number, bool negacyclic = false);

}  // namespace kvt::multiply::ntt32
