#include "files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "failure.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace program {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

void use_bytes(std::FILE* stream) {
#ifdef _WIN32
    _setmode(_fileno(stream), _O_BINARY);
#else
    (void)stream;
#endif
}

std::string name_of(const std::string& file) { return file == "-" ? "standard input" : file; }

// Position in a text: lines and columns from 1.
struct Position {
    std::uint64_t line = 1, column = 1;
    void pass(char c) {
        ++column;
        if (c == '\n') {
            ++line;
            column = 1;
        }
    }
};

[[noreturn]] void reject(const std::string& file, Position at, std::string_view reason) {
    throw UserError(fmt::format("{}, line {}, column {}: {}", name_of(file), at.line, at.column, reason));
}

std::string read_all(const std::string& file) {
    File opened;
    std::FILE* stream = stdin;
    if (file == "-") {
        use_bytes(stdin);
    } else {
        opened.reset(std::fopen(file.c_str(), "rb"));
        stream = opened.get();
    }
    std::string text;
    if (stream != nullptr) {
        constexpr std::size_t block = 1 << 16;
        for (std::size_t got = block; got == block;) {
            const std::size_t filled = text.size();
            text.resize(filled + block);
            got = std::fread(text.data() + filled, 1, block, stream);
            text.resize(filled + got);
        }
    }
    if (stream == nullptr || std::ferror(stream)) {
        const char* reason = std::strerror(errno);
        Position at;
        for (char c : text) at.pass(c);
        reject(file, at, fmt::format("cannot be read: {}", reason));
    }
    return text;
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

std::string show(char c) {
    if (c > ' ' && c <= '~') return fmt::format("'{}'", c);
    return fmt::format("byte 0x{:02x}", static_cast<unsigned char>(c));
}

}  // namespace

std::string read_hex_operand(const std::string& file) {
    std::string text = read_all(file);
    std::size_t kept = 0;         // characters kept so far, at the start of the text
    std::size_t first_digit = 0;  // where the digits begin among them
    bool prefixed = false;
    Position at;
    for (char c : text) {
        if (!is_space(c)) {
            const bool sign = (c == '+' || c == '-') && kept == 0;
            const bool prefix =
                (c == 'x' || c == 'X') && !prefixed && kept == first_digit + 1 && text[kept - 1] == '0';
            if (!sign && !prefix && !is_hex_digit(c)) reject(file, at, show(c) + " is not a hexadecimal digit");
            text[kept++] = c;
            if (sign || prefix) first_digit = kept;
            prefixed |= prefix;
        }
        at.pass(c);
    }
    if (text.empty()) reject(file, at, "the file is empty");
    if (kept == first_digit) reject(file, at, "the file ends before a hexadecimal digit");
    text.resize(kept);
    return text;
}

void write_result(const std::string& file, std::string_view text) {
    File opened;
    std::FILE* stream = stdout;
    if (file.empty()) {
        use_bytes(stdout);
    } else {
        opened.reset(std::fopen(file.c_str(), "wb"));
        if (opened == nullptr) throw UserError(fmt::format("{}: cannot be written: {}", file, std::strerror(errno)));
        stream = opened.get();
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
                         std::fputc('\n', stream) != EOF && std::fflush(stream) == 0;
    if (written) return;
    const std::string reason = std::strerror(errno);
    opened.reset();
    std::error_code ignored;
    if (!file.empty() && std::filesystem::is_regular_file(file, ignored)) std::filesystem::remove(file, ignored);
    throw UserError(fmt::format("{}: cannot be written: {}", file.empty() ? "standard output" : file, reason));
}

}  // namespace program
