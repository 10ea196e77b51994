#include "threads/builtin.h"

#include <cstring>

#include "platform/threads.h"

namespace kvt::Threads {
namespace {

ParallelFramework* current = nullptr;

// Runs when the library is loaded. Whoever forks even earlier does it on the calling thread.
[[maybe_unused]] const bool loaded = [] {
    const u64 processors = platform::processor_count();
    cilk_framework().workers = processors == 0 ? 1 : processors;
    current = &default_framework(platform::processor_groups(), processors);
    return true;
}();

}  // namespace

const std::array<NamedFramework, 5>& builtin_frameworks() noexcept {
    static const std::array<NamedFramework, 5> table{{
        {"none", &none_framework()},
        {"spawn", &spawn_framework()},
        {"cppasync", &cppasync_framework()},
        {"winpool", &winpool_framework()},
        {"cilk", &cilk_framework()},
    }};
    return table;
}

ParallelFramework* find_builtin_framework(const char* name) noexcept {
    if (name == nullptr) return nullptr;
    for (const NamedFramework& entry : builtin_frameworks())
        if (std::strcmp(name, entry.name) == 0) return entry.framework;
    return nullptr;
}

ParallelFramework& default_framework(u64 groups, u64 processors) noexcept {
    return groups < 2 && processors < 33 ? winpool_framework() : cilk_framework();
}

ParallelFramework* current_framework() noexcept { return current; }
void set_current_framework(ParallelFramework* framework) noexcept { current = framework; }
ParallelFramework& framework_in_use() noexcept { return current != nullptr ? *current : none_framework(); }

}  // namespace kvt::Threads
