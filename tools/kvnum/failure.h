#pragma once
// What ends the program with one line on standard error.

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

}  // namespace program
