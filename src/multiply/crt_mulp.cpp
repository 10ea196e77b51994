#include "multiply/crt_mulp.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "kernels/residue61.h"
#include "multiply/crt_words.h"
#include "multiply/ntt32/layout.h"
#include "multiply/ntt32/prime_sets.h"
#include "multiply/ntt32/rows.h"
#include "multiply/thresholds.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

constexpr const char* location = "CRT_mulp()";

// Tables for shorter products hold no roots of the 31-bit primes: the thresholds give these to other transforms.
constexpr u64 least_table_bits = 1'572'864 + 1;

// The texts of one half: its stages' tags and its objects.
struct HalfNames {
    const char *forward_a, *forward_b, *multiply, *inverse;
    const char *transform_a, *transform_b, *result;
};
constexpr HalfNames cyclic_names{"CRT-CA-",          "CRT-CB-",          "CRT-CM-",      "CRT-CI-",
                                 "qtn_CRT_T(Ac).sf", "qtn_CRT_T(Bc).sf", "qtn_CRT_Cc.sf"};
constexpr HalfNames negacyclic_names{"CRT-NA-",          "CRT-NB-",          "CRT-NM-",      "CRT-NI-",
                                     "qtn_CRT_T(An).sf", "qtn_CRT_T(Bn).sf", "qtn_CRT_Cn.sf"};
constexpr const char* forward_tag = "CRT-F: ";
constexpr const char* inverse_tag = "CRT-I: ";

// The 32-bit engine's row of exactly so many bits, if its primes have the root of twice the order that the negacyclic
// transform needs; else null.
const ntt32::Row* wrapped_row(u64 L_bits) {
    const ntt32::RowList& list = L_bits <= ntt32::fine_max_bits ? ntt32::fine_list : ntt32::coarse_list;
    const ntt32::Row* const end = list.rows + list.length;
    const ntt32::Row* const row =
        std::find_if(list.rows, end, [&](const ntt32::Row& r) { return r.capacity_bits() == L_bits; });
    return row != end && row->exponent < ntt32::prime_sets[row->set()].max_exponent ? row : nullptr;
}

void check_lengths(u64 na, u64 nb, u64 L_bits) {
    if (L_bits % 32 != 0) fatal_exit("CRT_mulp(): Convolution length is not divisible by the word-size.");
    const u64 words = L_bits / 16;
    if (na > words || nb > words - na) fatal_exit("CRT_mulp(): Convolution length is not long enough.");
}

class Product {
  public:
    Product(const CrtConvolution& convolution, const BasicParameters& params, StorageProvider& storage,
            const ProgressSink* sink, u32* C, u64 N)
        : convolution_(convolution),
          table_(require_table(params, convolution.cyclic.plan, location)),
          storage_(storage),
          sink_(sink),
          work_(aligned(params.memory, convolution.cyclic.plan.alignment)),
          tasks_(useful_tasks(params.tasks, 64 * N)),
          C_(C),
          N_(N) {
        require_table(params, convolution.negacyclic.plan, location);
        const u64 needed = crt_mulp_sizes(convolution, 32 * N, params.tasks).scratch_bytes;
        require_capacity(params.memory_bytes, needed, location);
    }

    void form(const u32* A, u64 na, const u32* B, u64 nb) const {
        ScratchObject Ac, An;
        bool minus_one = false;  // A is -1 modulo 2^L + 1
        if (na > N_) {
            Ac = ScratchObject(storage_, "qtn_CRT_Ac.sf", 4 * N_);
            An = ScratchObject(storage_, "qtn_CRT_An.sf", 4 * N_);
            reduce_cyclic(Ac.words(), A, na, N_);
            minus_one = reduce_negacyclic(An.words(), A, na, N_);
        }
        const u64 n = std::min(na, N_);

        ScratchObject Cc = form_half(cyclic_names, convolution_.cyclic, A, Ac, n, B, nb);
        normalise_cyclic(Cc.words(), N_);
        ScratchObject Cn;
        bool top = false;  // Cn is 2^L
        if (minus_one) {
            Cn = ScratchObject(storage_, negacyclic_names.result, 4 * N_);
            top = negate_negacyclic(Cn.words(), B, nb, N_);
        } else {
            Cn = form_half(negacyclic_names, convolution_.negacyclic, A, An, n, B, nb, &top);
        }

        const u64 expected = kernels::residue_mul(kernels::residue_of(A, na), kernels::residue_of(B, nb));
        join_halves(Cc.words(), Cn.words(), top, N_);
        const u64 length = na + nb, low = std::min(length, N_);
        if (!all_equal(Cn.words() + low, N_ - low, 0) ||
            !all_equal(Cc.words() + (length - low), N_ - (length - low), 0) ||
            residue_of_halves(Cn.words(), Cc.words()) != expected)
            raise_redundancy_failure(location, "The product does not match its factors modulo 2^61 - 1.");
        std::memcpy(C_, Cn.words(), 4 * low);
        std::memcpy(C_ + low, Cc.words(), 4 * (length - low));
    }

  private:
    u64 residue_of_halves(const u32* low, const u32* high) const {
        return kernels::residue_add(
            kernels::residue_of(low, N_),
            kernels::residue_shift(kernels::residue_of(high, N_), static_cast<i64>(N_ % 61 * 32)));
    }

