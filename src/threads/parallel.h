#pragma once
// How the library's own code forks: a number of parts on the current framework. Parts never throw; a part that fails
// records it, and the caller raises after the join.

#include <exception>

#include "frame/types.h"
#include "threads/framework.h"

namespace kvt::Threads {

// Runs part(i) once for every i in [0, parts), possibly at the same time; returns when all have finished.
// One part, or no framework, runs on the calling thread.
template <class Part>
void run_parts(u64 parts, Part&& part) {
    ParallelFramework* framework = current_framework();
    if (parts <= 1 || framework == nullptr) {
        for (u64 i = 0; i < parts; ++i) part(i);
        return;
    }
    struct Action final : IndexAction {
        explicit Action(Part& part) : part(part) {}
        void run(u64 i) override { part(i); }
        Part& part;
    } action(part);
    framework->run_range(&action, 0, parts);
}

// Runs both actions, possibly at the same time. An exception must not leave a forked side: it is carried over the
// join, the first action's before the second's.
template <class First, class Second>
void run_both(First&& first, Second&& second) {
    std::exception_ptr errors[2];
    run_parts(2, [&](u64 part) {
        try {
            if (part == 0)
                first();
            else
                second();
        } catch (...) {
            errors[part] = std::current_exception();
        }
    });
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);
}

// Share [first, last) of part i when n items are divided among parts as evenly as possible.
struct Share {
    u64 first, last;
};
constexpr Share share_of(u64 n, u64 parts, u64 i) {
    const u64 base = n / parts, rest = n % parts;
    const u64 first = i * base + (i < rest ? i : rest);
    return {first, first + base + (i < rest ? 1 : 0)};
}

}  // namespace kvt::Threads
