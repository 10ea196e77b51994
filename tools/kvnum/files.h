#pragma once
// Operands from files and results into files; "-" is standard input.

#include <cstdio>
#include <string>
#include <string_view>

namespace program {

// The digits of an operand: an optional sign, an optional 0x in hexadecimal, at least one digit; white space and line
// breaks, which may stand anywhere, are dropped. Throws UserError with file, line, column (both from 1, columns in
// bytes) and reason.
std::string read_operand(const std::string& file, bool hex);

// A result on its way into a file, or to standard output where the name is empty. It is written under another name
// beside the file and takes its place when it is whole; until then a file of that name stays as it was, and nothing is
// left behind. Throws UserError, at once where the folder cannot be written.
class OutputFile {
  public:
    explicit OutputFile(const std::string& name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view text);
    void finish();

  private:
    [[noreturn]] void fail(int error);
    void discard();

    std::string name_, partial_;  // partial_ is empty for standard output and devices
    std::FILE* stream_ = nullptr;
};

// Writes the text and a line end.
void write_result(const std::string& file, std::string_view text);

}  // namespace program
