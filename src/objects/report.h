#pragma once
// The console printout of a number object: labelled lines, the words in braces, an empty line; one print.

#include <string>

#include "frame/types.h"

namespace kvt::objects {

class Report {
  public:
    Report& field(const char* label, u64 value);
    Report& field_signed(const char* label, i64 value);
    Report& checksum(u64 hash, bool ok);
    static constexpr u64 all_words = ~u64{0};
    // All words when there are fewer than list_all, else the five at the top.
    template <class W>
    Report& words(const W* T, u64 L, u64 list_all = 20);
    void print();

  private:
    void label(const char* text);
    std::string text_;
};

}  // namespace kvt::objects
