#pragma once
// Falsified intermediate results: an engine that stands between the library's code and a real engine and flips one
// bit on the way, as a hardware fault would. What is above it must notice, or at least not crash.

#include "multiply/engine.h"

namespace kvt::test {

inline void flip_bit(void* data, u64 bit) {
    static_cast<unsigned char*>(data)[bit / 8] ^= static_cast<unsigned char>(1u << bit % 8);
}

class FalsifyingEngine final : public multiply::TransformEngine {
  public:
    enum class Stage {
        transformed,  // operand a as forward() left it
        multiplied,   // the pointwise product
    };

    // bit: counted from the start of the operand's buffer.
    FalsifyingEngine(const TransformEngine& engine, Stage stage, u64 bit)
        : engine_(engine), stage_(stage), bit_(bit) {}

    multiply::TransformPlan plan(u64 min_bits) const override { return engine_.plan(min_bits); }

    multiply::Residue forward(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table,
                              multiply::Operand a, void* operand, void* work, u64 tasks) const override {
        return engine_.forward(plan, table, a, operand, work, tasks);
    }

    void multiply(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table, void* a, const void* b,
                  void* work, u64 tasks) const override {
        if (stage_ == Stage::transformed) flip_bit(a, bit_);
        engine_.multiply(plan, table, a, b, work, tasks);
        if (stage_ == Stage::multiplied) flip_bit(a, bit_);
    }

    void inverse(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table, void* operand,
                 multiply::Window out, const multiply::Residue* expected, void* work, u64 tasks) const override {
        engine_.inverse(plan, table, operand, out, expected, work, tasks);
    }

    // The one-shot call shows only the transformed operand from outside.
    void product(const multiply::TransformPlan& plan, const GlobalTwiddleTable& table, void* a,
                 multiply::Residue a_residue, multiply::Operand b, multiply::Window out, bool check, void* work,
                 u64 tasks) const override {
        flip_bit(a, bit_);
        engine_.product(plan, table, a, a_residue, b, out, check, work, tasks);
    }

  private:
    const TransformEngine& engine_;
    Stage stage_;
    u64 bit_;
};

}  // namespace kvt::test
