#pragma once
// The protocol by which a transform gets its part of the twiddle table: configured for the lengths it may meet, asked
// for its size, then filled in place.

#include <algorithm>

#include "frame/types.h"

namespace kvt::multiply {

// Words of a table's descriptor, divided among the components in the order of their sections.
inline constexpr u64 component_words[3] = {16, 24, 24};

// What every component keeps first among its words; the rest are its own. All zero: never configured.
struct ComponentHead {
    u64 bits;   // longest convolution it was configured for
    u64 bytes;  // size of its section; a multiple of 64
};

// Works on words that lie elsewhere: in a table, or in the record of a table in the making.
class TwiddleComponent {
  public:
    explicit TwiddleComponent(u64* words) : words_(words) {}

    // Makes the section serve every transform that a product of up to this many bits uses, and all it served before:
    // levels are only ever raised. Sets the head.
    virtual void configure(u64 bits) = 0;

    // Writes the section; called by build() of a configured component. May keep addresses in its words.
    virtual void fill(u8* at) = 0;

    u64 bytes() const { return words_[1]; }

    // Fills the section, if configured, and returns its end.
    u8* build(u8* at) {
        if (bytes() == 0) return at;
        fill(at);
        return at + bytes();
    }

  protected:
    ~TwiddleComponent() = default;

    void configured(u64 bits, u64 section_bytes) {
        words_[0] = std::max(words_[0], bits);
        words_[1] = section_bytes;
    }

    u64* const words_;
};
static_assert(component_words[0] + component_words[1] + component_words[2] == 64);

}  // namespace kvt::multiply
