/* A framework and actions written in C against the public header alone. */

#include "threads_framework.h"

#include <stddef.h>

static const char* name(ParallelFramework* self) {
    (void)self;
    return "written in C";
}

static void run_pair(ParallelFramework* self, BasicAction* first, BasicAction* second) {
    CountingFramework* framework = (CountingFramework*)self;
    ++framework->forks;
    second->table->run(second);
    first->table->run_index(first, 12345);
}

void make_counting_framework(CountingFramework* framework) {
    framework->table = *GetBuiltInFrameworkByName("spawn")->table;
    framework->table.name = name;
    framework->table.run_pair = run_pair;
    framework->base.table = &framework->table;
    framework->base.workers = 6;
    framework->forks = 0;
}

static void count_index(IndexAction* self, uint64_t index) {
    CountingAction* action = (CountingAction*)self;
    if (index < sizeof action->runs / sizeof action->runs[0]) ++action->runs[index];
}
static const IndexActionTable counting_action_table = {count_index};

void make_counting_action(CountingAction* action) {
    size_t i;
    action->base.table = &counting_action_table;
    for (i = 0; i < sizeof action->runs / sizeof action->runs[0]; ++i) action->runs[i] = 0;
}

void run_range_of(ParallelFramework* framework, IndexAction* action, uint64_t begin, uint64_t end) {
    framework->table->run_range(framework, action, begin, end);
}
