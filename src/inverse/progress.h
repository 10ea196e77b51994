#pragma once
// What long operations tell a progress sink: a phase tag and the number of decimal digits reached.

#include "frame/fatal.h"
#include "frame/progress.h"
#include "frame/types.h"
#include "inverse/direct.h"
#include "inverse/newton.h"

namespace kvt::inverse {

template <class W>
inline constexpr double decimal_digits_per_word = word_bits<W> == 64 ? 19.265919722494797 : 9.632959861247398;

// Decimal digits of so many words, as shown to the client. Doubles index exactly below 2^48 words only.
template <class W>
u64 decimal_digits_of(u64 words) noexcept {
    if (words > (u64{1} << 48) - 1) fatal_exit("WordToDec(): Float-Indexing Limit Exceeded");
    return static_cast<u64>(static_cast<double>(words) * decimal_digits_per_word<W>) + 1;
}

// A tagged phase: pushes the tag, shows the digits, pops at the end of the scope.
template <class W>
class Phase {
  public:
    Phase(const ProgressSink* sink, const char* tag, u64 words) : tag_(sink, tag) {
        const u64 digits = decimal_digits_of<W>(words);
        if (sink != nullptr) sink->show(sink->context, digits);
    }

  private:
    ProgressTag tag_;
};

// The phases of the steps to p words, for a quotient that was formed in one go, in a microsecond or two: its first half
// is an under-estimate.
template <class W>
void show_steps(u64 p, const ProgressSink* sink) {
    if (sink == nullptr || p < direct_limit_words) return;
    const u64 h = half_precision(p);
    show_steps<W>(h, sink);
    Phase<W>(sink, " - 0M - ", h);
    Phase<W>(sink, " - U1M - ", h);
}

}  // namespace kvt::inverse
