#pragma once
// The boundary: an exported operation runs inside guarded(), the only place outside threads/ that catches what an
// operation throws.

#include <exception>

#include "frame/exceptions.h"
#include "frame/types.h"

// In the shared library only names.txt's names stay visible (version script, .def); this keeps them from being
// hidden.
#if defined(_WIN32)
#define KVNUM_EXPORT
#else
#define KVNUM_EXPORT __attribute__((visibility("default")))
#endif

namespace kvt {

// What an operation hands back instead of an exception; released by the caller through its own destroy function.
struct ExceptionWrapper {
    u32 kind;  // 1: an exception of the library or the standard library; 2: anything else
    void (*destroy)(ExceptionWrapper*);
    u64 length;  // characters of message, without the terminating zero
    char* message;
    void (*message_free)(char*);
};
static_assert(sizeof(ExceptionWrapper) == 40 && offsetof(ExceptionWrapper, message_free) == 32);

// Null when there is no memory for the wrapper or its message: the error is then lost.
ExceptionWrapper* make_wrapper(u32 kind, const char* text) noexcept;

template <class Operation>
ExceptionWrapper* guarded(Operation&& operation) noexcept {
    try {
        operation();
        return nullptr;
    } catch (const kv_exception& error) {
        print_exception(error);
        return make_wrapper(1, error.what());
    } catch (const std::exception& error) {
        return make_wrapper(1, error.what());
    } catch (...) {
        return make_wrapper(2, errors::unknown_exception);
    }
}

// For exports that only print and hand nothing back: an error, such as no memory for the text, is lost.
template <class Operation>
void guarded_print(Operation&& operation) noexcept {
    try {
        operation();
    } catch (...) {
    }
}

}  // namespace kvt
