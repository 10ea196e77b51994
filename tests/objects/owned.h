#pragma once
// Number objects with storage of exactly the capacity asked for, ending at an unreadable page.

#include <gtest/gtest.h>

#include <vector>

#include "objects/basic_int.h"
#include "objects/big_float.h"
#include "objects/big_int.h"
#include "objects/dyadic.h"
#include "objects/exact_float.h"
#include "support/fenced.h"
#include "support/operands.h"

namespace kvt::test {

template <class W>
class OwnedBigInt {
  public:
    explicit OwnedBigInt(u64 capacity) : memory_(capacity) {
        fill(Pattern::alternating, memory_.data(), capacity, garbage_);
        value = {memory_.data(), 0, true, memory_.data(), capacity};
    }
    OwnedBigInt(const std::vector<W>& words, bool sign, u64 capacity = 0)
        : OwnedBigInt(std::max<u64>(capacity, words.size())) {
        std::copy(words.begin(), words.end(), memory_.begin());
        value.L = words.size();
        while (value.L > 0 && value.T[value.L - 1] == 0) --value.L;
        value.sign = sign || value.L == 0;
    }
    objects::BigInt<W>& operator*() { return value; }
    const objects::BigInt<W>& operator*() const { return value; }
    objects::BigInt<W>* operator->() { return &value; }
    const objects::BigInt<W>* operator->() const { return &value; }
    Dyadic exact() const { return Dyadic::of(value.T, value.L, 0, value.sign); }

    objects::BigInt<W> value;

  private:
    FencedWords<W> memory_;
    Rng garbage_{1};
};

template <class W>
Dyadic exact(const objects::BigFloat<W>& x) {
    return Dyadic::of(x.T, x.L, x.exp, x.sign);
}

template <class W>
class OwnedBigFloat {
  public:
    explicit OwnedBigFloat(u64 capacity) : memory_(capacity) {
        fill(Pattern::alternating, memory_.data(), capacity, garbage_);
        value = {memory_.data(), 0, 0, true, memory_.data(), capacity};
    }
    OwnedBigFloat(const std::vector<W>& words, i64 exp, bool sign, u64 capacity = 0)
        : OwnedBigFloat(std::max<u64>(capacity, words.size())) {
        std::copy(words.begin(), words.end(), memory_.begin());
        value.L = words.size();
        while (value.L > 0 && value.T[value.L - 1] == 0) --value.L;
        value.exp = value.L != 0 ? exp : 0;
        value.sign = sign || value.L == 0;
    }
    objects::BigFloat<W>& operator*() { return value; }
    const objects::BigFloat<W>& operator*() const { return value; }
    objects::BigFloat<W>* operator->() { return &value; }
    const objects::BigFloat<W>* operator->() const { return &value; }
    Dyadic exact() const { return test::exact(value); }

    objects::BigFloat<W> value;

  private:
    FencedWords<W> memory_;
    Rng garbage_{1};
};

template <class W>
class OwnedExactFloat {
  public:
    explicit OwnedExactFloat(u64 capacity) : memory_(capacity) {
        fill(Pattern::alternating, memory_.data(), capacity, garbage_);
        value = {memory_.data(), 0, 0, 0, memory_.data(), capacity};
    }
    OwnedExactFloat(const std::vector<W>& words, i64 exp, u64 capacity = 0)
        : OwnedExactFloat(std::max<u64>(capacity, words.size())) {
        std::copy(words.begin(), words.end(), memory_.begin());
        value.L = words.size();
        while (value.L > 0 && value.T[value.L - 1] == 0) --value.L;
        value.exp = exp;
        value.hash = checksum(value);
    }
    objects::ExactFloat<W>& operator*() { return value; }
    const objects::ExactFloat<W>& operator*() const { return value; }
    objects::ExactFloat<W>* operator->() { return &value; }
    const objects::ExactFloat<W>* operator->() const { return &value; }
    Dyadic exact() const { return Dyadic::of(value.T, value.L, value.exp); }
    bool sound() const { return value.hash == checksum(value); }

    objects::ExactFloat<W> value;

  private:
    FencedWords<W> memory_;
    Rng garbage_{1};
};

template <class W>
class OwnedBasicInt {
  public:
    explicit OwnedBasicInt(u64 capacity) : memory_(capacity) {
        fill(Pattern::alternating, memory_.data(), capacity, garbage_);
        value = {memory_.data(), 0, 0, capacity};
    }
    explicit OwnedBasicInt(const std::vector<W>& words, u64 capacity = 0)
        : OwnedBasicInt(std::max<u64>(capacity, words.size())) {
        std::copy(words.begin(), words.end(), memory_.begin());
        value.L = words.size();
        while (value.L > 0 && value.T[value.L - 1] == 0) --value.L;
        value.hash = checksum(value);
    }
    objects::BasicInt<W>& operator*() { return value; }
    const objects::BasicInt<W>& operator*() const { return value; }
    objects::BasicInt<W>* operator->() { return &value; }
    const objects::BasicInt<W>* operator->() const { return &value; }
    Dyadic exact() const { return Dyadic::of(value.T, value.L); }
    bool sound() const { return value.hash == checksum(value) && (value.L == 0 || value.T[value.L - 1] != 0); }

    objects::BasicInt<W> value;

  private:
    FencedWords<W> memory_;
    Rng garbage_{1};
};

// What holds for every result: no zero word at the top, zero is positive.
template <class Number>
::testing::AssertionResult normalised(const Number& x) {
    if (x.L == 0) {
        if (!x.sign) return ::testing::AssertionFailure() << "negative zero";
    } else if (x.T[x.L - 1] == 0) {
        return ::testing::AssertionFailure() << "zero word at the top of " << x.L;
    }
    return ::testing::AssertionSuccess();
}

}  // namespace kvt::test
