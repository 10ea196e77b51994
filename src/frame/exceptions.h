#pragma once
// The exception hierarchy. An error is built, then raised: its reaction level says whether it is ignored, printed,
// thrown, or ends the process. No exception leaves an exported function (frame/export_guard.h).

#include <exception>
#include <string>

#include "frame/errors.h"
#include "frame/types.h"

namespace kvt {

enum Reaction : i32 {
    REACT_IGNORE = 0,       // raise() returns and work goes on
    REACT_PRINT_EXIT = 1,   // printed, then the process ends with status 1
    REACT_THROW = 2,        // thrown
    REACT_PRINT_THROW = 3,  // printed, then thrown
};

class kv_exception : public std::exception {
  public:
    kv_exception(i32 code, const char* title, const char* location, const char* static_message = nullptr,
                 i32 reaction = REACT_PRINT_THROW)
        : code(code), static_message(static_message), reaction(reaction), title(title), location(location) {}

    ~kv_exception() override = default;
    const char* what() const noexcept override { return static_message ? static_message : message.c_str(); }
    virtual void fire() const { throw kv_exception(*this); }

    i32 code;
    const char* static_message;  // not owned; may be null
    std::string message;
    std::wstring wide_message;
    i32 reaction;
    const char* title;     // not owned
    const char* location;  // not owned; the method that raised it, or null
};

class BufferTooSmallException : public kv_exception {
  public:
    BufferTooSmallException(const char* location, u64 buffer_size, u64 required_size);
    void fire() const override { throw BufferTooSmallException(*this); }

    u64 buffer_size;
    u64 required_size;
    std::string details;  // both sizes, a line each
};

class UnsupportedValueException : public kv_exception {
  public:
    UnsupportedValueException(i32 code, const char* location, const char* static_message,
                              i32 reaction = REACT_PRINT_THROW)
        : kv_exception(code, errors::title_unsupported, location, static_message, reaction) {}
    void fire() const override { throw UnsupportedValueException(*this); }
};

class InvalidTransformParametersException : public kv_exception {
  public:
    using kv_exception::kv_exception;
    void fire() const override { throw InvalidTransformParametersException(*this); }
};

class ConvolutionTooSmallException : public kv_exception {
  public:
    ConvolutionTooSmallException(const char* location, u64 length_points, u64 smallest_points, u64 capacity_bits,
                                 u64 product_bits);
    void fire() const override { throw ConvolutionTooSmallException(*this); }

    u64 length_points;
    u64 smallest_points;
    u64 capacity_bits;
    u64 product_bits;
    std::string details;
};

namespace Serialization {
class ParseException : public kv_exception {
  public:
    ParseException(const char* location, std::string text);
    void fire() const override { throw ParseException(*this); }
};
}  // namespace Serialization

namespace Threads {
class ThreadException : public kv_exception {
  public:
    ThreadException(i32 os_error, const char* static_message)
        : kv_exception(os_error, errors::title_thread, nullptr, static_message, REACT_PRINT_EXIT) {}
    void fire() const override { throw ThreadException(*this); }
};
}  // namespace Threads

// Prints the error's block: title, code, location, messages. Nothing where there is no memory for its text.
void print_exception(const kv_exception& error) noexcept;

// Acts on the error's reaction level. Returns only for REACT_IGNORE.
void raise(const kv_exception& error);

// The one routine behind every capacity check; sizes in the unit of the object (words for numbers).
[[noreturn]] void raise_buffer_too_small(const char* location, u64 present, u64 required);
inline void require_capacity(u64 present, u64 required, const char* location) {
    if (present < required) raise_buffer_too_small(location, present, required);
}

// Shortages that a transform finds in its parameters; the sizes stand in the message, so the wrapper carries them.
[[noreturn]] void raise_scratch_too_small(const char* location, u64 present_bytes, u64 required_bytes);
[[noreturn]] void raise_table_too_small(const char* location, u64 table_bits, u64 required_bits);

// A generic error: the title is "Generic Exception", the message says what happened (may be null).
[[noreturn]] void raise_generic(i32 code, const char* location, const char* static_message);

// Malformed text; the message says where.
[[noreturn]] void raise_parse_error(const char* location, std::string message);

// No multiplication algorithm covers a product's length.
[[noreturn]] void raise_no_algorithm();

// A self-check of a product failed: a hardware fault or a library bug, never returned as a result.
[[noreturn]] void raise_redundancy_failure(const char* location, const char* message);

}  // namespace kvt
