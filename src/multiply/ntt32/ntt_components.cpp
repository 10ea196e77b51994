#include "multiply/ntt32/ntt_components.h"

#include "multiply/ntt64/ntt64_roots.h"

namespace kvt::multiply {

// The number-theoretic transforms are not built yet: their sections stay empty.
void NttComponent1::configure(u64) {}
void NttComponent1::fill(u8*) {}
void NttComponent2::configure(u64) {}

// The roots of the 64-bit transform end the section.
void NttComponent2::configure_ntt64(u64 bits) {
    if (bits <= ntt64::shorter_max_bits) return;
    const u64 others = bytes() - (words_[ntt64::roots_word] != 0 ? ntt64::roots_bytes : 0);
    words_[ntt64::roots_word] = 1;
    configured(bits, others + ntt64::roots_bytes);
}

void NttComponent2::fill(u8* at) {
    if (words_[ntt64::roots_word] == 0) return;
    u8* const roots = at + bytes() - ntt64::roots_bytes;
    ntt64::build_roots(roots);
    words_[ntt64::roots_word] = reinterpret_cast<u64>(roots);
}

void configure_ntt32(NttComponent1& one, NttComponent2& two, u64 bits) {
    two.configure(std::min(bits, ntt_second_list_bits));
    if (bits > ntt_second_list_bits) one.configure(bits);
}

void configure_ntt64(NttComponent2& two, u64 bits) { two.configure_ntt64(bits); }

}  // namespace kvt::multiply
