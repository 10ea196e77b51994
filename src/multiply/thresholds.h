#pragma once
// Which algorithm forms a product of which length: one ordered table per word width.

#include <span>
#include <string_view>

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "multiply/algorithm.h"

namespace kvt::multiply {

// One line of the list that a table is built of: an algorithm and the longest product, in bits, that it is used for.
struct ThresholdLimit {
    std::string_view name;  // "BKT", "FFT", "NTT32", "NTT64", matched exactly; any other is ignored
    u64 limit_bits;
};

template <class W>
struct ThresholdEntry {
    u64 limit;  // longest product, in words
    const MultiplicationAlgorithm<W>* algorithm;
};

template <class W>
class ThresholdTable {
  public:
    static constexpr u32 word_bits = kvt::word_bits<W>;
    static constexpr unsigned most_entries = 16;

    // Null algorithms are ignored. Limits must increase, and stay within what the algorithm can form.
    constexpr void append(u64 limit, const MultiplicationAlgorithm<W>* algorithm) {
        if (algorithm == nullptr) return;
        if (count_ > 0 && limit <= entries_[count_ - 1].limit)
            raise_generic(errors::threshold_table, nullptr, errors::thresholds_not_increasing);
        if (static_cast<u128>(limit) * word_bits > algorithm->max_bits)
            raise_generic(errors::threshold_table, nullptr, errors::threshold_too_large);
        if (count_ == most_entries) fatal_assertion(errors::invalid_parameters, "ThresholdTable::append()");
        entries_[count_++] = {limit, algorithm};
    }

    const ThresholdEntry<W>* begin() const { return entries_; }
    const ThresholdEntry<W>* end() const { return entries_ + count_; }

    // The first algorithm whose limit is at least L; a generic error when there is none.
    const MultiplicationAlgorithm<W>& select(u64 L) const {
        for (const ThresholdEntry<W>& entry : *this)
            if (entry.limit >= L) return *entry.algorithm;
        raise_no_algorithm();
    }

  private:
    ThresholdEntry<W> entries_[most_entries] = {};
    unsigned count_ = 0;
};

namespace detail {
extern ThresholdTable<u32> table32;
extern ThresholdTable<u64> table64;
}  // namespace detail

// The table in use. Read-only while products run.
template <class W>
const ThresholdTable<W>& threshold_table() noexcept {
    if constexpr (sizeof(W) == 4)
        return detail::table32;
    else
        return detail::table64;
}

std::span<const ThresholdLimit> default_limits() noexcept;

// For tests and tuning: builds the table in use afresh. A list with an error changes nothing. Not to be
// called while products run.
template <class W>
void rebuild_threshold_table(std::span<const ThresholdLimit> limits);

}  // namespace kvt::multiply
