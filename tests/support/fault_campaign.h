#pragma once
// Faults on the way: one bit flipped in memory while an operation is at work, many times over, and what became of it.
// A FaultClock ticks whenever the library comes back to its caller, that is at every fork (it is the framework) and at
// every phase (it is the progress sink), and flips the bit it is armed with at the tick it is armed for.

#include <string>
#include <vector>

#include "frame/progress.h"
#include "support/falsify.h"
#include "support/operands.h"
#include "threads/framework.h"

namespace kvt::test {

struct MemoryRange {
    void* data;
    u64 bytes;
};

class FaultClock final : public Threads::ParallelFramework {
  public:
    FaultClock() : sink_{push, pop, show, this} {}

    // Runs the operation on this framework, with the sink installed; a bit of the range is flipped at that tick.
    template <class Operation>
    void run_armed(u64 tick, MemoryRange range, u64 bit, Operation&& operation) {
        armed_tick_ = tick;
        range_ = range;
        bit_ = bit;
        tick_ = phase_ = 0;
        phases_.clear();
        const Scope scope(*this);
        operation();
    }
    // Runs it without a fault: the tag ordinal of every tick, 0 before the first tag.
    template <class Operation>
    std::vector<u64> ticks_of(Operation&& operation) {
        run_armed(~u64{0}, {}, 0, operation);
        return phases_;
    }

    const ProgressSink* sink() const { return &sink_; }

    const char* name() override { return "fault clock"; }
    void run_range(Threads::IndexAction* action, u64 begin, u64 end) override {
        for (u64 i = begin; i < end; ++i) {
            tick();
            action->run(i);
        }
        tick();
    }
    void run_pair(Threads::BasicAction* first, Threads::BasicAction* second) override {
        tick();
        first->run();
        tick();
        second->run();
        tick();
    }

  private:
    struct Scope {
        explicit Scope(FaultClock& clock)
            : framework(Threads::current_framework()), sink(set_progress_sink(&clock.sink_)) {
            Threads::set_current_framework(&clock);
        }
        ~Scope() {
            Threads::set_current_framework(framework);
            set_progress_sink(sink);
        }
        Threads::ParallelFramework* framework;
        const ProgressSink* sink;
    };

    void tick() {
        if (tick_++ == armed_tick_) flip_bit(range_.data, bit_ % (8 * range_.bytes));
        if (armed_tick_ == ~u64{0}) phases_.push_back(phase_);
    }
    static void push(void* self, const char*) {
        ++static_cast<FaultClock*>(self)->phase_;
        static_cast<FaultClock*>(self)->tick();
    }
    static void pop(void* self) { static_cast<FaultClock*>(self)->tick(); }
    static void show(void* self, u64) { static_cast<FaultClock*>(self)->tick(); }

    ProgressSink sink_;
    u64 armed_tick_ = ~u64{0}, tick_ = 0, phase_ = 0, bit_ = 0;
    MemoryRange range_{};
    std::vector<u64> phases_;
};

enum class FaultOutcome { caught, harmless, wrong };

struct FaultCounts {
    u64 faults = 0;
    u64 caught = 0;    // an error was raised
    u64 ended = 0;     // the library ended the process, after a message
    u64 harmless = 0;  // the result is as good as without the fault
    u64 wrong = 0;     // a wrong result, without a word
    u64 crashed = 0;   // the process died without a message
};

// Runs trial(i) for i in [0, faults) in child processes: a trial that ends its process is counted, and the next child
// goes on behind it. trial returns a FaultOutcome; an exception of the library out of it counts as caught.
class FaultCampaign {
  public:
    using Trial = FaultOutcome (*)(void* context, u64 index);
    static FaultCounts run(u64 faults, Trial trial, void* context);

    template <class Body>
    static FaultCounts run(u64 faults, Body&& body) {
        return run(
            faults, [](void* context, u64 i) { return (*static_cast<std::remove_reference_t<Body>*>(context))(i); },
            &body);
    }

    // One line of the table that a campaign prints.
    static void print_head();
    static void print(const std::string& operation, const std::string& where, const FaultCounts& counts);
};

}  // namespace kvt::test
