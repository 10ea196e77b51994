#include "frame/console.h"

#include <gtest/gtest.h>

#include "platform/console.h"
#include "support/child_process.h"
#include "support/console_capture.h"

namespace kvt {
namespace {

using test::ChildCase;
using test::ConsoleCapture;

TEST(Console, MapsColourCodesToAttributes) {
    const std::pair<char, unsigned> table[] = {{'b', 1},  {'g', 2},  {'t', 3}, {'r', 4},  {'p', 5},
                                               {'y', 6},  {'w', 7},  {'B', 9}, {'G', 10}, {'T', 11},
                                               {'R', 12}, {'P', 13}, {'Y', 14}};
    for (const auto& [code, attribute] : table) EXPECT_EQ(colour_attribute(code), attribute) << code;
    for (char code : {'q', 'W', '0', '\0'}) EXPECT_EQ(colour_attribute(code), 7u);
}

TEST(Console, HandsPiecesAndTheirColoursToTheSink) {
    ConsoleCapture console(set_console_sink);
    ConsoleText().add("one ", 'b').add("two").line(" three", 'Y').line().print();
    EXPECT_EQ(console.take_coloured(), "{b}one two{Y} three\n\n");
    print_line("text");
    print(std::string_view("a\0b", 3));
    EXPECT_EQ(console.take(), std::string("text\na\0b", 8));
}

void print_in_colours() { ConsoleText().add("x", 'R').add("y", 'g').add("z").line("", 'w').print(); }

const ChildCase prints_to_a_pipe{"console_pipe", print_in_colours};
const ChildCase prints_coloured{"console_colours_on", [] {
                                    set_colours_enabled(true);
                                    print_in_colours();
                                }};
const ChildCase prints_after_switching_off{"console_colours_off", [] {
                                               set_colours_enabled(true);
                                               set_colours_enabled(false);
                                               print_in_colours();
                                           }};

TEST(Console, WritesPlainTextUnlessColoursAreOn) {
    EXPECT_EQ(prints_to_a_pipe.run().output, "xyz\n");
    EXPECT_EQ(prints_after_switching_off.run().output, "xyz\n");
    const char* coloured =
        platform::colours_need_a_call() ? "xyz\n" : "\x1b[91mx\x1b[32myz\x1b[0m\n";  // bright red, green, default
    EXPECT_EQ(prints_coloured.run().output, coloured);
}

}  // namespace
}  // namespace kvt
