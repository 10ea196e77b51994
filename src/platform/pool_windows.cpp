#include <windows.h>

#include "platform/faults.h"
#include "platform/pool.h"

namespace kvt::platform {
namespace {

void CALLBACK run_work(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) {
    const auto& work = *static_cast<PoolWork*>(context);
    work.routine(work.argument);
}

PTP_WORK native_work(const PoolWork& work) { return static_cast<PTP_WORK>(work.native); }

}  // namespace

int create_work(PoolWork& work, void (*routine)(void*), void* argument) noexcept {
    work = {routine, argument, nullptr};
    if (fails(Fault::create_work)) return injected_error;
    work.native = CreateThreadpoolWork(run_work, &work, nullptr);
    return work.native != nullptr ? 0 : static_cast<int>(GetLastError());
}

void submit_work(PoolWork& work) noexcept { SubmitThreadpoolWork(native_work(work)); }

void wait_for_work(PoolWork& work, bool withdraw) noexcept {
    WaitForThreadpoolWorkCallbacks(native_work(work), withdraw);
}

void close_work(PoolWork& work) noexcept { CloseThreadpoolWork(native_work(work)); }

}  // namespace kvt::platform
