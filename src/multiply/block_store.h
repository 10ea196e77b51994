#pragma once
// Where the chunked products keep their units: read and written in ranges, so that it may be memory or files.

#include <algorithm>
#include <cstring>

#include "frame/types.h"

namespace kvt::multiply {

class BlockSource {
  public:
    // Units [first, first + units) to out. May run beside other work of the same product.
    virtual void read(u64 first, u64 units, u64* out) const noexcept = 0;

  protected:
    ~BlockSource() = default;
};

class BlockStore : public BlockSource {
  public:
    virtual void write(u64 first, u64 units, const u64* in) noexcept = 0;

  protected:
    ~BlockStore() = default;
};

class MemoryStore final : public BlockStore {
  public:
    MemoryStore(u64* words, u64 unit_words) : words_(words), unit_words_(unit_words) {}
    void read(u64 first, u64 units, u64* out) const noexcept override {
        std::memcpy(out, words_ + first * unit_words_, 8 * units * unit_words_);
    }
    void write(u64 first, u64 units, const u64* in) noexcept override {
        std::memcpy(words_ + first * unit_words_, in, 8 * units * unit_words_);
    }

  private:
    u64* words_;
    u64 unit_words_;
};

// An operand cut into pieces of piece_words, one a unit; zero beyond its end.
class OperandPieces final : public BlockSource {
  public:
    OperandPieces(const u64* A, u64 L, u64 piece_words, u64 unit_words)
        : A_(A), L_(L), piece_words_(piece_words), unit_words_(unit_words) {}
    void read(u64 first, u64 units, u64* out) const noexcept override {
        for (u64 i = first; i < first + units; ++i, out += unit_words_) {
            const u64 at = std::min(L_, i * piece_words_), n = std::min(L_ - at, piece_words_);
            std::copy_n(A_ + at, n, out);
            std::fill(out + n, out + unit_words_, 0);
        }
    }

  private:
    const u64* A_;
    u64 L_, piece_words_, unit_words_;
};

}  // namespace kvt::multiply
