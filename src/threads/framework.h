#pragma once
// The parallel framework interface and the current framework. The classes cross the C boundary: no virtual
// destructor, no overloads, no standard-library type, so that every compiler and a C struct of function pointers
// agree on their layout (the same layouts stand in kvnum/threads.h).

#include "frame/types.h"

namespace kvt {

// A text handed out: freed with its own function. Zero it before the first use.
struct TextRecord {
    u64 length;
    char* text;
    void (*text_free)(char*);
};

namespace Threads {

struct BasicAction {
    virtual void run_index(u64 index) {
        (void)index;
        run();
    }
    virtual void run() = 0;
};

struct IndexAction {
    virtual void run(u64 index) = 0;
};

struct ParallelFramework {
    virtual void destroy() {}
    virtual const char* name() = 0;
    // The line that print_details prints, without its end; replaces the text that the record holds, which stays
    // where there is no memory.
    virtual void details(TextRecord* out, u64 tasks);
    virtual void print_details(u64 tasks);
    virtual void apply_settings() {}
    // Runs the action once for every index in [begin, end): binary splitting down to single indices, by run_pair.
    virtual void run_range(IndexAction* action, u64 begin, u64 end);
    // Runs both, possibly at the same time, and returns when both have finished, also where one throws.
    virtual void run_pair(BasicAction* first, BasicAction* second) = 0;

    u64 workers = 0;  // 0: no fixed number, printed as "?"
};

// The framework of every parallel step. Plain state: not to be set while an operation runs. Null, which can be set,
// stands for "none".
ParallelFramework* current_framework() noexcept;
void set_current_framework(ParallelFramework* framework) noexcept;

// The current framework, or the one called "none" in place of null.
ParallelFramework& framework_in_use() noexcept;

}  // namespace Threads
}  // namespace kvt
