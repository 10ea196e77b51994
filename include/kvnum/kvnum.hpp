#pragma once
// The C++20 layer of kvnum: numbers that own their memory, with value semantics and the usual operators.
// Header-only over the C interface, so it works with the shared library of any compiler. See docs/cpp.md.
//
//     kv::Context context;                                    // every core, scratch memory that is reused
//     kv::Integer n = kv::pow(kv::Integer(3), 1'000'000) - 1;
//     std::cout << n.to_string() << '\n';
//     kv::Real root = kv::Real::inv_sqrt(2, kv::Real::words_for_digits(1000));

#include "kvnum/cpp/context.hpp"
#include "kvnum/cpp/integer.hpp"
#include "kvnum/cpp/real.hpp"
