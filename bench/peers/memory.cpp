#include "memory.h"

#include <kvnum/kvnum.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace peers {
namespace {

// A line of /proc/self/status, in bytes.
std::uint64_t status_bytes(const char* name) {
    std::FILE* file = std::fopen("/proc/self/status", "r");
    if (file == nullptr) throw std::runtime_error("/proc/self/status cannot be read");
    unsigned long kilobytes = 0;
    for (char line[256]; std::fgets(line, sizeof line, file) != nullptr;)
        if (std::strncmp(line, name, std::strlen(name)) == 0)
            std::sscanf(line + std::strlen(name), ": %lu", &kilobytes);
    std::fclose(file);
    return 1024 * static_cast<std::uint64_t>(kilobytes);
}

void forget_peak() {
    std::FILE* file = std::fopen("/proc/self/clear_refs", "w");
    if (file == nullptr || std::fputs("5", file) < 0 || std::fclose(file) != 0)
        throw std::runtime_error("/proc/self/clear_refs cannot be written");
}

std::uint64_t growth_in(const std::function<void()>& work) {
    forget_peak();
    const std::uint64_t before = status_bytes("VmRSS");
    work();
    const std::uint64_t peak = status_bytes("VmHWM");
    return peak > before ? peak - before : 0;
}

// Runs measure in a child of this process and returns what it says.
std::uint64_t in_child(const std::function<std::uint64_t()>& measure) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) {
        // Large blocks come from the system and go back to it: none is one that was used before.
        mallopt(M_MMAP_THRESHOLD, 1 << 16);
        mallopt(M_TRIM_THRESHOLD, 0);
        std::uint64_t bytes = UINT64_MAX;
        try {
            bytes = measure();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "kvnum_peers: %s\n", error.what());
        }
        const bool told = write(ends[1], &bytes, sizeof bytes) == sizeof bytes;
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::uint64_t bytes = UINT64_MAX;
    const bool heard = read(ends[0], &bytes, sizeof bytes) == sizeof bytes;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (!heard || bytes == UINT64_MAX) throw std::runtime_error("memory could not be measured");
    return bytes;
}

}  // namespace

Peak measure_peak(const std::function<Comparison()>& prepare, std::uint64_t table_bits) {
    return {in_child([&] {
                const Comparison comparison = prepare();
                return growth_in([&] { comparison.ours(1); });
            }),
            in_child([&] {
                const Comparison comparison = prepare();
                return growth_in([&] { comparison.theirs(1); });
            }),
            in_child([&] {
                return growth_in([&] {
                    if (ExceptionWrapper* error = internal_ensure_global_table(table_bits)) error->destroy(error);
                });
            })};
}

}  // namespace peers
