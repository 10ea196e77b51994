#pragma once
// A transform engine that shares nothing with the library's: operands are kept as they are, products are formed by
// the reference arithmetic and reduced modulo 2^wrap -+ 1. It watches the contract: buffers of exactly the planned
// size, residues handed back, the table's cover.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "kernels/residue61.h"
#include "multiply/engine.h"
#include "reference/arithmetic.h"

namespace kvt::test {

class SlowEngine final : public multiply::TransformEngine {
  public:
    using Bytes = std::vector<u8>;

    // Lengths are multiples of step_bits.
    SlowEngine(int sign, u64 step_bits) : sign_(sign), step_bits_(step_bits) {}

    multiply::TransformPlan plan(u64 min_bits) const override {
        multiply::TransformPlan plan;
        plan.min_bits = min_bits;
        plan.points = std::max<u64>(1, (min_bits + step_bits_ - 1) / step_bits_);
        plan.capacity_bits = plan.wrap_bits = plan.points * step_bits_;
        plan.wrap_sign = sign_;
        plan.table_bits = min_bits;
        set_bytes(plan);
        return plan;
    }

    multiply::TransformPlan plan_part(const multiply::TransformPlan& whole, u64 halvings) const override {
        multiply::TransformPlan plan = whole;
        plan.capacity_bits = plan.wrap_bits = whole.wrap_bits >> halvings;
        set_bytes(plan);
        return plan;
    }

    multiply::Residue forward(const multiply::TransformPlan& plan, const GlobalTwiddleTable&, multiply::Operand a,
                              void* operand, void* work, u64 tasks) const override {
        EXPECT_LE(32 * a.n, (plan.wrap_bits + 31) / 32 * 32);
        EXPECT_GE(tasks, 1u);
        store(plan, operand, Bytes(a.bytes, a.bytes + 4 * a.n));
        use_work(plan, work, tasks);
        return {kernels::residue_of(a.bytes, a.n)};
    }

    void multiply(const multiply::TransformPlan& plan, const GlobalTwiddleTable&, void* a, const void* b, void* work,
                  u64 tasks) const override {
        const Bytes A = load(a), B = load(b);
        Bytes product(A.size() + B.size());
        if (!A.empty() && !B.empty())
            reference::oracle_multiply_bytes(product.data(), A.data(), A.size(), B.data(), B.size());
        store(plan, a, reduce(product, plan.wrap_bits));
        use_work(plan, work, tasks);
    }

    void inverse(const multiply::TransformPlan& plan, const GlobalTwiddleTable&, void* operand, multiply::Window out,
                 const multiply::Residue* expected, void* work, u64 tasks) const override {
        Bytes value = load(operand);
        value.resize(std::max<u64>(value.size(), 4 * (out.first + out.count)) / 4 * 4 + 4);
        if (expected != nullptr) {
            EXPECT_EQ(expected->value, kernels::residue_of(value.data(), value.size() / 4));
        }
        use_work(plan, work, tasks);
        std::memset(operand, 0xee, plan.operand_bytes);
        std::memcpy(out.bytes, value.data() + 4 * out.first, 4 * out.count);
    }

    void product(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table, void* a,
                 multiply::Residue a_residue, multiply::Operand b, multiply::Window out, bool check, void* work,
                 u64 tasks) const override {
        u8* other = static_cast<u8*>(work);
        u8* rest = other + plan.operand_bytes;
        multiply::Residue expected = a_residue;
        if (b.bytes == nullptr)
            std::memcpy(other, a, plan.operand_bytes);
        else
            expected = forward(plan, table, b, other, rest, tasks);
        expected.value = kernels::residue_mul(a_residue.value, expected.value);
        multiply(plan, table, a, other, rest, tasks);
        inverse(plan, table, a, out, check ? &expected : nullptr, rest, tasks);
    }

    // value modulo 2^bits - sign.
    Bytes reduce(const Bytes& value, u64 bits) const {
        Bytes low = slice(value, 0, bits);
        const Bytes high = slice(value, bits, 8 * value.size() > bits ? 8 * value.size() - bits : 0);
        bool negative = false;
        combine(low, high, sign_ > 0 ? 1 : -1, negative);
        // Once more: a carry out of the top, or a negative difference, is a unit of 2^bits = sign.
        if (sign_ > 0) {
            const Bytes carry = slice(low, bits, 8 * low.size() - bits);
            low = slice(low, 0, bits);
            combine(low, carry, 1, negative);
        } else if (negative) {
            Bytes modulus(low.size(), 0);
            modulus[0] = 1;
            modulus[bits / 8] |= static_cast<u8>(1u << bits % 8);
            combine(low, modulus, 1, negative);
        }
        return low;
    }

  private:
    static void set_bytes(multiply::TransformPlan& plan) {
        plan.operand_bytes = 16 + (plan.wrap_bits + 7) / 8 + 1;
        plan.work_bytes = 3 * plan.points;
        plan.product_bytes = plan.operand_bytes + plan.work_bytes;
        plan.task_bytes = 5;
    }

    struct Header {
        u64 bytes;
        u64 tag;
    };

    static Bytes slice(const Bytes& value, u64 first_bit, u64 bits) {
        Bytes out((bits + 7) / 8 + 1, 0);
        for (u64 i = 0; i < bits; ++i) {
            const u64 at = first_bit + i;
            if (at / 8 < value.size() && (value[at / 8] >> at % 8 & 1) != 0)
                out[i / 8] |= static_cast<u8>(1u << i % 8);
        }
        return out;
    }

    static void combine(Bytes& a, const Bytes& b, int factor, bool& negative) {
        int carry = 0;
        for (u64 i = 0; i < a.size(); ++i) {
            const int sum = a[i] + factor * (i < b.size() ? b[i] : 0) + carry;
            a[i] = static_cast<u8>(sum);
            carry = sum >> 8;
        }
        negative = carry < 0;
    }

    void store(const multiply::TransformPlan& plan, void* operand, const Bytes& value) const {
        std::memset(operand, 0x3c, plan.operand_bytes);
        Bytes trimmed = value;
        while (!trimmed.empty() && trimmed.back() == 0) trimmed.pop_back();
        ASSERT_LE(sizeof(Header) + trimmed.size(), plan.operand_bytes);
        const Header header{trimmed.size(), 0x51};
        std::memcpy(operand, &header, sizeof header);
        std::memcpy(static_cast<u8*>(operand) + sizeof header, trimmed.data(), trimmed.size());
    }

    static Bytes load(const void* operand) {
        Header header;
        std::memcpy(&header, operand, sizeof header);
        EXPECT_EQ(header.tag, 0x51u);
        const u8* at = static_cast<const u8*>(operand) + sizeof header;
        return Bytes(at, at + header.bytes);
    }

    static void use_work(const multiply::TransformPlan& plan, void* work, u64 tasks) {
        std::memset(work, 0x77, plan.work_bytes + tasks * plan.task_bytes);
    }

    int sign_;
    u64 step_bits_;
};

}  // namespace kvt::test
