#pragma once
// Operands from files and results into files; "-" is standard input.

#include <string>
#include <string_view>

namespace program {

// The digits of a hexadecimal operand: an optional sign, an optional 0x, at least one digit; white space and line
// breaks, which may stand anywhere, are dropped. Throws UserError with file, line, column (both from 1, columns in
// bytes) and reason.
std::string read_hex_operand(const std::string& file);

// Writes the text and a line end to the file, or to standard output where the name is empty. Throws UserError, and
// leaves no part of a file behind.
void write_result(const std::string& file, std::string_view text);

}  // namespace program
