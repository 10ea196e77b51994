#include <windows.h>

#include "platform/faults.h"
#include "platform/threads.h"

namespace kvt::platform {
namespace {

DWORD WINAPI run_thread(void* handle) {
    const auto& thread = *static_cast<ThreadHandle*>(handle);
    thread.routine(thread.argument);
    return 0;
}

HANDLE native_handle(const ThreadHandle& thread) { return reinterpret_cast<HANDLE>(thread.native); }

int last_error() { return static_cast<int>(GetLastError()); }

// Waiting on an address needs a system library beyond the base one, so sleepers share a few condition variables,
// chosen by the address of their word. All of them are initialised by being zero.
struct Bucket {
    SRWLOCK lock;
    CONDITION_VARIABLE changed;
};
Bucket buckets[64];

Bucket& bucket_of(const void* word) {
    return buckets[(reinterpret_cast<std::uintptr_t>(word) * 0x9e3779b97f4a7c15u) >> 58];
}

}  // namespace

int start_thread(ThreadHandle& thread, void (*routine)(void*), void* argument) noexcept {
    thread = {routine, argument, 0};
    if (fails(Fault::create_thread)) return injected_error;
    HANDLE native = CreateThread(nullptr, 0, run_thread, &thread, 0, nullptr);
    if (native == nullptr) return last_error();
    thread.native = reinterpret_cast<std::uintptr_t>(native);
    return 0;
}

int wait_for_thread(ThreadHandle& thread) noexcept {
    if (fails(Fault::wait_thread)) return injected_error;
    return WaitForSingleObject(native_handle(thread), INFINITE) == WAIT_OBJECT_0 ? 0 : last_error();
}

int close_thread(ThreadHandle& thread, bool) noexcept {
    if (fails(Fault::close_thread)) return injected_error;
    return CloseHandle(native_handle(thread)) ? 0 : last_error();
}

int set_thread_priority(ThreadHandle& thread, int priority) noexcept {
    constexpr int levels[7] = {
        THREAD_PRIORITY_IDLE,         THREAD_PRIORITY_LOWEST,  THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_NORMAL,
        THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_TIME_CRITICAL};
    return SetThreadPriority(native_handle(thread), levels[priority + 3]) ? 0 : last_error();
}

void sleep_while(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
    Bucket& bucket = bucket_of(&word);
    AcquireSRWLockExclusive(&bucket.lock);
    while (word.load(std::memory_order_acquire) == expected)
        SleepConditionVariableSRW(&bucket.changed, &bucket.lock, INFINITE, 0);
    ReleaseSRWLockExclusive(&bucket.lock);
}

void wake_sleeper(std::atomic<std::uint32_t>& word) noexcept {
    Bucket& bucket = bucket_of(&word);
    // Passing through the lock: a sleeper has either seen the change or is asleep and hears the wake-up.
    AcquireSRWLockExclusive(&bucket.lock);
    ReleaseSRWLockExclusive(&bucket.lock);
    WakeAllConditionVariable(&bucket.changed);
}

void pin_library() noexcept {
    HMODULE self;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&pin_library), &self);
}

unsigned processor_groups() noexcept { return GetMaximumProcessorGroupCount(); }

std::uint64_t processor_count() noexcept { return GetMaximumProcessorCount(ALL_PROCESSOR_GROUPS); }

void place_calling_thread(std::uint64_t index) noexcept {
    const WORD groups = GetActiveProcessorGroupCount();
    if (groups < 2) return;
    for (WORD group = 0; group < groups; ++group) {
        const DWORD processors = GetActiveProcessorCount(group);
        if (index < processors) {
            GROUP_AFFINITY affinity{};
            affinity.Group = group;
            affinity.Mask = processors >= 64 ? ~KAFFINITY{0} : (KAFFINITY{1} << processors) - 1;
            SetThreadGroupAffinity(GetCurrentThread(), &affinity, nullptr);
            return;
        }
        index -= processors;
    }
}

}  // namespace kvt::platform
