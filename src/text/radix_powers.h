#pragma once
// The powers of the odd part of the base, once per level, kept as transforms.

#include "text/radix_plan.h"

namespace kvt::text {

// Fills every level's power_transform from powers_memory [plan.powers_bytes()]; work [plan.recursion_bytes()] is
// scratch. A power's transform squares it too, so a level costs one transform forward and one back.
template <class W>
void compute_powers(RadixPlan<W>& plan, const GlobalTwiddleTable& table, u8* powers_memory, u8* work);

}  // namespace kvt::text
