#include "measure.h"

#include <algorithm>
#include <ctime>
#include <vector>

namespace peers {
namespace {

class Timer {
  public:
    explicit Timer(Clock clock) : id_(clock == Clock::thread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC) {}

    double seconds(const std::function<void(std::uint64_t)>& side, std::uint64_t repeats) const {
        const double start = now();
        side(repeats);
        return now() - start;
    }

  private:
    double now() const {
        timespec time;
        clock_gettime(id_, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }
    clockid_t id_;
};

// Repeats that fill a sample; finding them also warms up caches, tables and clock frequency.
std::uint64_t repeats_for(const Timer& timer, const std::function<void(std::uint64_t)>& side, double sample_seconds) {
    std::uint64_t repeats = 1;
    for (;;) {
        const double took = timer.seconds(side, repeats);
        if (took >= sample_seconds) return repeats;
        const double wanted = static_cast<double>(repeats) * 1.2 * sample_seconds / std::max(took, 1e-9);
        repeats = static_cast<std::uint64_t>(
            std::clamp(wanted, 2.0 * static_cast<double>(repeats), 10.0 * static_cast<double>(repeats)));
    }
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

Measurement measure(const Comparison& comparison, const Limits& limits, Clock clock) {
    const Timer timer(clock);
    const std::uint64_t our_repeats = repeats_for(timer, comparison.ours, limits.sample_seconds);
    const std::uint64_t their_repeats = repeats_for(timer, comparison.theirs, limits.sample_seconds);

    std::vector<double> ours, theirs, ratios;
    double spent = 0;
    for (unsigned i = 0; i < limits.most_samples && (i < limits.least_samples || spent < limits.row_seconds); ++i) {
        double a = 0, b = 0;
        // The order changes each time: neither side always runs on the other's warm or dirty cache.
        if (i % 2 == 0) a = timer.seconds(comparison.ours, our_repeats);
        b = timer.seconds(comparison.theirs, their_repeats);
        if (i % 2 != 0) a = timer.seconds(comparison.ours, our_repeats);
        spent += a + b;
        ours.push_back(1e9 * a / static_cast<double>(our_repeats));
        theirs.push_back(1e9 * b / static_cast<double>(their_repeats));
        ratios.push_back(theirs.back() / ours.back());
    }
    auto side = [](const std::vector<double>& ns) {
        return Side{*std::min_element(ns.begin(), ns.end()), median(ns)};
    };
    const Side our_side = side(ours), their_side = side(theirs);
    return {our_side, their_side, median(ratios), their_side.min_ns / our_side.min_ns,
            static_cast<unsigned>(ours.size())};
}

}  // namespace peers
