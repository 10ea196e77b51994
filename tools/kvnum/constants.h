#pragma once
// Mathematical constants to any number of digits, each by a fast series and by a second formula that checks it.

#include <cstdint>
#include <functional>
#include <kvnum/kvnum.hpp>
#include <string>
#include <vector>

#include "progress.h"
#include "series.h"

namespace program {

// What a formula computes with: sums series under the progress of the run.
struct Workshop {
    Progress& progress;
    std::uint64_t precision;  // words
    double digits;            // decimal, that the series are summed to

    Fraction sum(const Series& series, const char* phase = "series");
    kv::Real quotient(kv::Real a, const kv::Real& b);
    kv::Real inv_sqrt(std::uint64_t x);
};

//   weight   roughly what it takes, in products of full length; for the progress bar
//   sums     the series that it sums, for the memory that it takes
//   extra    decimal digits that it needs beyond those behind the point: of the integer part, and what terms cancel
struct Formula {
    std::string name;
    double weight;
    std::function<kv::Real(Workshop&)> evaluate;
    std::vector<Series> sums = {};
    double extra = 0;
};

struct Constant {
    std::string name;  // as it is shown and as a file is named
    Formula first, second;
};

Constant pi();
Constant e();
Constant log_of(std::uint64_t x);  // 2 or 10
Constant sqrt_of(std::uint64_t x);
Constant golden_ratio();
Constant zeta3();
Constant catalan();
Constant gamma_quarter();

}  // namespace program
