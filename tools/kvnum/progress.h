#pragma once
// Phases of a computation: what they took, and a bar on a terminal while they run.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace program {

struct Phase {
    std::string name;
    double seconds;
};

class Progress {
  public:
    // shown: draw the bar on standard error. total_weight: the sum of the weights of all phases to come.
    Progress(bool shown, double total_weight);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Ends the phase before. units: what done() counts up to; 0 where the phase cannot tell.
    void begin(const std::string& name, double weight, std::uint64_t units = 0);
    void end();
    // Ends the last phase and takes the bar away.
    void hide();
    std::atomic<std::uint64_t>& done() { return done_; }

    const std::vector<Phase>& phases() const { return phases_; }
    double seconds() const;

  private:
    using Clock = std::chrono::steady_clock;

    void draw_until_stopped();
    void draw();
    void clear();

    const bool shown_;
    const double total_weight_;
    const Clock::time_point start_ = Clock::now();
    std::atomic<std::uint64_t> done_{0};

    std::mutex lock_;  // guards what follows against the drawing thread
    std::condition_variable wake_;
    bool stopped_ = false;
    std::string name_;
    double weight_ = 0, weight_before_ = 0;
    std::uint64_t units_ = 0;
    Clock::time_point phase_start_;
    std::vector<Phase> phases_;
    std::thread drawer_;
};

bool is_terminal(std::FILE* stream);
// Most memory that the process has held so far.
std::uint64_t peak_memory_bytes();
// Long numbers come from the system and go back to it when they end, in place of leaving gaps that the next longer
// ones do not fit into. To be called before the first of them.
void return_long_numbers();

}  // namespace program
