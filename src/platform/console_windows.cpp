#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "platform/console.h"

namespace kvt::platform {

void write_standard_output(const char* text, std::size_t bytes) noexcept { std::fwrite(text, 1, bytes, stdout); }
void flush_standard_output() noexcept { std::fflush(stdout); }

bool standard_output_is_terminal() noexcept {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

bool colours_need_a_call() noexcept { return true; }

void set_text_attribute(unsigned attribute) noexcept {
    SetConsoleTextAttribute(GetStdHandle(STD_OUTPUT_HANDLE), static_cast<WORD>(attribute));
}

void pause_if_interactive() noexcept {
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) != 0) std::system("pause");
}

}  // namespace kvt::platform
