#pragma once
// How the library ends the process: only for what a caller inside the library could cause, or a fault that must not
// go on. Nothing here throws.

#include <string_view>

namespace kvt {

// Ends the process with status 1: output is flushed, no destructor or exit handler runs (other threads may be at
// work).
[[noreturn]] void exit_with_failure() noexcept;

// Prints the text and a line end in the error colour, then ends the process with status 1.
[[noreturn]] void fatal_exit(std::string_view text) noexcept;

// Prints the assertion block with the three texts, pauses where a console waits, then faults at address zero.
[[noreturn]] void fatal_assertion(std::string_view message, std::string_view second = {},
                                  std::string_view third = {}) noexcept;

}  // namespace kvt
