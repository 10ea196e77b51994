#include "files.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "failure.h"
#include "interrupt.h"

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

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

std::string show(char c) {
    if (c > ' ' && c <= '~') return fmt::format("'{}'", c);
    return fmt::format("byte 0x{:02x}", static_cast<unsigned char>(c));
}

bool is_of_the_system(const std::filesystem::path& path) {
    const std::string name = path.lexically_normal().generic_string();
    return name == "/dev/stdin" || name == "/dev/stdout" || name == "/dev/stderr" || name.starts_with("/dev/fd/") ||
           name.starts_with("/proc/");
}

// Where links lead; the system's own, which stand for open files, stay. Empty for a loop.
std::filesystem::path target_of(const std::string& name) {
    std::filesystem::path path = name;
    std::error_code failure;
    for (int links = 0; links < 40 && !is_of_the_system(path); ++links) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, failure);
        if (failure) return path;
        path = path.parent_path() / next;
    }
    return is_of_the_system(path) ? path : std::filesystem::path();
}

}  // namespace

std::string read_text(const std::string& file) {
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

std::string read_operand(const std::string& file, bool hex) {
    std::string text = read_text(file);
    std::size_t kept = 0;         // characters kept so far, at the start of the text
    std::size_t first_digit = 0;  // where the digits begin among them
    bool prefixed = false;
    Position at;
    for (char c : text) {
        if (!is_space(c)) {
            const bool sign = (c == '+' || c == '-') && kept == 0;
            const bool prefix =
                hex && (c == 'x' || c == 'X') && !prefixed && kept == first_digit + 1 && text[kept - 1] == '0';
            const bool digit = hex ? is_hex_digit(c) : is_digit(c);
            if (!sign && !prefix && !digit)
                reject(file, at, show(c) + (hex ? " is not a hexadecimal digit" : " is not a decimal digit"));
            text[kept++] = c;
            if (sign || prefix) first_digit = kept;
            prefixed |= prefix;
        }
        at.pass(c);
    }
    if (text.empty()) reject(file, at, "the file is empty");
    if (kept == first_digit)
        reject(file, at, hex ? "the file ends before a hexadecimal digit" : "the file ends before a decimal digit");
    text.resize(kept);
    return text;
}

OutputFile::OutputFile(const std::string& name) : name_(name), target_(name) {
    if (name.empty()) {
        use_bytes(stdout);
        stream_ = stdout;
        return;
    }
    const std::filesystem::path target = target_of(name);
    if (target.empty()) fail(ELOOP);
    target_ = target.string();
    std::error_code ignored;
    const bool device = is_of_the_system(target) || (std::filesystem::exists(target, ignored) &&
                                                     !std::filesystem::is_regular_file(target, ignored));
    const std::string written = device ? target_ : target_ + ".partial";
    stream_ = std::fopen(written.c_str(), "wb");
    if (stream_ == nullptr) fail(errno);
    if (device) return;
    partial_ = written;
    set_partial_file(partial_);
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::write(std::string_view text) {
    constexpr std::size_t block = std::size_t{1} << 20;
    for (std::size_t at = 0; at < text.size(); at += block) {
        const std::string_view piece = text.substr(at, block);
        if (std::fwrite(piece.data(), 1, piece.size(), stream_) != piece.size()) fail(errno);
        if (was_interrupted()) {
            discard();
            std::_Exit(130);
        }
    }
}

void OutputFile::finish() {
    std::FILE* const stream = std::exchange(stream_, nullptr);
    bool written = std::fflush(stream) == 0;
    int error = errno;
    if (stream != stdout && std::fclose(stream) != 0 && written) {
        written = false;
        error = errno;
    }
    if (!written) fail(error);
    if (partial_.empty()) return;
    std::error_code failure;
    std::filesystem::rename(partial_, target_, failure);
    if (failure) fail(failure.value());
    set_partial_file("");
    partial_.clear();
}

void OutputFile::fail(int error) {
    discard();
    throw UserError(
        fmt::format("{}: cannot be written: {}", name_.empty() ? "standard output" : name_, std::strerror(error)));
}

void OutputFile::discard() {
    if (stream_ != nullptr && stream_ != stdout) std::fclose(stream_);
    stream_ = nullptr;
    if (partial_.empty()) return;
    std::error_code ignored;
    std::filesystem::remove(partial_, ignored);
    set_partial_file("");
    partial_.clear();
}

void finish_standard_output() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw UserError(fmt::format("standard output: cannot be written: {}", std::strerror(errno)));
}

void write_result(const std::string& file, std::string_view text) {
    OutputFile out(file);
    out.write(text);
    out.write("\n");
    out.finish();
}

}  // namespace program