    // One half: the four stages. a: the reduced operand, or nothing when A itself serves.
    ScratchObject form_half(const HalfNames& names, const CrtHalf& half, const u32* A, ScratchObject& a, u64 n,
                            const u32* B, u64 nb, bool* top = nullptr) const {
        const TransformEngine& engine = *half.engine;
        const TransformPlan& plan = half.plan;
        ScratchObject Ta(storage_, names.transform_a, plan.operand_bytes), Tb, result;
        Residue ra, rb;
        {
            const ProgressTag stage(sink_, names.forward_a), inner(sink_, forward_tag);
            ra = engine.forward(plan, table_, operand_of(a.words() != nullptr ? a.words() : A, n), Ta.words(), work_,
                                tasks_);
            a.reset();
        }
        {
            const ProgressTag stage(sink_, names.forward_b), inner(sink_, forward_tag);
            Tb = ScratchObject(storage_, names.transform_b, plan.operand_bytes);
            rb = engine.forward(plan, table_, operand_of(B, nb), Tb.words(), work_, tasks_);
        }
        {
            const ProgressTag stage(sink_, names.multiply);
            engine.multiply(plan, table_, Ta.words(), Tb.words(), work_, tasks_);
            Tb.reset();
        }
        const ProgressTag stage(sink_, names.inverse), inner(sink_, inverse_tag);
        const u64 words = N_ + (convolution_.wrapped && top != nullptr);
        result = ScratchObject(storage_, names.result, 4 * words);
        if (convolution_.wrapped) {
            // Modulo 2^L + 1 the word above the residue is 1 where that is 2^L.
            engine.inverse(plan, table_, Ta.words(), window_of(result.words(), 0, words), nullptr, work_, tasks_);
            if (top != nullptr) *top = result.words()[N_] != 0;
        } else {
            // The whole product of the residues fits where the result will be.
            const Residue expected{kernels::residue_mul(ra.value, rb.value)};
            engine.inverse(plan, table_, Ta.words(), window_of(C_, 0, n + nb), &expected, work_, tasks_);
            if (top == nullptr) {
                reduce_cyclic(result.words(), C_, n + nb, N_);
            } else {
                *top = reduce_negacyclic(result.words(), C_, n + nb, N_);
            }
        }
        return result;
    }

    const CrtConvolution& convolution_;
    const GlobalTwiddleTable& table_;
    StorageProvider& storage_;
    const ProgressSink* sink_;
    void* const work_;
    const u64 tasks_;
    u32* const C_;
    const u64 N_;
};

}  // namespace

CrtConvolution crt_convolution(u64 L_bits) {
    CrtConvolution convolution{};
    if (const ntt32::Row* row = wrapped_row(L_bits); row != nullptr) {
        const bool fine = L_bits <= ntt32::fine_max_bits;
        const u64 number = fine ? static_cast<u64>(row - ntt32::fine_list.rows)
                                : ntt32::fine_list.length + static_cast<u64>(row - ntt32::coarse_list.rows);
        convolution.wrapped = true;
        convolution.cyclic.engine = &ntt32_engine();
        convolution.negacyclic.engine = &ntt32_negacyclic_engine();
        ntt32::plan_row(convolution.cyclic.plan, number, false);
        ntt32::plan_row(convolution.negacyclic.plan, number, true);
        convolution.cyclic.plan.table_bits = convolution.negacyclic.plan.table_bits =
            std::max(L_bits, least_table_bits);
        return convolution;
    }
    const TransformEngine& engine = threshold_table<u32>().select(L_bits / 16).engine();
    convolution.cyclic = convolution.negacyclic = {&engine, engine.plan(2 * L_bits)};
    return convolution;
}

CrtSizes crt_mulp_sizes(const CrtConvolution& convolution, u64 L_bits, u64 tasks) {
    const TransformPlan &c = convolution.cyclic.plan, &n = convolution.negacyclic.plan;
    const u64 used = useful_tasks(tasks, 2 * L_bits);
    const u64 residue = MemoryStorage::rounded(L_bits / 8 + 4),
              operand = MemoryStorage::rounded(std::max(c.operand_bytes, n.operand_bytes));
    return {std::max(c.table_bits, n.table_bits), 2 * residue + 2 * operand + MemoryStorage::alignment - 1,
            std::max(c.work_bytes + used * c.task_bytes, n.work_bytes + used * n.task_bytes) + c.alignment - 1};
}

CrtSizes crt_mulp_sizes(u64 L_bits, u64 tasks) { return crt_mulp_sizes(crt_convolution(L_bits), L_bits, tasks); }

void CRT_mulp(const BasicParameters& params, StorageProvider& storage, const ProgressSink* sink, u32* C, const u32* A,
              u64 na, const u32* B, u64 nb, u64 L_bits) {
    check_lengths(na, nb, L_bits);
    if (L_bits == 0) return;
    CRT_mulp(crt_convolution(L_bits), params, storage, sink, C, A, na, B, nb, L_bits);
}

void CRT_mulp(const CrtConvolution& convolution, const BasicParameters& params, StorageProvider& storage,
              const ProgressSink* sink, u32* C, const u32* A, u64 na, const u32* B, u64 nb, u64 L_bits) {
    check_lengths(na, nb, L_bits);
    if (na < nb) {
        std::swap(A, B);
        std::swap(na, nb);
    }
    if (nb == 0) {
        std::fill_n(C, na, 0u);
        return;
    }
    const Product product(convolution, params, storage, sink, C, L_bits / 32);
    product.form(A, na, B, nb);
}

}  // namespace kvt::multiply
