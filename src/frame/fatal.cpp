#include "frame/fatal.h"

#include <cstdlib>

#include "frame/console.h"
#include "platform/console.h"

namespace kvt {

void exit_with_failure() noexcept {
    platform::flush_standard_output();
    std::_Exit(1);
}

void fatal_exit(std::string_view text) noexcept {
    ConsoleText().line(text, 'R').add("", 'w').print();
    exit_with_failure();
}

void fatal_assertion(std::string_view message, std::string_view second, std::string_view third) noexcept {
    ConsoleText text;
    text.add("\n\n", 'R').add("FATAL ERROR: Assertion Failure").add("\n\n");
    text.add(message).add(second).add("\n\n").add(third).add("\n\n\n");
    text.add(
        "If this error shows up consistantly with the current options,\nplease report it as a bug.\n\n"
        "If this error comes and goes with the current options,\nplease check your hardware for reliability issues.\n"
        "Are you overclocking?\n\nTerminating Program...\n");
    text.add("", 'w').print();
    platform::pause_if_interactive();
    // A volatile store keeps the deliberate fault from being optimised or instrumented away; abort() backs it up.
    volatile int* volatile nowhere = nullptr;
    *nowhere = 0;
    std::abort();
}

}  // namespace kvt
