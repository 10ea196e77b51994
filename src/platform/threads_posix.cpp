#include <dlfcn.h>
#include <errno.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>

#include "platform/faults.h"
#include "platform/threads.h"

namespace kvt::platform {
namespace {

void* run_thread(void* handle) {
    const auto& thread = *static_cast<ThreadHandle*>(handle);
    thread.routine(thread.argument);
    return nullptr;
}

long futex(std::atomic<std::uint32_t>& word, int operation, std::uint32_t value) noexcept {
    return syscall(SYS_futex, &word, operation, value, nullptr, nullptr, 0);
}

}  // namespace

int start_thread(ThreadHandle& thread, void (*routine)(void*), void* argument) noexcept {
    thread = {routine, argument, 0};
    if (fails(Fault::create_thread)) return injected_error;
    pthread_t native;
    const int error = pthread_create(&native, nullptr, run_thread, &thread);
    if (error == 0) thread.native = native;
    return error;
}

int wait_for_thread(ThreadHandle& thread) noexcept {
    return fails(Fault::wait_thread) ? injected_error : pthread_join(thread.native, nullptr);
}

int close_thread(ThreadHandle& thread, bool waited_for) noexcept {
    if (fails(Fault::close_thread)) return injected_error;
    return waited_for ? 0 : pthread_detach(thread.native);
}

// The seven levels have no counterpart among the scheduling policies and nice values that a process may set.
int set_thread_priority(ThreadHandle&, int) noexcept { return ENOTSUP; }

void sleep_while(std::atomic<std::uint32_t>& word, std::uint32_t expected) noexcept {
    futex(word, FUTEX_WAIT_PRIVATE, expected);
}

void wake_sleeper(std::atomic<std::uint32_t>& word) noexcept { futex(word, FUTEX_WAKE_PRIVATE, INT_MAX); }

void pin_library() noexcept {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&pin_library), &info) != 0 && info.dli_fname != nullptr)
        dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

unsigned processor_groups() noexcept { return 1; }

std::uint64_t processor_count() noexcept {
    // Once, when the library is loaded: a thread that is bound later must not stand for the process.
    static const std::uint64_t count = [] {
        cpu_set_t allowed;
        if (sched_getaffinity(0, sizeof allowed, &allowed) == 0)
            return static_cast<std::uint64_t>(CPU_COUNT(&allowed));
        const long online = sysconf(_SC_NPROCESSORS_ONLN);
        return online > 0 ? static_cast<std::uint64_t>(online) : 0;
    }();
    return count;
}

void place_calling_thread(std::uint64_t) noexcept {}

}  // namespace kvt::platform
