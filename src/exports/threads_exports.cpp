// Exports of the parallel frameworks and actions.

#include "frame/export_guard.h"
#include "threads/builtin.h"
#include "threads/callbacks.h"

using namespace kvt;
using namespace kvt::Threads;

extern "C" {

KVNUM_EXPORT ParallelFramework* GetParallelFramework() noexcept { return current_framework(); }
KVNUM_EXPORT void SetParallelFramework(ParallelFramework* framework) noexcept { set_current_framework(framework); }
KVNUM_EXPORT const char* GetFrameworkName(ParallelFramework* framework) noexcept { return framework->name(); }

KVNUM_EXPORT void PrintFrameworkDetails(ParallelFramework* framework, u64 tasks) noexcept {
    guarded_print([=] { framework->print_details(tasks); });
}

KVNUM_EXPORT ParallelFramework* GetBuiltInFrameworkByName(const char* name) noexcept {
    return find_builtin_framework(name);
}

KVNUM_EXPORT void dll_RunInParallel_BasicAction(const ActionCallback* first, const ActionCallback* second) noexcept {
    CallbackAction first_action(*first), second_action(*second);
    framework_in_use().run_pair(&first_action, &second_action);
}

KVNUM_EXPORT void dll_RunInParallel_IndexAction(const IndexActionCallback* action, u64 begin, u64 end) noexcept {
    CallbackIndexAction index_action(*action);
    framework_in_use().run_range(&index_action, begin, end);
}

}  // extern "C"
