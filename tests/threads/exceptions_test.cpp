// What becomes of an exception in a forked action, and of failures of the operating system, framework by framework.

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "platform/clock.h"
#include "platform/faults.h"
#include "support/child_process.h"
#include "support/console_capture.h"
#include "threads/actions.h"
#include "threads/builtin.h"
#include "threads/thread.h"

namespace kvt::Threads {
namespace {

using platform::Fault;
using test::ChildCase;
using test::ChildEnd;

std::string what_is_thrown(ParallelFramework& framework, const char* first, const char* second) {
    try {
        test::run_pair(
            framework,
            [=] {
                if (first) throw std::runtime_error(first);
            },
            [=] {
                if (second) throw std::runtime_error(second);
            });
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(ForkedException, ReachesTheCallerOfNoneCppasyncAndCilk) {
    for (ParallelFramework* framework : {&none_framework(), &cppasync_framework(), &cilk_framework()})
        for (int round = 0; round < 50; ++round) {
            ASSERT_EQ(what_is_thrown(*framework, "first", nullptr), "first") << framework->name();
            ASSERT_EQ(what_is_thrown(*framework, nullptr, nullptr), "") << framework->name();
        }
}

TEST(ForkedException, SecondSideWinsWhenBothThrow) {
    EXPECT_EQ(what_is_thrown(none_framework(), "first", "second"), "first");  // second has not run
    for (ParallelFramework* framework : {&cppasync_framework(), &cilk_framework()})
        for (int round = 0; round < 50; ++round)
            ASSERT_EQ(what_is_thrown(*framework, "first", "second"), "second") << framework->name();
}

// The thief is made sure of: second waits until first runs.
TEST(ForkedException, IsCarriedFromTheThreadThatStoleIt) {
    if (cilk_framework().workers < 2) GTEST_SKIP() << "one processor";
    for (int round = 0; round < 50; ++round) {
        std::atomic<bool> stolen{false};
        try {
            test::run_pair(
                cilk_framework(),
                [&] {
                    stolen = true;
                    throw std::out_of_range("stolen");
                },
                [&] {
                    while (!stolen) platform::pause_briefly();
                });
            FAIL() << "nothing was thrown";
        } catch (const std::out_of_range& error) {
            ASSERT_STREQ(error.what(), "stolen");
        }
    }
}

// An exception deep in a tree of forks passes up through all of them.
TEST(ForkedException, PassesUpThroughNestedForks) {
    struct Tree {
        static void run(unsigned depth) {
            if (depth == 0) throw std::runtime_error("leaf");
            test::run_pair(
                cilk_framework(), [=] { run(depth - 1); }, [] {});
        }
    };
    for (int round = 0; round < 20; ++round) EXPECT_THROW(Tree::run(12), std::runtime_error);
}

void throw_library_error() { throw kv_exception(77, "Some Title", "a place", "a message"); }
void throw_number() { throw 5; }
void nothing() {}

const ChildCase spawn_library{"spawn_library",
                              [] { test::run_pair(spawn_framework(), throw_library_error, nothing); }};
const ChildCase spawn_other{"spawn_other", [] { test::run_pair(spawn_framework(), throw_number, nothing); }};
const ChildCase winpool_library{"winpool_library",
                                [] { test::run_pair(winpool_framework(), throw_library_error, nothing); }};
const ChildCase winpool_other{"winpool_other", [] { test::run_pair(winpool_framework(), throw_number, nothing); }};
const ChildCase winpool_both{"winpool_both", [] { test::run_pair(winpool_framework(), throw_number, throw_number); }};

TEST(ForkedException, EndsTheProcessUnderSpawnAndWinpool) {
    for (const ChildCase* child : {&spawn_library, &winpool_library}) {
        const ChildEnd end = child->run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output,
                  "\nException Encountered: Some Title\nError Code: 77\nLocation: a place\na message\n\n");
    }
    for (const ChildCase* child : {&spawn_other, &winpool_other, &winpool_both}) {
        const ChildEnd end = child->run();
        EXPECT_TRUE(end.exited_with(1));
        EXPECT_EQ(end.output, "FATAL ERROR: Unhandled exception in child thread.\n");
    }
}

void fork_with(Fault fault, ParallelFramework& framework) {
    platform::injected_fault = fault;
    test::run_pair(framework, nothing, nothing);
}
const ChildCase spawn_create{"spawn_create", [] { fork_with(Fault::create_thread, spawn_framework()); }};
const ChildCase spawn_wait{"spawn_wait", [] { fork_with(Fault::wait_thread, spawn_framework()); }};
const ChildCase spawn_close{"spawn_close", [] { fork_with(Fault::close_thread, spawn_framework()); }};
const ChildCase winpool_create{"winpool_create", [] { fork_with(Fault::create_work, winpool_framework()); }};
const ChildCase cilk_create{"cilk_create", [] {
                                cilk_framework().workers = 2;
                                fork_with(Fault::create_thread, cilk_framework());
                            }};

TEST(ThreadFailure, PrintsItsMessageAndExits) {
    const struct {
        const ChildCase& child;
        const char* message;
    } cases[] = {{spawn_create, "Unable to create thread."},
                 {spawn_wait, "Wait for thread has failed."},
                 {spawn_close, "Unable to close a thread handle."},
                 {winpool_create, "Unable to create thread pool work."},
                 {cilk_create, "Unable to create thread."}};
    for (const auto& [child, message] : cases) {
        const ChildEnd end = child.run();
        EXPECT_TRUE(end.exited_with(1)) << message;
        EXPECT_EQ(end.output, "\nException Encountered: Thread Exception\nError Code: " +
                                  std::to_string(platform::injected_error) + "\n" + message + "\n\n");
    }
}

TEST(ThreadObject, RunsItsFunctionAndJoinsWhenDestroyed) {
    std::atomic<int> runs{0};
    const auto count = [](void* runs) { ++*static_cast<std::atomic<int>*>(runs); };
    {
        Thread joined(0, count, &runs), left(0, count, &runs);
        EXPECT_TRUE(joined.joinable());
        joined.join();
        EXPECT_FALSE(joined.joinable());
    }
    EXPECT_EQ(runs, 2);
}

TEST(ThreadObject, WarnsOfPrioritiesAndGoesOn) {
    std::atomic<int> runs{0};
    const auto count = [](void* runs) { ++*static_cast<std::atomic<int>*>(runs); };
    test::ConsoleCapture console(set_console_sink);
    for (int unknown : {4, -4, 1000}) {
        Thread(unknown, count, &runs).join();
        EXPECT_EQ(console.take(), "Warning: Ignoring unknown priority number.\n");
    }
    for (int known : {-3, -2, -1, 1, 2, 3}) {
        Thread(known, count, &runs).join();
#ifdef _WIN32
        EXPECT_EQ(console.take(), "");
#else
        EXPECT_EQ(console.take(), "Warning: Unable to set thread priority.\n");
#endif
    }
    EXPECT_EQ(runs, 9);
}

TEST(Clock, NeverGoesBackAndReportsFailure) {
    double before = 0, after = 0;
    ASSERT_TRUE(platform::read_performance_counter(before));
    for (int i = 0; i < 1000; ++i) {
        ASSERT_TRUE(platform::read_performance_counter(after));
        ASSERT_GE(after, before);
        before = after;
    }
    platform::injected_fault = Fault::performance_counter;
    EXPECT_FALSE(platform::read_performance_counter(after));
    platform::injected_fault = Fault::none;
    EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace kvt::Threads
