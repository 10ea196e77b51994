#pragma once
// Reruns of a test per instruction set; for tests behind the interface only.

#include <vector>

#include "kernels/cpu.h"

namespace kvt::test {

// Every level combination this machine has, lowest first; for tests that rerun per instruction set.
std::vector<kernels::Levels> all_levels();

// Caps the kernels for a scope.
class LevelScope {
  public:
    explicit LevelScope(kernels::Levels cap) { kernels::cap_levels(cap); }
    ~LevelScope() { kernels::cap_levels(kernels::no_cap); }
    LevelScope(const LevelScope&) = delete;
    LevelScope& operator=(const LevelScope&) = delete;
};

}  // namespace kvt::test
