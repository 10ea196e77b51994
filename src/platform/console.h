#pragma once
// The console of the platform: standard output, its colours, and how a process ends.

#include <cstddef>

namespace kvt::platform {

// Writes the bytes to standard output through the C stream, so that the order with the client's own output holds.
void write_standard_output(const char* text, std::size_t bytes) noexcept;
void flush_standard_output() noexcept;

bool standard_output_is_terminal() noexcept;

// True where colours are set by a call (Windows) and not by escape sequences in the text.
bool colours_need_a_call() noexcept;
// attribute: 1..6 the dark colours blue, green, teal, red, purple, yellow; +8 bright; 7 default grey.
void set_text_attribute(unsigned attribute) noexcept;

// Waits for a key where a console is attached to standard input on Windows; returns at once elsewhere.
void pause_if_interactive() noexcept;

}  // namespace kvt::platform
