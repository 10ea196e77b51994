#include "frame/export_guard.h"

#include <cstdlib>
#include <cstring>

namespace kvt {
namespace {

void free_message(char* message) { std::free(message); }

void destroy_wrapper(ExceptionWrapper* wrapper) {
    if (wrapper->message != nullptr) wrapper->message_free(wrapper->message);
    std::free(wrapper);
}

}  // namespace

ExceptionWrapper* make_wrapper(u32 kind, const char* text) noexcept {
    auto* wrapper = static_cast<ExceptionWrapper*>(std::malloc(sizeof(ExceptionWrapper)));
    if (wrapper == nullptr) return nullptr;
    const u64 length = std::strlen(text);
    auto* message = static_cast<char*>(std::malloc(length + 1));
    if (message == nullptr) {
        std::free(wrapper);
        return nullptr;
    }
    std::memcpy(message, text, length + 1);
    *wrapper = {kind, destroy_wrapper, length, message, free_message};
    return wrapper;
}

}  // namespace kvt
