#pragma once
// The number-theoretic parts of the twiddle table: component 1 serves the coarser configuration list (the longest
// products), component 2 the finer one and the inner roots of the 64-bit transform.

#include "multiply/twiddle_component.h"

namespace kvt::multiply {

class NttComponent1 final : public TwiddleComponent {
  public:
    using TwiddleComponent::TwiddleComponent;
    void configure(u64 bits) override;
    void fill(u8* at) override;
};

class NttComponent2 final : public TwiddleComponent {
  public:
    using TwiddleComponent::TwiddleComponent;
    void configure(u64 bits) override;
    void configure_ntt64(u64 bits);
    void fill(u8* at) override;
};

// Products of up to this many bits use the finer list.
inline constexpr u64 ntt_second_list_bits = 146'800'640;

// What the 32-bit transform needs for products of up to this many bits, in either list; and the 64-bit transform.
void configure_ntt32(NttComponent1& one, NttComponent2& two, u64 bits);
void configure_ntt64(NttComponent2& two, u64 bits);

}  // namespace kvt::multiply
