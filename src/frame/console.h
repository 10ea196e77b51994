#pragma once
// Every console print of the library. A print is built whole, then written and flushed once, so that the lines of
// parallel tasks do not interleave.

#include <string>
#include <string_view>
#include <vector>

#include "frame/types.h"

namespace kvt {

// Receives every print piece by piece; colour is the one-letter code, ' ' leaves the colour as it is.
using ConsoleWriter = void (*)(void* context, const char* text, u64 bytes, char colour);

// Null returns to standard output. Not to be called while the library prints.
void set_console_sink(ConsoleWriter write, void* context) noexcept;

// Colours are applied to standard output while this flag is set. It starts as "standard output is a terminal and
// NO_COLOR is unset", evaluated at the first print.
void set_colours_enabled(bool enabled) noexcept;

// Text attribute of a one-letter colour code: upper case is bright; any letter not listed is the default grey (7).
constexpr unsigned colour_attribute(char code) {
    constexpr std::string_view dark = "bgtrpy";
    constexpr std::string_view bright = "BGTRPY";
    if (auto i = dark.find(code); i != std::string_view::npos) return static_cast<unsigned>(i + 1);
    if (auto i = bright.find(code); i != std::string_view::npos) return static_cast<unsigned>(i + 9);
    return 7;
}

// One print in the making: coloured pieces, written by print().
class ConsoleText {
  public:
    ConsoleText& add(std::string_view text, char colour = ' ');
    ConsoleText& line(std::string_view text = {}, char colour = ' ');  // add, then "\n"
    void print() const;

  private:
    struct Piece {
        std::string text;
        char colour;
    };
    std::vector<Piece> pieces_;
};

void print(std::string_view text, char colour = ' ');
void print_line(std::string_view text, char colour = ' ');

}  // namespace kvt
