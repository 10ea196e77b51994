#pragma once
// What ends the program with one line on standard error, and what else is said there.

#include <cstdio>
#include <stdexcept>
#include <string>

namespace program {

// The user's doing (arguments, files): exit status 2.
struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An error that the library reported: exit status 1.
struct LibraryError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// To standard error; where that cannot be written the text is lost.
inline void tell(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace program
