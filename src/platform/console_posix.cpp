#include <unistd.h>

#include <cstdio>

#include "platform/console.h"

namespace kvt::platform {

void write_standard_output(const char* text, std::size_t bytes) noexcept { std::fwrite(text, 1, bytes, stdout); }
void flush_standard_output() noexcept { std::fflush(stdout); }
bool standard_output_is_terminal() noexcept { return isatty(STDOUT_FILENO) != 0; }
bool colours_need_a_call() noexcept { return false; }
void set_text_attribute(unsigned) noexcept {}
void pause_if_interactive() noexcept {}

}  // namespace kvt::platform
