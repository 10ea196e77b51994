#include "multiply/thresholds.h"

#include "multiply/algorithms.h"

namespace kvt::multiply {
namespace {

constexpr ThresholdLimit defaults[] = {
    {"BKT", 3'712},
    {"FFT", 1'572'864},
    {"NTT32", 3'221'225'472},
    {"NTT64", 4'035'225'266'123'964'416},
};

template <class W>
constexpr ThresholdTable<W> build(std::span<const ThresholdLimit> limits) {
    ThresholdTable<W> table;
    for (const ThresholdLimit& line : limits)
        table.append(line.limit_bits / word_bits<W>, find_algorithm<W>(line.name));
    return table;
}

}  // namespace

// Ready before any code of the library runs: the compiler builds the tables, checks included.
constinit ThresholdTable<u32> detail::table32 = build<u32>(defaults);
constinit ThresholdTable<u64> detail::table64 = build<u64>(defaults);

std::span<const ThresholdLimit> default_limits() noexcept { return defaults; }

template <>
void rebuild_threshold_table<u32>(std::span<const ThresholdLimit> limits) {
    detail::table32 = build<u32>(limits);
}
template <>
void rebuild_threshold_table<u64>(std::span<const ThresholdLimit> limits) {
    detail::table64 = build<u64>(limits);
}

}  // namespace kvt::multiply
