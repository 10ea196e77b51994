#pragma once
// Ctrl-C, a closed terminal: the program ends at once, with exit status 130, and removes the file it is writing.

#include <string>

namespace program {

void end_on_interrupt();

// The writer of the partial file is to close and remove it.
bool was_interrupted();

// The file to be removed; empty: none.
void set_partial_file(const std::string& file);

}  // namespace program
