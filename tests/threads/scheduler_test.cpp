// The work-stealing scheduler behind "cilk" (and "winpool" off Windows): threads, stealing, sleeping.

#include "threads/scheduler.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "frame/errors.h"
#include "support/child_process.h"
#include "threads/actions.h"
#include "threads/builtin.h"

namespace kvt::Threads {
namespace {

// A framework over a scheduler of its own, with more workers than this machine may have processors.
class OwnPool final : public ParallelFramework {
  public:
    explicit OwnPool(u64 workers) { this->workers = workers; }
    const char* name() override { return "own pool"; }
    void apply_settings() override {
        ++settings_applied;
        scheduler_.set_workers(workers);
    }
    void run_pair(BasicAction* first, BasicAction* second) override {
        if (!scheduler_.started()) scheduler_.start([this] { apply_settings(); }, errors::thread_not_created);
        scheduler_.run_pair(*first, *second);
    }
    unsigned settings_applied = 0;

  private:
    Scheduler scheduler_;
};

// Pool threads are never joined, so the objects stay for good.
OwnPool& four_workers() {
    static OwnPool& pool = *new OwnPool(4);
    return pool;
}
OwnPool& one_worker() {
    static OwnPool& pool = *new OwnPool(1);
    return pool;
}

// An irregular tree: uneven splits, leaves of random length, some nodes wait in the middle. Returns the leaves' sum.
u64 irregular(ParallelFramework& framework, u64 begin, u64 end, u64 seed) {
    if (end - begin <= 2) {
        volatile u64 spin = 0;
        for (u64 i = 0; i < (seed >> 5) % 2000; ++i) spin = spin + 1;
        return begin + (end - begin == 2 ? begin + 1 : 0);
    }
    const u64 next = seed * 6364136223846793005u + 1442695040888963407u;
    const u64 middle = begin + 1 + (next >> 33) % (end - begin - 1);
    u64 low = 0, high = 0;
    test::run_pair(
        framework, [&] { low = irregular(framework, begin, middle, next); },
        [&] { high = irregular(framework, middle, end, next ^ 0x5555); });
    return low + high;
}

TEST(Scheduler, IrregularTreesOfManyCallersLoseNothing) {
    std::vector<std::thread> callers;
    std::atomic<unsigned> wrong{0};
    for (u64 caller = 0; caller < 6; ++caller)
        callers.emplace_back([&, caller] {
            for (u64 round = 0; round < 6; ++round)
                if (irregular(four_workers(), 0, 4000, caller * 100 + round) != u64{4000} * 3999 / 2) ++wrong;
        });
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(four_workers().settings_applied, 1u);
}

TEST(Scheduler, RunsFourActionsAtTheSameTimeOnFourWorkers) {
    // Every index waits until all four have begun: four threads are needed, and a lost wake-up would hang here.
    for (int round = 0; round < 100; ++round) {
        struct Meet final : IndexAction {
            void run(u64) override {
                ++arrived;
                while (arrived < 4) std::this_thread::yield();
            }
            std::atomic<int> arrived{0};
        } meet;
        four_workers().run_range(&meet, 0, 4);
        ASSERT_EQ(meet.arrived, 4);
        if (round % 10 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));  // all asleep
    }
}

TEST(Scheduler, OneWorkerRunsEverythingOnTheCallingThread) {
    const auto self = std::this_thread::get_id();
    struct Where final : IndexAction {
        void run(u64) override { elsewhere |= std::this_thread::get_id() != wanted; }
        std::thread::id wanted;
        bool elsewhere = false;
    } where;
    where.wanted = self;
    one_worker().run_range(&where, 0, 1000);
    EXPECT_FALSE(where.elsewhere);
}

TEST(Scheduler, FrameworksNestInOneAnother) {
    std::atomic<u64> leaves{0};
    const auto inner = [&](ParallelFramework& framework) { leaves += test::fork_tree(framework, 6); };
    for (int round = 0; round < 50; ++round)
        test::run_pair(
            cilk_framework(),
            [&] {
                test::run_pair(
                    four_workers(), [&] { inner(cilk_framework()); }, [&] { inner(winpool_framework()); });
            },
            [&] {
                test::run_pair(
                    winpool_framework(), [&] { inner(four_workers()); }, [&] { inner(cilk_framework()); });
            });
    EXPECT_EQ(leaves, 50u * 4 * 64);
}

#ifdef __linux__

TEST(Scheduler, IdleThreadsSleep) {
    test::fork_tree(four_workers(), 10);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    // Three spinning threads would have used some hundred milliseconds on any machine.
    EXPECT_LT(static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC, 0.05);
}

unsigned thread_count() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "Threads:") {
            unsigned count;
            status >> count;
            return count;
        }
    return 0;
}

// Alone in a process of its own, because other tests leave their threads behind. Exits with the number of errors.
const test::ChildCase thread_growth{"thread_growth", [] {
                                        const bool alone_at_load = thread_count() == 1;
                                        const auto grows_past = [](ParallelFramework& framework, unsigned bound) {
                                            std::atomic<unsigned> most{0};
                                            std::vector<std::thread> callers;
                                            for (int i = 0; i < 5; ++i)
                                                callers.emplace_back([&] {
                                                    for (int round = 0; round < 5; ++round) {
                                                        test::fork_tree(framework, 12);
                                                        if (const unsigned now = thread_count(); now > most)
                                                            most = now;
                                                    }
                                                });
                                            for (std::thread& caller : callers) caller.join();
                                            return most > bound;
                                        };
                                        const auto processors = static_cast<unsigned>(platform::processor_count());
                                        const unsigned one_pool = processors - 1;
                                        const bool winpool = grows_past(winpool_framework(), processors + 1 + 5);
                                        const bool cilk = grows_past(cilk_framework(), processors + 1 + 5 + one_pool);
                                        std::printf("%d %d %d\n", alone_at_load, winpool, cilk);
                                    }};

TEST(Scheduler, ThreadsStayWithinProcessorsAndCallers) {
    const test::ChildEnd end = thread_growth.run();
    EXPECT_EQ(end.output, "1 0 0\n");
}

#endif

}  // namespace
}  // namespace kvt::Threads
