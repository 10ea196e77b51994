// One bit flipped while an inverse operation is at work: what is caught, what does no harm, and what gets out wrong.

#include <gtest/gtest.h>

#include "inverse/inverse_fixture.h"
#include "inverse/inverse_sqrt.h"
#include "inverse/reciprocal.h"
#include "support/fault_campaign.h"
#include "support/scratch.h"

#if KVNUM_HAVE_GMP
namespace kvt::inverse {
namespace {

using test::FaultCampaign;
using test::FaultCounts;
using test::FaultOutcome;
using test::MemoryRange;

enum class Operation { reciprocal, division, inverse_sqrt };
constexpr const char* names[] = {"reciprocal", "division", "inverse root"};

// An operation at a precision, with all its memory, ready to be repeated.
template <class W>
class Subject {
    using Number = objects::BigFloat<W>;

  public:
    Subject(Operation operation, u64 p, u64 tasks, u64 seed)
        : operation_(operation),
          p_(p),
          sizes_(operation == Operation::division     ? division_sizes<W>(p, tasks)
                 : operation == Operation::reciprocal ? reciprocal_sizes<W>(p, tasks)
                                                      : inverse_sqrt_sizes<W>(p, tasks)),
          memory_(sizes_.transform_bytes),
          scratch_(sizes_.scratch_words),
          out_(sizes_.out_words) {
        multiply::ensure_global_table((2 * p + 32) * word_bits<W>);
        params_ = memory_.parameters(multiply::global_table(), tasks);
        test::Rng rng(seed);
        a_ = test::words<W>(test::Pattern::random, p, rng);
        b_ = test::words<W>(test::Pattern::random, p + 5, rng);
        a_.back() |= 1;
        b_.back() |= 1;
        phases_ = clock_.ticks_of([&] { run(); });
        phases_.pop_back();  // the result is written by then
        good_.assign(result_.T, result_.T + result_.L);
        good_exp_ = result_.exp;
    }

    // With a bit of the range flipped at a tick of the phases from..last (counted from the last one).
    FaultOutcome run_with_fault(MemoryRange range, u64 phase_from_last, test::Rng& rng) {
        const auto a = a_, b = b_;
        std::vector<u64> ticks;
        for (u64 i = 0; i < phases_.size(); ++i)
            if (phase_from_last == any || phases_[i] + phase_from_last == phases_.back()) ticks.push_back(i);
        try {
            clock_.run_armed(ticks[rng.below(ticks.size())], range, rng.next(), [&] { run(); });
        } catch (const kv_exception&) {
            a_ = a, b_ = b;
            return FaultOutcome::caught;
        }
        a_ = a, b_ = b;
        return is_good() ? FaultOutcome::harmless : FaultOutcome::wrong;
    }
    static constexpr u64 any = ~u64{0};

    MemoryRange transforms() { return {params_.memory, params_.memory_bytes}; }
    MemoryRange approximation() { return words(scratch_.data(), (p_ + 1) / 2 + 3); }
    // The operand that a reciprocal is taken of; the root's is a word, its words are those that are worked on.
    MemoryRange high_words() {
        if (operation_ == Operation::inverse_sqrt) return words(out_.data() + out_.size() / 2, out_.size() / 2);
        return words(b_.data() + b_.size() / 2, b_.size() - b_.size() / 2);
    }
    MemoryRange low_words() {
        if (operation_ == Operation::inverse_sqrt) return words(out_.data(), out_.size() / 2);
        return words(b_.data(), b_.size() / 2);
    }

    // What is worked on: the output's buffer, and the word scratch behind R.
    MemoryRange output() { return words(out_.data(), out_.size()); }
    MemoryRange behind_R() {
        const u64 R = (p_ + 1) / 2 + 4;
        return words(scratch_.data() + R, scratch_.size() - R);
    }

  private:
    static MemoryRange words(W* data, u64 n) { return {data, n * sizeof(W)}; }

    void run() {
        Number a{a_.data(), a_.size(), -3, true, nullptr, 0}, b{b_.data(), b_.size(), 2, true, nullptr, 0};
        result_ = {out_.data(), 0, 0, true, out_.data(), out_.size()};
        const WordScratch<W> scratch{scratch_.data(), scratch_.size()};
        switch (operation_) {
            case Operation::reciprocal: return reciprocal(params_, result_, b, p_, scratch, clock_.sink());
            case Operation::division: return divide(params_, result_, a, b, p_, scratch, clock_.sink());
            case Operation::inverse_sqrt:
                return inverse_sqrt<W>(params_, result_, root_of, p_, scratch, clock_.sink());
        }
    }

    // Within the bound that the operation promises.
    bool is_good() const {
        if (result_.exp == good_exp_ && result_.sign && std::equal(good_.begin(), good_.end(), result_.T) &&
            result_.L == good_.size())
            return true;
        if (result_.L == 0 || !result_.sign) return false;
        if (result_.exp < -static_cast<i64>(4 * p_) || result_.exp > static_cast<i64>(4 * p_)) return false;
        Distance distance;
        distance.set(result_.T, result_.L, result_.exp);
        if (operation_ == Operation::division) {
            distance.multiply(b_.data(), b_.size(), 2);
            return distance.close_to(a_.data(), a_.size(), -3, word_bits<W> * p_ - 1);
        }
        if (operation_ == Operation::reciprocal) {
            distance.multiply(b_.data(), b_.size(), 2);
            return distance.template close_to_one<W>(word_bits<W> * p_ + word_bits<W> - 2);
        }
        const W x = root_of;
        distance.multiply(result_.T, result_.L, result_.exp);
        distance.multiply(&x, 1, 0);
        return distance.template close_to_one<W>(word_bits<W> * p_ + word_bits<W> - 3);
    }

