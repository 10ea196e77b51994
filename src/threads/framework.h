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
    virtual void details(TextRecord* out, u64 tasks);
    virtual void print_details(u64 tasks);
    virtual void apply_settings() {}
    virtual void run_range(IndexAction* action, u64 begin, u64 end);
    virtual void run_pair(BasicAction* first, BasicAction* second) = 0;

    u64 workers = 0;  // 0: no fixed number, printed as "?"
};

ParallelFramework* current_framework() noexcept;
void set_current_framework(ParallelFramework* framework) noexcept;

}  // namespace Threads
}  // namespace kvt
