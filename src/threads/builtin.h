#pragma once
// The built-in frameworks and the choice among them.

#include <array>

#include "threads/framework.h"

namespace kvt::Threads {

// Static objects, usable from the start of the process to its end.
//   none      both actions on the calling thread, one after the other
//   spawn     a new thread for every fork
//   cppasync  std::async
//   winpool   the process's thread pool: the system's on Windows, a work-stealing pool of the library elsewhere
//   cilk      the library's work-stealing scheduler
ParallelFramework& none_framework() noexcept;
ParallelFramework& spawn_framework() noexcept;
ParallelFramework& cppasync_framework() noexcept;
ParallelFramework& winpool_framework() noexcept;
ParallelFramework& cilk_framework() noexcept;

struct NamedFramework {
    const char* name;
    ParallelFramework* framework;
};
const std::array<NamedFramework, 5>& builtin_frameworks() noexcept;

// Null for a name that is none of the five (exact match), and for null.
ParallelFramework* find_builtin_framework(const char* name) noexcept;

// The default on a machine of so many processor groups, with so many processors in all of them together.
ParallelFramework& default_framework(u64 groups, u64 processors) noexcept;

}  // namespace kvt::Threads
