#pragma once
// The default thread pool of the process, on Windows only (elsewhere the library has a pool of its own).

namespace kvt::platform {

// One work item that runs routine(argument) on a thread of the pool.
struct PoolWork {
    void (*routine)(void* argument);
    void* argument;
    void* native;
};

// 0 or the operating system's error code.
int create_work(PoolWork& work, void (*routine)(void*), void* argument) noexcept;
void submit_work(PoolWork& work) noexcept;
// Waits for the routine where it has begun. Where it has not: waits for it too, or withdraws the item.
void wait_for_work(PoolWork& work, bool withdraw) noexcept;
void close_work(PoolWork& work) noexcept;

}  // namespace kvt::platform
