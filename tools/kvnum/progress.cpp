#include "progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "failure.h"

#ifdef _WIN32
#include <io.h>
#include <windows.h>
// After windows.h.
#include <psapi.h>
#else
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace program {
namespace {

constexpr int bar_columns = 30, line_columns = 78;

double between(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

std::string clock_text(double seconds) {
    const auto s = static_cast<std::uint64_t>(seconds + 0.5);
    return fmt::format("{}:{:02}:{:02}", s / 3600, s / 60 % 60, s % 60);
}

}  // namespace

Progress::Progress(bool shown, double total_weight) : shown_(shown), total_weight_(total_weight) {
    if (shown_) drawer_ = std::thread([this] { draw_until_stopped(); });
}

Progress::~Progress() { hide(); }

void Progress::hide() {
    end();
    if (!drawer_.joinable()) return;
    {
        const std::lock_guard guard(lock_);
        stopped_ = true;
    }
    wake_.notify_one();
    drawer_.join();
    clear();
}

void Progress::begin(const std::string& name, double weight, std::uint64_t units) {
    end();
    const std::lock_guard guard(lock_);
    name_ = name;
    weight_ = weight;
    units_ = units;
    done_ = 0;
    phase_start_ = Clock::now();
}

void Progress::end() {
    const std::lock_guard guard(lock_);
    if (name_.empty()) return;
    const double seconds = between(phase_start_, Clock::now());
    const auto same = std::find_if(phases_.begin(), phases_.end(), [&](const Phase& p) { return p.name == name_; });
    if (same != phases_.end())
        same->seconds += seconds;
    else
        phases_.push_back({name_, seconds});
    weight_before_ += weight_;
    name_.clear();
}

double Progress::seconds() const { return between(start_, Clock::now()); }

void Progress::draw_until_stopped() {
    std::unique_lock guard(lock_);
    while (!stopped_) {
        if (!name_.empty()) draw();
        wake_.wait_for(guard, std::chrono::milliseconds(100), [this] { return stopped_; });
    }
}

// A phase that cannot tell its units is taken to run at the speed of those before it.
void Progress::draw() {
    const double elapsed = seconds();
    const double in_phase = between(phase_start_, Clock::now());
    double part = 0;
    if (units_ != 0)
        part = static_cast<double>(done_.load(std::memory_order_relaxed)) / static_cast<double>(units_);
    else if (weight_before_ > 0)
        part = in_phase / (weight_ / weight_before_ * std::max(elapsed - in_phase, 1e-3));
    const double whole = std::min(0.99, (weight_before_ + weight_ * std::min(part, 0.99)) / total_weight_);
    const int filled = static_cast<int>(whole * bar_columns);
    const std::string left = whole > 0.02 ? clock_text(elapsed / whole - elapsed) + " left" : "";
    const std::string line =
        fmt::format("[{}{}] {:3} %  {:<14} {}", std::string(filled, '#'), std::string(bar_columns - filled, '.'),
                    static_cast<int>(100 * whole), name_, left);
    tell(fmt::format("\r{:<{}}\r{}", "", line_columns, line));
}

void Progress::clear() { tell(fmt::format("\r{:<{}}\r", "", line_columns)); }

#ifdef _WIN32

bool is_terminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

std::uint64_t peak_memory_bytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.PeakWorkingSetSize : 0;
}

void return_long_numbers() {}  // the system's heap does so

#else

bool is_terminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

std::uint64_t peak_memory_bytes() {
    rusage usage;
    return getrusage(RUSAGE_SELF, &usage) == 0 ? static_cast<std::uint64_t>(usage.ru_maxrss) * 1024 : 0;
}

void return_long_numbers() { mallopt(M_MMAP_THRESHOLD, 1 << 20); }

#endif

}  // namespace program
