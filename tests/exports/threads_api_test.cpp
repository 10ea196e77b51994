#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "exports/threads_framework.h"
#include "support/console_capture.h"

namespace {

// Puts the framework back that was current.
class ThreadsApi : public testing::Test {
  protected:
    ~ThreadsApi() override { SetParallelFramework(before_); }

  private:
    ParallelFramework* before_ = GetParallelFramework();
};

constexpr const char* names[5] = {"none", "spawn", "cppasync", "winpool", "cilk"};

TEST_F(ThreadsApi, BuiltInFrameworksHaveTheirNames) {
    const std::string display_names[5] = {"None (No Multi-threading)", "Thread Spawn (1 Thread/Task)", "std::async()",
                                          "Windows Thread Pool", "Cilk Plus Work-Stealing"};
    bool default_is_built_in = false;
    for (int i = 0; i < 5; ++i) {
        ParallelFramework* framework = GetBuiltInFrameworkByName(names[i]);
        ASSERT_NE(framework, nullptr);
        EXPECT_EQ(GetFrameworkName(framework), display_names[i]);
        EXPECT_EQ(framework->workers != 0, i == 4);
        default_is_built_in |= i >= 3 && framework == GetParallelFramework();
    }
    EXPECT_TRUE(default_is_built_in);
    for (const char* unknown : {"None", "", "cilk "}) EXPECT_EQ(GetBuiltInFrameworkByName(unknown), nullptr);
}

TEST_F(ThreadsApi, CallbacksRunOnEveryFramework) {
    for (const char* name : names) {
        SetParallelFramework(GetBuiltInFrameworkByName(name));
        std::atomic<int> counts[40] = {};
        const IndexActionCallback index_action{
            [](void* counts, uint64_t i) { ++static_cast<std::atomic<int>*>(counts)[i]; }, counts};
        dll_RunInParallel_IndexAction(&index_action, 3, 3);
        dll_RunInParallel_IndexAction(&index_action, 3, 36);
        for (int i = 0; i < 40; ++i) EXPECT_EQ(counts[i], i >= 3 && i < 36 ? 1 : 0) << name << ", index " << i;

        const auto count = [](void* count) { ++*static_cast<std::atomic<int>*>(count); };
        const ActionCallback first{count, &counts[0]}, second{count, &counts[1]};
        dll_RunInParallel_BasicAction(&first, &second);
        EXPECT_EQ(counts[0], 1) << name;
        EXPECT_EQ(counts[1], 1) << name;
    }
}

// The second side never leaves the calling thread; the first does where a thread is made for it.
TEST_F(ThreadsApi, SecondSidesStayOnTheCallingThread) {
    for (const char* name : names) {
        SetParallelFramework(GetBuiltInFrameworkByName(name));
        const auto note = [](void* id) { *static_cast<std::thread::id*>(id) = std::this_thread::get_id(); };
        std::thread::id ids[2];
        const ActionCallback first{note, &ids[0]}, second{note, &ids[1]};
        dll_RunInParallel_BasicAction(&first, &second);
        EXPECT_EQ(ids[1], std::this_thread::get_id()) << name;
        const std::string made = name;
        if (made == "none") {
            EXPECT_EQ(ids[0], ids[1]);
        } else if (made == "spawn" || made == "cppasync") {
            EXPECT_NE(ids[0], ids[1]) << name;
        }
    }
}

TEST_F(ThreadsApi, NullRunsOnTheCallingThread) {
    SetParallelFramework(nullptr);
    EXPECT_EQ(GetParallelFramework(), nullptr);
    std::vector<uint64_t> order;
    const IndexActionCallback action{
        [](void* order, uint64_t i) { static_cast<std::vector<uint64_t>*>(order)->push_back(i); }, &order};
    dll_RunInParallel_IndexAction(&action, 5, 9);
    EXPECT_EQ(order, (std::vector<uint64_t>{5, 6, 7, 8}));
}

TEST_F(ThreadsApi, FrameworkWrittenInCRunsARange) {
    CountingFramework framework;
    make_counting_framework(&framework);
    SetParallelFramework(&framework.base);
    EXPECT_EQ(GetParallelFramework(), &framework.base);
    EXPECT_STREQ(GetFrameworkName(&framework.base), "written in C");

    // Second sides first: the upper half of every range runs before the lower one.
    std::vector<uint64_t> order;
    const IndexActionCallback callback{
        [](void* order, uint64_t i) { static_cast<std::vector<uint64_t>*>(order)->push_back(i); }, &order};
    dll_RunInParallel_IndexAction(&callback, 10, 15);
    EXPECT_EQ(order, (std::vector<uint64_t>{14, 13, 12, 11, 10}));
    EXPECT_EQ(framework.forks, 4u);
    dll_RunInParallel_IndexAction(&callback, 10, 11);
    dll_RunInParallel_IndexAction(&callback, 10, 10);
    dll_RunInParallel_IndexAction(&callback, 10, 9);
    EXPECT_EQ(framework.forks, 4u);

    const ActionCallback mark{[](void* forks) { *static_cast<unsigned*>(forks) += 100; }, &framework.forks};
    dll_RunInParallel_BasicAction(&mark, &mark);
    EXPECT_EQ(framework.forks, 205u);

    kvt::test::ConsoleCapture console(SetConsoleSink);
    PrintFrameworkDetails(&framework.base, 8);
    EXPECT_EQ(console.take(), "written in C  ->  6 / 8\n");
}

TEST_F(ThreadsApi, ActionWrittenInCRunsOnEveryFramework) {
    for (const char* name : names) {
        CountingAction action;
        make_counting_action(&action);
        run_range_of(GetBuiltInFrameworkByName(name), &action.base, 1, 15);
        for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(action.runs[i], i == 0 || i == 15 ? 0u : 1u) << name;
    }
}

TEST_F(ThreadsApi, FrameworkDerivedInCppInheritsTheRest) {
    class Derived final : public kv::Framework {
      public:
        const char* name() override { return "derived"; }
        void run_pair(BasicAction* first, BasicAction* second) override {
            ++forks;
            first->table->run(first);
            second->table->run(second);
        }
        int forks = 0;
    } framework;

    class Sum final : public kv::IndexAction {
      public:
        void run(uint64_t index) override { sum += index; }
        uint64_t sum = 0;
    } action;
    run_range_of(framework.as_c(), action.as_c(), 0, 10);
    EXPECT_EQ(action.sum, 45u);
    EXPECT_EQ(framework.forks, 9);

    TextRecord record{};
    framework.details(&record, 3);
    framework.details(&record, 4);
    EXPECT_EQ(std::string(record.text, record.length), "derived  ->  ? / 4");
    record.text_free(record.text);

    class Flag final : public kv::BasicAction {
      public:
        void run() override { ran = true; }
        bool ran = false;
    } first, second;
    ParallelFramework* cilk = GetBuiltInFrameworkByName("cilk");
    cilk->table->run_pair(cilk, first.as_c(), second.as_c());
    EXPECT_TRUE(first.ran && second.ran);
}

}  // namespace
