#pragma once
// Operands from files and results into files; "-" is standard input.

#include <cstdio>
#include <string>
#include <string_view>

namespace program {

// A whole file. Throws UserError with file, line, column and reason.
std::string read_text(const std::string& file);

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

    std::string name_, target_;  // target_: where links lead
    std::string partial_;        // empty for standard output and devices
    std::FILE* stream_ = nullptr;
};

// What was printed has been written; throws UserError where it could not be.
void finish_standard_output();

// Writes the text and a line end.
void write_result(const std::string& file, std::string_view text);

}  // namespace program
