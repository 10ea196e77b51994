// The floating-point transform behind the engine interface. See docs/fft.md.

#include <algorithm>
#include <bit>
#include <cstring>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "kernels/cpu.h"
#include "kernels/float_state.h"
#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "multiply/fft/fft_component.h"
#include "multiply/fft/fft_table.h"
#include "multiply/fft/length_table.h"
#include "multiply/transform_checks.h"
#include "threads/parallel.h"

namespace kvt::multiply {
namespace {

constexpr const char* location = "FFT::multiply()";
constexpr u64 most_parts = 64;
constexpr u64 most_lanes = 8;

const FftKernels& kernels_for(u64 half) noexcept {
    using kernels::VectorLevel;
    const VectorLevel level = kernels::active_levels().vector;
    if (level >= VectorLevel::avx512 && half >= fft_kernels_avx512.smallest_half)
        return level == VectorLevel::avx512 ? fft_kernels_avx512 : fft_kernels_avx512ifma;
    return level == VectorLevel::scalar ? fft_kernels_scalar : fft_kernels_avx2;
}

// Radix of the first pass: as much as its fusion with the cutting gains, as measured.
u64 first_radix(const FftKernels& kernels, u64 radix, u64 half) noexcept {
    if (radix != 1) return radix;
    const int e = std::countr_zero(half) - 2 * std::countr_zero(kernels.lanes);
    if (e <= 1) return u64{1} << e;
    if (kernels.lanes == 8) return e == 3 ? 2 : 4;
    return e % 2 == 0 ? 4 : 2;
}

// The table must hold the levels of the code, as every caller that goes through the covered length has seen to.
void require_levels(const GlobalTwiddleTable& table, const FftParameters& row) {
    const u64 e = row.code >> 2;
    const auto holds = [&](u64 radix, u64 level) { return fft_twiddles(table, radix).top >= level; };
    bool ok = false;
    switch (row.radix) {
        case 1: ok = e >= 6 && holds(1, e + 1); break;
        case 3: ok = e >= 7 && holds(1, e - 2) && holds(3, e); break;
        case 5: ok = e >= 8 && holds(1, e - 3) && holds(5, e - 1); break;
    }
    if (!ok) fatal_assertion(errors::invalid_parameters, location);
}

// TransformPlan::row: a row's index, and above it by how many halvings the transform is shorter.
constexpr u64 halvings_at = 8;
FftParameters row_of(const TransformPlan& plan) {
    const FftParameters& row = fft_row(plan.row % (u64{1} << halvings_at));
    return plan.row >> halvings_at == 0 ? row : shorter_fft(row, plan.row >> halvings_at);
}
TransformPlan plan_of(const FftParameters& row, u64 min_bits) {
    TransformPlan p;
    p.min_bits = min_bits;
    p.capacity_bits = p.wrap_bits = row.capacity_bits;
    p.wrap_sign = -1;
    // 20 bytes a point in all: two operands, and a quarter of them for the packed product (at most 21/8 bytes a point)
    // with room to align it.
    p.operand_bytes = 8 * row.points;
    p.work_bytes = 4 * row.points;
    p.product_bytes = 12 * row.points;
    p.table_bits = min_bits;
    p.row = row.index;
    p.points = row.points;
    return p;
}

// One transform: its length, its kernels, how it is divided.
struct Transform {
    const kernels::FloatState state;  // of the calling thread, as long as the transform is at work
    FftShape shape;
    const FftKernels& kernels;
    u64 parts;

    Transform(const TransformPlan& plan, const GlobalTwiddleTable& table, u64 tasks)
        : Transform(row_of(plan), table, tasks) {}
    Transform(const FftParameters& row, const GlobalTwiddleTable& table, u64 tasks)
        : kernels(kernels_for(row.points / 2)) {
        require_levels(table, row);
        const u64 half = row.points / 2;
        shape = {fft_twiddles(table, row.radix).start,  row.radix, half, row.bits,
                 first_radix(kernels, row.radix, half), false};
        parts = std::min(useful_tasks(tasks, row.capacity_bits), most_parts);
        shape.split = parts > 1;  // long enough: a part has thousands of points
    }

    u64 block_groups() const { return shape.half / shape.first_radix / 8; }
    u64 blocks() const { return shape.split ? 4 * shape.first_radix : shape.first_radix; }
    u64 packed_bytes() const { return 2 * shape.half / 8 * shape.bits; }

