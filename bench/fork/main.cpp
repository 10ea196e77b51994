// What a fork costs, framework by framework, through the shared library:
//   pair   ns per run_pair of two empty actions, one after the other: minimum and median of blocks of 1,000
//   tree   ns per run_pair in a binary tree of forks 16 deep (10 where every fork is a thread)
//   range  ns per index of run_range with an empty action
//   scaling: a plain loop over indices of 50 us against run_range, alternating; median of the ratios
// Usage: kvnum_bench_fork [indices of the scaling measure, default 2048; 0 leaves it out]

#include <kvnum/kvnum.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

void measure_scaling(const char* name, Work& work, uint64_t indices) {
    ParallelFramework* framework = GetBuiltInFrameworkByName(name);
    ParallelFramework* plain = GetBuiltInFrameworkByName("none");
    std::vector<double> ratios;
    for (int round = 0; round < 9; ++round) {
        double time[2];
        for (int side = 0; side < 2; ++side) {
            ParallelFramework* runner = side == 0 ? plain : framework;
            const auto start = Clock::now();
            runner->table->run_range(runner, work.as_c(), 0, indices);
            time[side] = nanoseconds_since(start);
        }
        ratios.push_back(time[0] / time[1]);
    }
    std::printf("%-9s %10.2f %10.2f %10.2f\n", name, *std::min_element(ratios.begin(), ratios.end()), median(ratios),
                *std::max_element(ratios.begin(), ratios.end()));
}

}  // namespace

int main(int argc, char** argv) {
    const uint64_t indices = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 2048;
    std::printf("%-9s %10s %10s %10s %10s   ns\n", "", "pair min", "pair", "tree", "range");
    for (const char* name : {"none", "spawn", "cppasync", "winpool", "cilk"}) measure_forks(name);
    if (indices == 0) return 0;
    Work work;
    work.calibrate();
    std::printf("\nplain loop over run_range, %llu indices of 50 us\n%-9s %10s %10s %10s\n",
                static_cast<unsigned long long>(indices), "", "min", "median", "max");
    for (const char* name : {"winpool", "cilk"}) measure_scaling(name, work, indices);
    return 0;
}
