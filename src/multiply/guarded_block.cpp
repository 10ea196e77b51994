#include "multiply/guarded_block.h"

#include <cstdlib>
#include <cstring>

#include "frame/console.h"
#include "frame/errors.h"
#include "frame/fatal.h"
#include "frame/format.h"

namespace kvt::multiply {
namespace {

constexpr u64 extra_bytes = 72;
constexpr u64 boundary_bytes = 32;

struct Head {
    void* raw;
    u64 bytes;
    u64 guard;
};
static_assert(sizeof(Head) == 24);

void check_guard(u64 word, const char* report) noexcept {
    if (word == guard_word) return;
    print_line(to_hexadecimal(word));
    fatal_assertion("Array Bounds Checking: ", report);
}

}  // namespace

void* allocate_guarded(u64 bytes) noexcept {
    if (bytes > ~u64{0} - extra_bytes - 7) fatal_exit(errors::allocation_failure);
    const u64 rounded = (bytes + 7) & ~u64{7};
    void* raw = std::malloc(rounded + extra_bytes);
    if (raw == nullptr) fatal_exit(errors::allocation_failure);

    const u64 skip =
        2 * boundary_bytes - 1 - (reinterpret_cast<std::uintptr_t>(raw) + boundary_bytes - 1) % boundary_bytes;
    u8* usable = static_cast<u8*>(raw) + skip;
    const Head head{raw, rounded, guard_word};
    std::memcpy(usable - sizeof head, &head, sizeof head);
    std::memcpy(usable + rounded, &guard_word, sizeof guard_word);
    return usable;
}

void release_guarded(void* usable) noexcept {
    if (usable == nullptr) return;
    Head head;
    std::memcpy(&head, static_cast<u8*>(usable) - sizeof head, sizeof head);
    check_guard(head.guard, "An array under-run has been detected.");
    u64 above;
    std::memcpy(&above, static_cast<u8*>(usable) + head.bytes, sizeof above);
    check_guard(above, "An array over-run has been detected.");
    std::free(head.raw);
}

}  // namespace kvt::multiply
