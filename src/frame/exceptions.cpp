#include "frame/exceptions.h"

#include "frame/console.h"
#include "frame/fatal.h"
#include "frame/format.h"

namespace kvt {
namespace {

// Wide texts of the library are ASCII; anything else prints as '?'.
std::string narrow(const std::wstring& wide) {
    std::string out;
    for (wchar_t c : wide) out += static_cast<unsigned long>(c) < 128 ? static_cast<char>(c) : '?';
    return out;
}

std::string two_lines(const char* first, u64 first_value, const char* second, u64 second_value) {
    return first + to_decimal(first_value) + "\n" + second + to_decimal(second_value);
}

// raise() returns for REACT_IGNORE only; everything below is built with another level.
[[noreturn]] void raise_for_good(const kv_exception& error) {
    raise(error);
    std::terminate();
}

}  // namespace

BufferTooSmallException::BufferTooSmallException(const char* location, u64 buffer_size, u64 required_size)
    : kv_exception(errors::buffer_too_small, errors::title_buffer, location),
      buffer_size(buffer_size),
      required_size(required_size),
      details(two_lines("    Buffer Size  : ", buffer_size, "    Required Size: ", required_size)) {}

ConvolutionTooSmallException::ConvolutionTooSmallException(const char* location, u64 length_points,
                                                           u64 smallest_points, u64 capacity_bits, u64 product_bits)
    : kv_exception(errors::convolution_too_small, errors::title_transform_length, location),
      length_points(length_points),
      smallest_points(smallest_points),
      capacity_bits(capacity_bits),
      product_bits(product_bits),
      details(two_lines("    Transform Points: ", length_points, "    Smallest Points : ", smallest_points) + "\n" +
              two_lines("    Capacity Bits   : ", capacity_bits, "    Product Bits    : ", product_bits)) {
    message = details;
}

Serialization::ParseException::ParseException(const char* location, std::string text)
    : kv_exception(errors::parse, errors::title_parse, location) {
    message = std::move(text);
}

void print_exception(const kv_exception& error) noexcept {
    try {
        ConsoleText text;
        text.line();
        text.add("Exception Encountered: ", 'w').line(error.title, 'R');
        text.line("Error Code: " + to_decimal_signed(error.code), 'w');
        if (error.location != nullptr) text.line(std::string("Location: ") + error.location);
        if (error.static_message != nullptr) text.line(error.static_message);
        if (!error.message.empty()) text.line(error.message);
        if (!error.wide_message.empty()) text.line(narrow(error.wide_message));
        text.line("", 'w');
        text.print();
    } catch (const std::bad_alloc&) {
    }
}

void raise(const kv_exception& error) {
    switch (error.reaction) {
        case REACT_IGNORE: return;
        case REACT_PRINT_EXIT: print_exception(error); exit_with_failure();
        case REACT_THROW: error.fire(); break;
        default: print_exception(error); error.fire();
    }
}

void raise_buffer_too_small(const char* location, u64 present, u64 required) {
    raise_for_good(BufferTooSmallException(location, present, required));
}

void raise_scratch_too_small(const char* location, u64 present_bytes, u64 required_bytes) {
    BufferTooSmallException error(location, present_bytes, required_bytes);
    error.message = error.details;
    raise_for_good(error);
}

void raise_table_too_small(const char* location, u64 table_bits, u64 required_bits) {
    kv_exception error(errors::lookup_table_too_small, errors::title_table, location);
    error.message = two_lines("    Table bits   : ", table_bits, "    Required bits: ", required_bits);
    raise_for_good(error);
}

void raise_generic(i32 code, const char* location, const char* static_message) {
    raise_for_good(kv_exception(code, errors::title_generic, location, static_message));
}

void raise_parse_error(const char* location, std::string message) {
    raise_for_good(Serialization::ParseException(location, std::move(message)));
}

void raise_no_algorithm() { raise_generic(errors::no_algorithm, nullptr, nullptr); }

void raise_redundancy_failure(const char* location, const char* message) {
    raise_for_good(kv_exception(errors::redundancy_check, errors::title_redundancy, location, message));
}

}  // namespace kvt
