#include "threads/framework.h"

namespace kvt::Threads {
namespace {
ParallelFramework* current = nullptr;
}

void ParallelFramework::details(TextRecord*, u64) {}
void ParallelFramework::print_details(u64) {}

void ParallelFramework::run_range(IndexAction* action, u64 begin, u64 end) {
    for (u64 i = begin; i < end; ++i) action->run(i);
}

ParallelFramework* current_framework() noexcept { return current; }
void set_current_framework(ParallelFramework* framework) noexcept { current = framework; }

}  // namespace kvt::Threads