    static constexpr W root_of = 1234567891;

    Operation operation_;
    u64 p_;
    Sizes sizes_;
    test::Scratch memory_;
    std::vector<W> scratch_, out_, a_, b_, good_;
    i64 good_exp_ = 0;
    Number result_{};
    BasicParameters params_;
    test::FaultClock clock_;
    std::vector<u64> phases_;
};

// Numbers of less than 64 words are not looked at for changes. Of the long operations most are short enough to be run
// often; the longest one forks, so that faults fall into its transforms too.
enum class Length { below_64_words, longer };

template <class W>
struct Subjects {
    Subject<W> of[2];
    Subjects(Operation operation, Length length)
        : of{{operation, length == Length::longer ? 400u : 50u, 1, 1},
             {operation, length == Length::longer ? 8400u : 24u, 2, 2}} {}
    Subject<W>& pick(u64 i) { return of[i % 8 == 0]; }
};

void add(FaultCounts& sum, const FaultCounts& counts) {
    sum.faults += counts.faults;
    sum.caught += counts.caught;
    sum.ended += counts.ended;
    sum.harmless += counts.harmless;
    sum.wrong += counts.wrong;
    sum.crashed += counts.crashed;
}

template <class W, class Range>
FaultCounts campaign(Operation operation, Length length, u64 faults, Range range) {
    Subjects<W> subjects(operation, length);
    return FaultCampaign::run(faults, [&](u64 i) {
        test::Rng rng(1000 * i + 7);
        Subject<W>& subject = subjects.pick(i);
        return subject.run_with_fault((subject.*range)(), Subject<W>::any, rng);
    });
}

// No fault in an operand or in R gets through where they are looked at.
TEST(InverseFaults, InOperandsApproximationsAndTransforms) {
    FaultCampaign::print_head();
    const u64 faults = test::rounds(10000) / 48 + 1;
    for (Operation operation : {Operation::reciprocal, Operation::division, Operation::inverse_sqrt}) {
        for (Length length : {Length::longer, Length::below_64_words}) {
            const std::string name = std::string(names[static_cast<int>(operation)]) +
                                     (length == Length::longer ? ", 400 to 8400" : ", 24 to 50");
            const auto both_widths = [&](const char* where, auto range32, auto range64) {
                FaultCounts counts = campaign<u32>(operation, length, faults, range32);
                add(counts, campaign<u64>(operation, length, faults, range64));
                FaultCampaign::print(name, where, counts);
                EXPECT_EQ(counts.faults, 2 * faults);
                EXPECT_EQ(counts.crashed, 0u) << name << ' ' << where;
                return counts.wrong;
            };
            const u64 in_high = both_widths("high words", &Subject<u32>::high_words, &Subject<u64>::high_words);
            const u64 in_low = both_widths("low words", &Subject<u32>::low_words, &Subject<u64>::low_words);
            const u64 in_R = both_widths("R", &Subject<u32>::approximation, &Subject<u64>::approximation);
            const u64 in_output = both_widths("output while at work", &Subject<u32>::output, &Subject<u64>::output);
            const u64 behind_R =
                both_widths("word scratch behind R", &Subject<u32>::behind_R, &Subject<u64>::behind_R);
            const u64 in_transforms = both_widths("transforms", &Subject<u32>::transforms, &Subject<u64>::transforms);
            if (length == Length::below_64_words) {
                EXPECT_EQ(in_high + in_low + in_output + behind_R + in_transforms, 0u) << name;
            }
            EXPECT_EQ(in_R, 0u) << name;
            if (operation != Operation::inverse_sqrt) {
                EXPECT_EQ(in_high + in_low, 0u) << name;
            }
        }
    }
}

// The division's first and last product are whole ones, each checked by its residue.
TEST(InverseFaults, NoneOfTheDivisionsWholeProductsLetsOneThrough) {
    Subject<u64> subject(Operation::division, 16500, 2, 5);
    const struct {
        const char* product;
        u64 phase_from_last;
    } rows[] = {{"transforms of Q", 2}, {"transforms of C", 0}};
    for (const auto& row : rows) {
        const FaultCounts counts = FaultCampaign::run(test::rounds(400), [&](u64 i) {
            test::Rng rng(77 * i + row.phase_from_last);
            return subject.run_with_fault(subject.transforms(), row.phase_from_last, rng);
        });
        FaultCampaign::print("division", row.product, counts);
        EXPECT_GT(counts.caught, counts.faults / 20);
        EXPECT_EQ(counts.wrong, 0u);
        EXPECT_EQ(counts.crashed, 0u);
    }
}

}  // namespace
}  // namespace kvt::inverse
#endif
