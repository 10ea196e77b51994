#include "support/fenced.h"

#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kvt::test {
namespace {
constexpr std::size_t page = 4096;
}

FencedBytes::FencedBytes(std::size_t bytes) : bytes_(bytes) {
    const std::size_t readable = (bytes + page - 1) / page * page;
    mapping_bytes_ = readable + page;
#ifdef _WIN32
    mapping_ = VirtualAlloc(nullptr, mapping_bytes_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (mapping_ == nullptr) throw std::bad_alloc();
    DWORD old;
    VirtualProtect(static_cast<char*>(mapping_) + readable, page, PAGE_NOACCESS, &old);
#else
    mapping_ = mmap(nullptr, mapping_bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping_ == MAP_FAILED) throw std::bad_alloc();
    mprotect(static_cast<char*>(mapping_) + readable, page, PROT_NONE);
#endif
    data_ = static_cast<unsigned char*>(mapping_) + readable - bytes;
}

FencedBytes::~FencedBytes() {
    if (mapping_ == nullptr) return;
#ifdef _WIN32
    VirtualFree(mapping_, 0, MEM_RELEASE);
#else
    munmap(mapping_, mapping_bytes_);
#endif
}

}  // namespace kvt::test
