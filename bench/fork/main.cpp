// What a fork costs, framework by framework, through the shared library:
//   pair   ns per run_pair of two empty actions, one after the other: minimum and median of blocks of 1,000
//   tree   ns per run_pair in a binary tree of forks 16 deep (10 where every fork is a thread)
//   range  ns per index of run_range with an empty action
//   scaling: a plain loop over indices of 50 us against run_range, alternating; median of the ratios. Beside it the
//   same for two plain threads that take half each, which shows what the machine gives at the moment. The indices
//   compute, or only wait (which depends less on the other programs on the machine)
// Usage: kvnum_bench_fork [indices of the scaling measure, default 2048; 0 leaves it out]

#include <kvnum/kvnum.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double nanoseconds_since(Clock::time_point start) {
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void run_pair(ParallelFramework* framework, BasicAction* first, BasicAction* second) {
    framework->table->run_pair(framework, first, second);
}

class Empty final : public kv::BasicAction {
  public:
    void run() override {}
};

class Tree final : public kv::BasicAction {
  public:
    Tree(ParallelFramework* framework, unsigned depth) : framework_(framework), depth_(depth) {}
    void run() override {
        if (depth_ == 0) return;
        Tree first(framework_, depth_ - 1), second(framework_, depth_ - 1);
        run_pair(framework_, first.as_c(), second.as_c());
    }

  private:
    ParallelFramework* framework_;
    unsigned depth_;
};

// Takes 50 us without needing a processor: shows how the indices are spread where other programs disturb Work.
class Wait final : public kv::IndexAction {
  public:
    void run(uint64_t) override { std::this_thread::sleep_for(std::chrono::microseconds(50)); }
};

class EmptyIndex final : public kv::IndexAction {
  public:
    void run(uint64_t) override {}
};

// A fixed amount of work, about 50 us; no clock in it, so that a thread that is not running does not seem to work.
class Work final : public kv::IndexAction {
  public:
    void run(uint64_t index) override {
        volatile uint64_t x = index;
        for (unsigned i = 0; i < steps; ++i) x = x * 6364136223846793005u + 1442695040888963407u;
    }
    void calibrate() {
        for (int round = 0; round < 20; ++round) {
            const auto start = Clock::now();
            run(1);
            if (round >= 10) steps = std::max(1u, static_cast<unsigned>(steps * 50e3 / nanoseconds_since(start)));
        }
    }
    unsigned steps = 10000;
};

void measure_forks(const char* name) {
    ParallelFramework* framework = GetBuiltInFrameworkByName(name);
    const bool thread_per_fork = !std::strcmp(name, "spawn") || !std::strcmp(name, "cppasync");
    Empty first, second;
    run_pair(framework, first.as_c(), second.as_c());

    const unsigned block = thread_per_fork ? 10 : 1000, blocks = thread_per_fork ? 100 : 1000;
    std::vector<double> pair;
    for (unsigned i = 0; i < blocks; ++i) {
        const auto start = Clock::now();
        for (unsigned j = 0; j < block; ++j) run_pair(framework, first.as_c(), second.as_c());
        pair.push_back(nanoseconds_since(start) / block);
    }

    const unsigned depth = thread_per_fork ? 10 : 16;
    std::vector<double> tree, range;
    for (int i = 0; i < 15; ++i) {
        Tree root(framework, depth);
        auto start = Clock::now();
        root.run();
        tree.push_back(nanoseconds_since(start) / ((1u << depth) - 1));
        EmptyIndex action;
        const uint64_t indices = uint64_t{1} << depth;
        start = Clock::now();
        framework->table->run_range(framework, action.as_c(), 0, indices);
        range.push_back(nanoseconds_since(start) / static_cast<double>(indices));
    }
    std::printf("%-9s %10.1f %10.1f %10.1f %10.1f\n", name, *std::min_element(pair.begin(), pair.end()), median(pair),
                median(tree), median(range));
}

// Two threads of the operating system, half the indices each: what the machine gives at the moment.
void run_halves(kv::IndexAction& action, uint64_t indices) {
    const auto run = [&](uint64_t begin, uint64_t end) {
        for (uint64_t i = begin; i < end; ++i) action.run(i);
    };
    std::thread lower(run, 0, indices / 2);
    run(indices / 2, indices);
    lower.join();
}

void measure_scaling(const char* kind, kv::IndexAction& action, uint64_t indices) {
    const auto range = [&](const char* name) {
        ParallelFramework* framework = GetBuiltInFrameworkByName(name);
        framework->table->run_range(framework, action.as_c(), 0, indices);
    };
    constexpr const char* names[3] = {"two threads", "winpool", "cilk"};
    std::vector<double> ratios[3];
    for (int round = 0; round < 15; ++round)
        for (int side = 0; side < 3; ++side) {
            auto start = Clock::now();
            range("none");
            const double plain = nanoseconds_since(start);
            start = Clock::now();
            if (side == 0)
                run_halves(action, indices);
            else
                range(names[side]);
            ratios[side].push_back(plain / nanoseconds_since(start));
        }
    for (int side = 0; side < 3; ++side)
        std::printf("%-5s %-12s %10.2f %10.2f %10.2f\n", kind, names[side],
                    *std::min_element(ratios[side].begin(), ratios[side].end()), median(ratios[side]),
                    *std::max_element(ratios[side].begin(), ratios[side].end()));
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t indices = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 2048;
    std::printf("%-9s %10s %10s %10s %10s   ns\n", "", "pair min", "pair", "tree", "range");
    for (const char* name : {"none", "spawn", "cppasync", "winpool", "cilk"}) measure_forks(name);
    if (indices == 0) return 0;
    Work work;
    work.calibrate();
    Wait wait;
    std::printf("\nplain loop over run_range, %llu indices of 50 us\n%-5s %-12s %10s %10s %10s\n",
                static_cast<unsigned long long>(indices), "", "", "min", "median", "max");
    measure_scaling("work", work, indices);
    measure_scaling("wait", wait, indices);
    return 0;
}
