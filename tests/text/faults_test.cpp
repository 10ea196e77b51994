// One bit flipped while decimal text is written or read: what is caught, what does no harm, what gets out wrong.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/exceptions.h"
#include "multiply/twiddle_table.h"
#include "support/fault_campaign.h"
#include "support/scratch.h"
#include "text/decimal.h"
#include "text/read_decimal.h"

#if KVNUM_HAVE_GMP
namespace kvt::text {
namespace {

using test::FaultCampaign;
using test::FaultCounts;
using test::FaultOutcome;
using test::MemoryRange;

// An integer of n words to text and back, with all memory, ready to be repeated.
class Subject {
  public:
    Subject(u64 n, u64 tasks, u64 seed)
        : sizes_(integer_decimal_sizes<u64>(n, tasks)), writing_(sizes_.scratch_bytes), buffer_(sizes_.buffer_bytes) {
        multiply::ensure_global_table((2 * n + 32) * 64);
        test::Rng rng(seed);
        words_ = test::words<u64>(test::Pattern::random, n, rng);
        words_.back() |= 1;
        params_ = writing_.parameters(multiply::global_table(), tasks);
        write();
        text_ = result_;
        write_ticks_ = clock_.ticks_of([&] { write(); }).size();
        input_ = text_;
        reading_ = std::vector<u8>(read_decimal_bytes<u64>(text_.size(), tasks) + 64);
        out_.resize(decimal_words<u64>(text_.size()));
        tasks_ = tasks;
        read_ticks_ = clock_.ticks_of([&] { read(); }).size();
    }

    FaultOutcome write_with_fault(MemoryRange range, test::Rng& rng) {
        const auto words = words_;
        try {
            clock_.run_armed(rng.below(write_ticks_), range, rng.next(), [&] { write(); });
        } catch (const kv_exception&) {
            words_ = words;
            throw;
        }
        words_ = words;
        return result_ == text_ ? FaultOutcome::harmless : FaultOutcome::wrong;
    }
    FaultOutcome read_with_fault(MemoryRange range, test::Rng& rng) {
        const u64 length = clock_read(range, rng);
        return length == words_.size() && std::equal(words_.begin(), words_.end(), out_.begin())
                   ? FaultOutcome::harmless
                   : FaultOutcome::wrong;
    }

    MemoryRange operand() { return {words_.data(), 8 * words_.size()}; }
    MemoryRange writing_scratch() { return {params_.memory, params_.memory_bytes}; }
    MemoryRange input() { return {input_.data(), input_.size()}; }
    MemoryRange reading_scratch() { return {reading_.data(), reading_.size() - 64}; }
    MemoryRange output() { return {out_.data(), 8 * out_.size()}; }

  private:
    void write() {
        const objects::BigInt<u64> x{words_.data(), words_.size(), true, words_.data(), words_.size()};
        result_ = to_string_dec(params_, buffer_.data(), x);
    }
    u64 read() {
        objects::BigInt<u64> y{nullptr, 0, true, out_.data(), out_.size()};
        const BasicParameters params{multiply::global_table(), reading_.data(), reading_.size(), tasks_};
        set_string_dec(params, y, input_.data(), input_.size());
        return y.L;
    }
    u64 clock_read(MemoryRange range, test::Rng& rng) {
        u64 length = 0;
        std::memcpy(input_.data(), text_.data(), text_.size());
        clock_.run_armed(rng.below(read_ticks_), range, rng.next(), [&] { length = read(); });
        return length;
    }

    TextSizes sizes_;
    test::Scratch writing_;
    std::vector<char> buffer_;
    std::vector<u64> words_, out_;
    std::vector<u8> reading_;
    std::string text_, result_, input_;
    BasicParameters params_;
    u64 tasks_ = 1, write_ticks_ = 0, read_ticks_ = 0;
    test::FaultClock clock_;
};

TEST(TextFaults, InOperandsAndScratch) {
    Subject subject(20000, 2, 9);
    FaultCampaign::print_head();
    const u64 faults = test::rounds(300);
    const auto check = [&](const FaultCounts& counts, const char* where) {
        EXPECT_EQ(counts.faults, faults) << where;
        EXPECT_EQ(counts.crashed + counts.wrong, 0u) << where;
        EXPECT_GT(counts.caught, 0u) << where;
    };
    const auto writing = [&](const char* where, MemoryRange range) {
        const FaultCounts counts = FaultCampaign::run(faults, [&](u64 i) {
            test::Rng rng(31 * i + 1);
            return subject.write_with_fault(range, rng);
        });
        FaultCampaign::print("writing decimal", where, counts);
        check(counts, where);
    };
    const auto reading = [&](const char* where, MemoryRange range) {
        const FaultCounts counts = FaultCampaign::run(faults, [&](u64 i) {
            test::Rng rng(31 * i + 2);
            return subject.read_with_fault(range, rng);
        });
        FaultCampaign::print("reading decimal", where, counts);
        check(counts, where);
    };
    writing("the integer", subject.operand());
    writing("scratch", subject.writing_scratch());
    reading("characters", subject.input());
    reading("scratch", subject.reading_scratch());
    reading("the integer", subject.output());
}

}  // namespace
}  // namespace kvt::text
#endif
