#include "interrupt.h"

#include <atomic>
#include <csignal>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace program {
namespace {

// Read by the handler: a buffer that is complete while armed is set.
char partial[4096];
std::atomic<bool> armed{false}, interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

constexpr int interrupted_status = 130;
constexpr char notice[] = "\nkvnum: interrupted\n";

#ifdef _WIN32

// An open file cannot be deleted: its writer is asked to.
BOOL WINAPI handle(DWORD) {
    interrupted = true;
    if (armed && !DeleteFileA(partial)) Sleep(900);
    DWORD written;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), notice, sizeof notice - 1, &written, nullptr);
    TerminateProcess(GetCurrentProcess(), interrupted_status);
    return TRUE;
}

#else

// Calls only what may be called in a signal handler.
void handle(int) {
    if (armed) unlink(partial);
    [[maybe_unused]] const auto written = write(STDERR_FILENO, notice, sizeof notice - 1);
    _exit(interrupted_status);
}

#endif

}  // namespace

void end_on_interrupt() {
#ifdef _WIN32
    SetConsoleCtrlHandler(handle, TRUE);
#else
    struct sigaction action {};
    action.sa_handler = handle;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A terminal that is closed, unless the caller wants the program to outlive it.
    struct sigaction before {};
    if (sigaction(SIGHUP, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
    // A file beyond the caller's limit is told as an error of the write.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

bool was_interrupted() { return interrupted; }

void set_partial_file(const std::string& file) {
    armed = false;
    if (file.empty() || file.size() >= sizeof partial) return;
    std::memcpy(partial, file.c_str(), file.size() + 1);
    armed = true;
}

}  // namespace program
