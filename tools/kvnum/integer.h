#pragma once
// Integers that own their memory, over the C interface.

#include <kvnum/kvnum.h>

#include <memory>
#include <string>
#include <string_view>

namespace program {

// Uninitialised words.
using Words = std::unique_ptr<std::uint64_t[]>;

// A library integer together with its words.
class Integer {
  public:
    explicit Integer(std::uint64_t capacity_words);

    BigInt_c64* get() { return &record_; }
    const BigInt_c64* get() const { return &record_; }
    std::uint64_t words() const { return record_.L; }

  private:
    Words buffer_;
    BigInt_c64 record_;
};

// Hexadecimal text of an integer; owns the buffer that the text lies in.
struct Text {
    std::unique_ptr<char[]> buffer;
    std::string_view text;
};

// text: optional sign, optional 0x, digits.
Integer integer_from_hex(std::string_view text);
Text hex_from_integer(const Integer& x);

// threads: tasks that the product may use.
Integer product(const Integer& a, const Integer& b, unsigned threads);
Integer square(const Integer& a, unsigned threads);

// Sends what the library prints to standard error, so that a pipe of results stays clean.
void print_library_messages_to_stderr();

}  // namespace program
