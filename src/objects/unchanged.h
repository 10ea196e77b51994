#pragma once
// Words that an operation reads more than once: a fault in between would give a result that is right for other words,
// or for none, without a sign of it.

#include "frame/exceptions.h"
#include "kernels/residue61.h"
#include "kernels/residue64.h"
#include "objects/big_float.h"

namespace kvt::objects {

// Remembers the words' residue; require() raises "Redundancy Check Failed:  " when they have another one.
template <class W>
class Unchanged {
  public:
    Unchanged() = default;
    Unchanged(const BigFloat<W>& x, const char* location) : Unchanged(x.T, x.L, location) {}
    Unchanged(const W* words, u64 n, const char* location)
        : words_(words), n_(n), location_(location), residue_(residue()) {}

    void require() const {
        if (n_ != 0 && residue() != residue_) raise_redundancy_failure(location_, "An operand has changed.\n");
    }

  private:
    // Short numbers' residues are taken in line.
    static constexpr u64 short_words = 64;

    u64 residue() const {
        return n_ < short_words ? kernels::residue64(words_, n_) : kernels::residue_of_words(words_, n_);
    }

    const W* words_ = nullptr;
    u64 n_ = 0;
    const char* location_ = nullptr;
    u64 residue_ = 0;
};

}  // namespace kvt::objects
