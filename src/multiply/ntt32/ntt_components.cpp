#include "multiply/ntt32/ntt_components.h"

namespace kvt::multiply {

// The number-theoretic transforms are not built yet: their sections stay empty.
void NttComponent1::configure(u64) {}
void NttComponent1::fill(u8*) {}
void NttComponent2::configure(u64) {}
void NttComponent2::configure_ntt64(u64) {}
void NttComponent2::fill(u8*) {}

void configure_ntt32(NttComponent1& one, NttComponent2& two, u64 bits) {
    two.configure(std::min(bits, ntt_second_list_bits));
    if (bits > ntt_second_list_bits) one.configure(bits);
}

void configure_ntt64(NttComponent2& two, u64 bits) { two.configure_ntt64(bits); }

}  // namespace kvt::multiply
