#ifndef KVNUM_TESTS_THREADS_FRAMEWORK_H
#define KVNUM_TESTS_THREADS_FRAMEWORK_H

#include <kvnum/kvnum.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Runs both sides on the calling thread, second first; counts the forks. */
typedef struct CountingFramework {
    ParallelFramework base;
    ParallelFrameworkTable table;
    unsigned forks;
} CountingFramework;
void make_counting_framework(CountingFramework* framework);

typedef struct CountingAction {
    IndexAction base;
    unsigned runs[16];
} CountingAction;
void make_counting_action(CountingAction* action);

void run_range_of(ParallelFramework* framework, IndexAction* action, uint64_t begin, uint64_t end);

#ifdef __cplusplus
}
#endif
#endif
