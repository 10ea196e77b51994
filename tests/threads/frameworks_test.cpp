#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "frame/console.h"
#include "support/console_capture.h"
#include "threads/actions.h"
#include "threads/builtin.h"
#include "threads/parallel.h"

namespace kvt::Threads {
namespace {

using test::fork_tree;
using test::run_pair;

class EveryFramework : public testing::TestWithParam<NamedFramework> {
  protected:
    ParallelFramework& framework() const { return *GetParam().framework; }
    bool thread_per_fork() const {
        return !std::strcmp(GetParam().name, "spawn") || !std::strcmp(GetParam().name, "cppasync");
    }
};

INSTANTIATE_TEST_SUITE_P(Threads, EveryFramework, testing::ValuesIn(builtin_frameworks()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(EveryFramework, RunsEveryIndexOnce) {
    for (u64 n : {0u, 1u, 2u, 3u, 5u, 64u, 100u}) {
        struct Count final : IndexAction {
            void run(u64 i) override { ++counts[i - 1000]; }
            std::atomic<int> counts[128] = {};
        } action;
        framework().run_range(&action, 1000, 1000 + n);
        for (u64 i = 0; i < 128; ++i) ASSERT_EQ(action.counts[i], i < n ? 1 : 0) << "index " << i << " of " << n;
        framework().run_range(&action, 1100, 1000);
        ASSERT_EQ(action.counts[100], 0);
    }
}

TEST_P(EveryFramework, NestsDeep) {
    const unsigned depth = thread_per_fork() ? 10 : 20;
    EXPECT_EQ(fork_tree(framework(), depth), u64{1} << depth);
}

// One side nests as deep as it goes, the other is a single action: the deque of a worker overflows and empties.
TEST_P(EveryFramework, NestsOneSideAlone) {
    const unsigned depth = thread_per_fork() ? 50 : 1500;
    std::atomic<unsigned> runs{0};
    struct Chain {
        ParallelFramework& framework;
        std::atomic<unsigned>& runs;
        void descend(unsigned depth) {
            if (depth == 0) return;
            run_pair(
                framework, [&] { ++runs; }, [&] { descend(depth - 1); });
        }
    } chain{framework(), runs};
    chain.descend(depth);
    EXPECT_EQ(runs, depth);
}

TEST_P(EveryFramework, ServesManyCallersAtOnce) {
    const unsigned callers = 12, depth = thread_per_fork() ? 4 : 9;
    std::vector<std::thread> threads;
    std::atomic<u64> leaves{0};
    for (unsigned i = 0; i < callers; ++i)
        threads.emplace_back([&] {
            for (unsigned round = 0; round < 4; ++round) leaves += fork_tree(framework(), depth);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(leaves, u64{callers} * 4 << depth);
}

TEST_P(EveryFramework, ExceptionOfTheSecondSidePassesAfterTheFirstHasFinished) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<bool> first_ran{false};
        EXPECT_THROW(run_pair(
                         framework(), [&] { first_ran = true; }, [] { throw std::runtime_error("second"); }),
                     std::runtime_error);
        EXPECT_TRUE(first_ran);
    }
}

TEST(FrameworkTable, FindsExactNamesOnly) {
    for (const NamedFramework& entry : builtin_frameworks())
        EXPECT_EQ(find_builtin_framework(entry.name), entry.framework);
    EXPECT_EQ(find_builtin_framework("None"), nullptr);
    EXPECT_EQ(find_builtin_framework(""), nullptr);
    EXPECT_EQ(find_builtin_framework(nullptr), nullptr);
}

TEST(FrameworkTable, DefaultDependsOnGroupsAndProcessors) {
    EXPECT_EQ(&default_framework(1, 32), &winpool_framework());
    EXPECT_EQ(&default_framework(0, 0), &winpool_framework());
    EXPECT_EQ(&default_framework(1, 33), &cilk_framework());
    EXPECT_EQ(&default_framework(2, 8), &cilk_framework());
}

TEST(FrameworkTable, NoFrameworkStandsForNone) {
    ParallelFramework* before = current_framework();
    set_current_framework(nullptr);
    EXPECT_EQ(current_framework(), nullptr);
    EXPECT_EQ(&framework_in_use(), &none_framework());
    set_current_framework(before);
    EXPECT_EQ(&framework_in_use(), before);
}

TEST(FrameworkDetails, PrintsNameWorkersAndTasks) {
    test::ConsoleCapture console(set_console_sink);
    winpool_framework().print_details(7);
    EXPECT_EQ(console.take(), "Windows Thread Pool  ->  ? / 7\n");

    TextRecord record{};
    cppasync_framework().details(&record, 1);
    cilk_framework().details(&record, 123);
    const std::string expected =
        "Cilk Plus Work-Stealing  ->  " + std::to_string(cilk_framework().workers) + " / 123";
    EXPECT_EQ(record.length, expected.size());
    EXPECT_EQ(record.text, expected);
    record.text_free(record.text);
    EXPECT_GE(cilk_framework().workers, 1u);
}

}  // namespace
}  // namespace kvt::Threads