    // Runs piece(begin, end, part) over shares of [0, n) that cover it.
    template <class Piece>
    void divide(u64 n, Piece&& piece) const {
        if (parts == 1) return piece(u64{0}, n, u64{0});
        Threads::run_parts(parts, [&](u64 i) {
            const kernels::FloatState state;
            const auto [begin, end] = Threads::share_of(n, parts, i);
            if (begin < end) piece(begin, end, i);
        });
    }

    // also(part) runs once in every part.
    template <class Also>
    void cut(const FftSource& source, double* x, Also&& also) const {
        if (!shape.split) {
            also(u64{0});
            return kernels.cut(shape, source, x, 0, block_groups());
        }
        // What a split of the blocks brings together is cut by the same task.
        const u64 quarter = block_groups() / 4;
        divide(quarter, [&](u64 begin, u64 end, u64 i) {
            also(i);
            for (u64 k = 0; k < 4; ++k) kernels.cut(shape, source, x, k * quarter + begin, k * quarter + end);
            kernels.split(shape, x, begin, end);
        });
    }

    void last(double* x) const {
        if (!shape.split) return kernels.last(shape, x, 0, block_groups());
        const u64 quarter = block_groups() / 4;
        divide(quarter, [&](u64 begin, u64 end, u64) {
            kernels.join(shape, x, begin, end);
            for (u64 k = 0; k < 4; ++k) kernels.last(shape, x, k * quarter + begin, k * quarter + end);
        });
    }
};

// Residue of an array modulo 2^61 - 1, a share of it a part.
class SharedResidue {
  public:
    SharedResidue(const Transform& t, const u8* bytes, u64 n) : bytes_(bytes), n_(n), parts_(t.parts) {}

    void add_share(u64 part) {
        const auto [begin, end] = Threads::share_of(n_, parts_, part);
        const u64 residue = kernels::residue_of(bytes_ + 4 * begin, end - begin);
        shares_[part] = begin == 0 ? residue : kernels::residue_shift(residue, static_cast<i64>(32 * begin));
    }
    Residue sum() const {
        u64 sum = shares_[0];
        for (u64 i = 1; i < parts_; ++i) sum = kernels::residue_add(sum, shares_[i]);
        return {sum};
    }

