#include "multiply/ntt32/ntt_components.h"

#include "multiply/ntt32/root_tables.h"
#include "multiply/ntt64/ntt64_roots.h"

namespace kvt::multiply {
namespace {

// The sets' exponents lie behind the head.
ntt32::RootTables tables(const ntt32::RowList& list, u64* words) { return {list, words + sizeof(ComponentHead) / 8}; }

}  // namespace

void NttComponent1::configure(u64 bits) {
    ntt32::RootTables roots = tables(ntt32::coarse_list, words_);
    roots.configure(bits);
    configured(bits, roots.bytes());
}

void NttComponent1::fill(u8* at) { tables(ntt32::coarse_list, words_).fill(at); }

void NttComponent2::configure(u64 bits) {
    ntt32::RootTables roots = tables(ntt32::fine_list, words_);
    const u64 others = bytes() - roots.bytes();
    roots.configure(bits);
    configured(bits, others + roots.bytes());
}

// The roots of the 64-bit transform end the section.
void NttComponent2::configure_ntt64(u64 bits) {
    if (bits <= ntt64::shorter_max_bits) return;
    const u64 others = bytes() - (words_[ntt64::roots_word] != 0 ? ntt64::roots_bytes : 0);
    words_[ntt64::roots_word] = 1;
    configured(bits, others + ntt64::roots_bytes);
}

void NttComponent2::fill(u8* at) {
    tables(ntt32::fine_list, words_).fill(at);
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
