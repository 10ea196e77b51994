#pragma once
// A twiddle table in the making. Library code uses make_table(); tests and tuning configure components one by one, to
// reach lengths that no product is dispatched to.

#include "multiply/fft/fft_component.h"
#include "multiply/ntt32/ntt_components.h"
#include "multiply/twiddle_table.h"

namespace kvt::multiply {

class TableBuilder {
    u64 words_[64] = {};
    u64 covered_ = 0;

  public:
    FftComponent fft{words_};
    NttComponent1 ntt1{words_ + component_words[0]};
    NttComponent2 ntt2{words_ + component_words[0] + component_words[1]};

    TableBuilder() = default;
    TableBuilder(const TableBuilder&) = delete;

    // Every transform that a product of up to min(bits, 2^64 - 1026) + 1024 bits may be dispatched to.
    void configure(u64 bits);
    void cover(u64 bits) { covered_ = bits; }

    // Replaces what the table holds (zeroed or built before). A failing allocation is fatal.
    void build_into(GlobalTwiddleTable& table);
};

}  // namespace kvt::multiply