  private:
    const u8* bytes_;
    u64 n_, parts_;
    u64 shares_[most_parts];
};

// ---- In

// Short operands are copied between zeros, which is faster than watching their ends.
constexpr u64 copy_bytes = 4096, copy_before = 16, copy_after = 48;

// Returns the operand's residue if that is wanted.
Residue cut_operand(const Transform& t, Operand a, double* x, bool check = true) {
    const FftShape& s = t.shape;
    const u64 bytes = 4 * a.n, bits = 8 * bytes;
    FftSource source{a.bytes, bytes, false, bits <= s.half * s.bits, 0, 0};
    // Balanced digits of an operand whose top bit is the top bit of a digit carry one into the next digit. Cutting
    // sees to that, except where the points cut end exactly there: point `half` is i times point 0, point 2 half
    // minus point 0.
    if (bytes != 0 && a.bytes[bytes - 1] >> 7 != 0) {
        if (source.real && bits == s.half * s.bits) source.first_im = 1;
        if (bits == 2 * s.half * s.bits) source.first_re = -1;
    }

    SharedResidue residue(t, a.bytes, a.n);
    const auto add_residue = [&](u64 part) {
        if (check) residue.add_share(part);
    };
    const u64 cut_bytes = (source.real ? s.half : 2 * s.half) / 8 * s.bits;
    if (copy_before + cut_bytes + copy_after <= copy_bytes) {
        alignas(64) u8 copy[copy_bytes];
        std::memset(copy, 0, copy_before);
        std::memcpy(copy + copy_before, a.bytes, bytes);
        std::memset(copy + copy_before + bytes, 0, cut_bytes - bytes + copy_after);
        source.bytes = copy + copy_before;
        source.padded = true;
        t.cut(source, x, add_residue);
    } else {
        t.cut(source, x, add_residue);
    }
    return check ? residue.sum() : Residue{};
}

// ---- Out

// Adds a signed number at byte `at` of a number of `end` bytes; returns what leaves the top.
i64 add_at(u8* bytes, u64 at, u64 end, i64 value) {
    if (value == 0) return 0;
    const u64 sign = value < 0 ? ~u64{0} : 0;
    u64 addend = static_cast<u64>(value), carry = 0;
    for (; at + 8 <= end; at += 8) {
        u64 word;
        std::memcpy(&word, bytes + at, 8);
        const u128 sum = u128{word} + addend + carry;
        word = static_cast<u64>(sum);
        carry = static_cast<u64>(sum >> 64);
        std::memcpy(bytes + at, &word, 8);
        addend = sign;
        if (carry == (sign & 1)) return 0;  // all ones + 1, or 0 + 0, from here on
    }
    // At most seven bytes are left.
    for (; at < end; ++at) {
        const u64 sum = bytes[at] + (addend & 0xff) + carry;
        bytes[at] = static_cast<u8>(sum);
        carry = sum >> 8;
        addend = static_cast<u64>(static_cast<i64>(addend) >> 8);
    }
    return static_cast<i64>(addend) + static_cast<i64>(carry);
}

struct Packed {
    const u8* bytes;
    u64 n;           // 32-bit words
    bool minus_one;  // the number is 2^(32 n) = -1; the words are zero
};

void fail(const char* message) { raise_redundancy_failure(location, message); }

// Bounds on what rounding has seen. Only the top 16 bits count; NaN exceeds everything.
void check_extremes(const FftShape& shape, const FftExtremes& seen) {
    // A coefficient is a sum of 2 half products of two digits of at most 2^(bits - 1); it still carries the factor
    // half. One bit of slack.
    const u64 bound_bits = 2 * shape.bits - 1 + static_cast<u64>(std::bit_width(2 * shape.half - 1));
    const double bound = static_cast<double>(u64{1} << bound_bits) * static_cast<double>(shape.half);
    const auto below = [](u64 value, double limit) { return value >> 48 < std::bit_cast<u64>(limit) >> 48; };
    if (!below(seen.coefficient, bound) || !below(seen.error, 0.25)) fail(errors::coefficient_too_large);
}

// Rounds and carries x into packed: the canonical residue modulo 2^(32 n) + 1.
Packed pack(const Transform& t, const double* x, u8* packed) {
    const u64 lanes = t.kernels.lanes;
    const u64 segment_groups = 2 * t.shape.half / lanes / 8;
    // Not cleared as a whole: short products have one part, and feel every kilobyte.
    struct Part {
        i64 carries[most_lanes];
        FftExtremes extremes;
    };
    Part parts[most_parts];
    std::fill_n(parts, t.parts, Part{});
    t.divide(segment_groups, [&](u64 begin, u64 end, u64 i) {
        t.kernels.carry(t.shape, x, packed, begin, end, parts[i].carries, parts[i].extremes);
    });

    FftExtremes all{};
    for (u64 i = 0; i < t.parts; ++i) {
        all.coefficient = std::max(all.coefficient, parts[i].extremes.coefficient);
        all.error = std::max(all.error, parts[i].extremes.error);
    }
    check_extremes(t.shape, all);

    // Every piece's carry goes to the bytes behind it; what leaves the top has weight 2^(32 n) = -1.
    const u64 bytes = t.packed_bytes();
    i64 top = 0;
    for (u64 l = 0; l < lanes; ++l) {
        for (u64 i = 0; i < t.parts; ++i) {
            const u64 end_group = l * segment_groups + Threads::share_of(segment_groups, t.parts, i).last;
            const u64 at = end_group * t.shape.bits;
            if (at == bytes)
                top += parts[i].carries[l];
            else
                top += add_at(packed, at, bytes, parts[i].carries[l]);
        }
    }
    i64 over = top == 0 ? 0 : add_at(packed, 0, bytes, -top);
    if (over != 0) over = add_at(packed, 0, bytes, -over);
    // Still something: it is -1.
    if (over != 0) std::memset(packed, 0, bytes);
    return {packed, bytes / 4, over != 0};
}

Residue residue_of(const Transform& t, const Packed& p) {
    SharedResidue residue(t, p.bytes, p.n);
    t.divide(p.n, [&](u64, u64, u64 i) { residue.add_share(i); });
    return residue.sum();
}

void store_window(const Transform& t, const Packed& p, Window out) {
    const u64 end = out.first + out.count;
    const u64 copied = std::min(end, p.n) - std::min(out.first, p.n);
    if (copied != 0)
        t.divide(copied, [&](u64 begin, u64 end, u64) {
            std::memcpy(out.bytes + 4 * begin, p.bytes + 4 * (out.first + begin), 4 * (end - begin));
        });
    if (copied < out.count) std::memset(out.bytes + 4 * copied, 0, 4 * (out.count - copied));
    if (p.minus_one && out.first <= p.n && p.n < end) {
        const u32 one = 1;
        std::memcpy(out.bytes + 4 * (p.n - out.first), &one, 4);
    }
}

bool zero_from(const Packed& p, u64 first) {
    u32 any = 0;
    for (u64 i = first; i < p.n; ++i) {
        u32 word;
        std::memcpy(&word, p.bytes + 4 * i, 4);
        any |= word;
    }
    return any == 0;
}

// From transformed blocks, inverted but for the first pass, to words. A product that is kept whole is checked where it
// was stored, so that a fault on the way there shows as well; a window is part of what was checked.
void finish(const Transform& t, double* x, u8* packed, Window out, const Residue* expected) {
    t.last(x);
    const Packed p = pack(t, x, packed);
    const bool whole = out.first == 0 && !p.minus_one && zero_from(p, out.count);
    if (whole) store_window(t, p, out);
    if (expected != nullptr) {
        const Packed seen = whole ? Packed{out.bytes, std::min(out.count, p.n), false} : p;
        if (seen.minus_one || residue_of(t, seen).value != expected->value)
            fail("The product fails its check modulo 2^61 - 1.\n");
    }
    if (!whole) store_window(t, p, out);
}

double* align_up(void* memory) { return static_cast<double*>(aligned(memory, 64)); }

class FftEngine final : public TransformEngine {
  public:
    constexpr FftEngine() = default;

