#pragma once
// Conversions between the number classes. Capacities are checked before anything is written.

#include "objects/basic_int.h"
#include "objects/big_float.h"
#include "objects/big_int.h"
#include "objects/exact_float.h"

namespace kvt::objects {

template <class W>
void set_BasicInt(BigInt<W>& out, const BasicInt<W>& x);
// The integer part, towards zero. Checks x.L words and writes x.exp + x.L.
template <class W>
void set_BigFloat(BigInt<W>& out, const BigFloat<W>& x);

template <class W>
void set_BasicInt(BigFloat<W>& out, const BasicInt<W>& x);
template <class W>
void set_BigInt(BigFloat<W>& out, const BigInt<W>& x);
template <class W>
void set_ExactFloat(BigFloat<W>& out, const ExactFloat<W>& x);

}  // namespace kvt::objects
