#pragma once
// Series of the user's own, described in a file; docs/program.md tells the form.

#include <string>

#include "constants.h"

namespace program {

// Throws UserError with file, line and reason.
Formula formula_from_file(const std::string& file);

}  // namespace program