    TransformPlan plan(u64 min_bits) const override { return plan_of(choose_fft(min_bits), min_bits); }

    TransformPlan plan_part(const TransformPlan& plan, u64 halvings) const override {
        const FftParameters part = shorter_fft(row_of(plan), halvings);
        if (part.points == 0) return {};
        TransformPlan p = plan_of(part, part.capacity_bits);
        p.row = plan.row + (halvings << halvings_at);
        return p;
    }

    Residue forward(const TransformPlan& plan, const GlobalTwiddleTable& table, Operand a, void* operand, void*,
                    u64 tasks) const override {
        const Transform t(plan, table, tasks);
        double* x = static_cast<double*>(operand);
        const Residue residue = cut_operand(t, a, x);
        t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.forward(t.shape, x, begin, end); });
        return residue;
    }

    void multiply(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b, void*,
                  u64 tasks) const override {
        const Transform t(plan, table, tasks);
        double* x = static_cast<double*>(a);
        const double* y = static_cast<const double*>(b);
        t.divide(t.shape.half / 8, [&](u64 begin, u64 end, u64) { t.kernels.multiply(x, y, begin, end); });
    }

    void inverse(const TransformPlan& plan, const GlobalTwiddleTable& table, void* operand, Window out,
                 const Residue* expected, void* work, u64 tasks) const override {
        const Transform t(plan, table, tasks);
        double* x = static_cast<double*>(operand);
        t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.inverse(t.shape, x, begin, end); });
        finish(t, x, reinterpret_cast<u8*>(align_up(work)), out, expected);
    }

    void product(const TransformPlan& plan, const GlobalTwiddleTable& table, void* a, Residue a_residue, Operand b,
                 Window out, bool check, void* work, u64 tasks) const override {
        const Transform t(plan, table, tasks);
        double* x = static_cast<double*>(a);
        double* y = align_up(work);
        if (b.bytes == nullptr) {
            t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.square(t.shape, x, begin, end); });
            const Residue expected{kernels::residue_mul(a_residue.value, a_residue.value)};
            finish(t, x, reinterpret_cast<u8*>(y), out, check ? &expected : nullptr);
            return;
        }
        const Residue expected{kernels::residue_mul(a_residue.value, cut_operand(t, b, y, check).value)};
        t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.product(t.shape, y, x, begin, end); });
        // The first operand is used up: the product is packed over it.
        finish(t, y, static_cast<u8*>(a), out, check ? &expected : nullptr);
    }

    void product_keeping(const TransformPlan& plan, const GlobalTwiddleTable& table, const void* a, Residue a_residue,
                         Operand b, void* operand, Window out, bool check, void* work, u64 tasks) const override {
        const Transform t(plan, table, tasks);
        double* x = static_cast<double*>(operand);
        const double* y = static_cast<const double*>(a);
        Residue b_residue = a_residue;
        if (b.bytes == nullptr) {
            std::memcpy(x, y, plan.operand_bytes);
            t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.square(t.shape, x, begin, end); });
        } else {
            b_residue = cut_operand(t, b, x, check);
            t.divide(t.blocks(), [&](u64 begin, u64 end, u64) { t.kernels.product(t.shape, x, y, begin, end); });
        }
        const Residue expected{kernels::residue_mul(a_residue.value, b_residue.value)};
        finish(t, x, reinterpret_cast<u8*>(align_up(work)), out, check ? &expected : nullptr);
    }
};

constinit const FftEngine the_engine;

}  // namespace

const TransformEngine& fft_engine() noexcept { return the_engine; }

}  // namespace kvt::multiply
