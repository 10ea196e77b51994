#include "support/child_process.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace kvt::test {
namespace {

constexpr char option[] = "--child-case=";
const ChildCase* first_case = nullptr;

#ifdef _WIN32

// The code of the fault becomes the exit status at once; no debugger starts.
LONG WINAPI end_on_fault(EXCEPTION_POINTERS* fault) {
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

void prepare_child() { SetUnhandledExceptionFilter(end_on_fault); }

std::string read_all(HANDLE pipe) {
    std::string out;
    char buffer[4096];
    DWORD got;
    while (ReadFile(pipe, buffer, sizeof buffer, &got, nullptr) && got != 0) out.append(buffer, got);
    std::erase(out, '\r');
    return out;
}

ChildEnd run_self(const std::string& argument) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE read_end, write_end;
    if (!CreatePipe(&read_end, &write_end, &inherit, 0)) throw std::runtime_error("no pipe");
    SetHandleInformation(read_end, HANDLE_FLAG_INHERIT, 0);
    HANDLE nothing = CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                 OPEN_EXISTING, 0, nullptr);
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, sizeof path);
    std::string command = '"' + std::string(path) + "\" \"" + argument + '"';

    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing;
    start.hStdOutput = write_end;
    start.hStdError = nothing;
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process))
        throw std::runtime_error("no process");
    CloseHandle(write_end);
    ChildEnd end{};
    end.output = read_all(read_end);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    for (HANDLE handle : {read_end, nothing, process.hProcess, process.hThread}) CloseHandle(handle);
    end.faulted = code >= 0xC0000000;
    end.status = static_cast<int>(code);
    return end;
}

#else

// Sanitizers leave the fault to the system, and end by abort() where they end a process themselves.
void prepare_child() {}

constexpr char sanitizer_options[] = "handle_segv=0:abort_on_error=1";

ChildEnd run_self(const std::string& argument) {
    // Read here: under valgrind the link itself names the tool to whom it starts.
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDWR);
        dup2(nothing, STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) setenv(name, sanitizer_options, 1);
        execl(program.c_str(), "child", argument.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    ChildEnd end{};
    char buffer[4096];
    for (ssize_t got; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
        end.output.append(buffer, static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    end.faulted = WIFSIGNALED(status) && (WTERMSIG(status) == SIGSEGV || WTERMSIG(status) == SIGABRT);
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

#endif

}  // namespace

ChildCase::ChildCase(const char* name, void (*body)()) : name_(name), body_(body), next_(first_case) {
    first_case = this;
}

ChildEnd ChildCase::run() const { return run_self(option + std::string(name_)); }

void run_child_case_if_asked(int argc, char** argv) {
    // Anything that looks like a case ends here: a child that ran all tests would start children of its own.
    if (argc < 2 || std::strncmp(argv[1], option, sizeof option - 1) != 0) return;
    const ChildCase* wanted = first_case;
    while (wanted != nullptr && std::strcmp(wanted->name_, argv[1] + sizeof option - 1) != 0) wanted = wanted->next_;
    if (wanted == nullptr) std::exit(126);
    prepare_child();
    wanted->body_();
    std::fflush(stdout);
    std::_Exit(ChildCase::returned);
}

}  // namespace kvt::test
