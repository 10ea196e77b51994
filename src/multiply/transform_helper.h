#pragma once
// Operands transformed once and multiplied often, and products that need only a range of their words: the transforms
// as the inverse operations and the radix conversion use them.
//
// A set-up holds products of a number of words. Longer ones wrap around: with N = wrap_words(), words [N, T) of a
// product of T words are dropped (direct products) or added to or subtracted from its words [0, T - N) (transforms).
// Those spoiled_words(T) are not to be used; the number formed by the words between them and N is off by at most one
// unit in its lowest word.
//
// Layout of the parameters' scratch memory: the second operand, the first operand, the working scratch.

#include "frame/parameters.h"
#include "multiply/engine.h"

namespace kvt::multiply {

template <class W>
class TransformHelper;

// A transformed operand: its set-up, which alone can use it, and where it lies.
template <class W>
struct TransformedOperand {
    const TransformHelper<W>* setup = nullptr;
    void* data = nullptr;
    u64 words = 0;  // of the operand before the transform
    Residue residue;
};

template <class W>
class TransformHelper {
  public:
    // What a set-up asks of the parameters; a generic error when no algorithm holds so many words.
    struct Needs {
        u64 table_bits;
        u64 scratch_bytes;
    };
    static Needs needs(u64 words, u64 tasks);

    // Picks the transform from the dispatcher's threshold table. Raises when the table or the scratch is too small.
    TransformHelper(const BasicParameters& params, u64 words);
    // With an engine of the caller's choice.
    TransformHelper(const BasicParameters& params, u64 words, const TransformEngine& engine);
    TransformHelper(const TransformHelper&) = delete;
    TransformHelper& operator=(const TransformHelper&) = delete;

    // Whole words of the transform's length: the longest operand, and the end of every range of a wrapped product.
    u64 wrap_words() const { return plan_.wrap_bits / word_bits<W>; }
    u64 spoiled_words(u64 product_words) const;

    // Bytes of an operand kept in a caller's own buffer, and the alignment of that.
    u64 operand_bytes() const { return plan_.operand_bytes; }
    u64 operand_alignment() const { return plan_.alignment; }

    // n at most wrap_words(). Buffers 1 and 2 lie in the scratch memory.
    TransformedOperand<W> forward_first(const W* A, u64 n) const { return forward(first_, A, n); }
    TransformedOperand<W> forward_second(const W* A, u64 n) const { return forward(second_, A, n); }
    TransformedOperand<W> forward(void* buffer, const W* A, u64 n) const;
    // A copy in buffer 2, where a must not lie: the other factor of a square that keeps a.
    TransformedOperand<W> copy_second(const TransformedOperand<W>& a) const;

    // out[0..count) = words first.. of a * b; a is destroyed, b is kept. b may be a: the square. Words beyond the
    // product are zero. Operands of different set-ups, or of none, end the process.
    void product(TransformedOperand<W>& a, const TransformedOperand<W>& b, W* out, u64 first, u64 count) const;

    // The same with an operand that is used this once: faster than transforming it first. It takes buffer 2, where a
    // must not lie; a is kept.
    void product(const TransformedOperand<W>& a, const W* B, u64 n, W* out, u64 first, u64 count) const;

  private:
    u64 product_bits(u64 words_a, u64 words_b) const { return (words_a + words_b) * word_bits<W>; }
    void require_own(const TransformedOperand<W>& operand) const;
    void require_length(u64 n) const;

    const TransformEngine& engine_;
    const TransformPlan plan_;
    const GlobalTwiddleTable* table_;
    u64 tasks_;
    u8* second_;
    u8* first_;
    u8* work_;
};

}  // namespace kvt::multiply
