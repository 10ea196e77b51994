#include "support/fault_campaign.h"

#if defined(__linux__)
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "frame/console.h"
#include "frame/exceptions.h"

namespace kvt::test {
namespace {

// Shared between the parent and its children.
struct Board {
    FaultCounts counts;
    u64 next;
    bool reported;  // the running trial has printed something
};

void run_children_share(Board& board, u64 faults, FaultCampaign::Trial trial, void* context) {
    for (; board.next < faults; ++board.next) {
        board.reported = false;
        FaultOutcome outcome = FaultOutcome::caught;
        try {
            outcome = trial(context, board.next);
        } catch (const kv_exception&) {
        }
        switch (outcome) {
            case FaultOutcome::caught: ++board.counts.caught; break;
            case FaultOutcome::harmless: ++board.counts.harmless; break;
            case FaultOutcome::wrong: ++board.counts.wrong; break;
        }
    }
}

}  // namespace

FaultCounts FaultCampaign::run(u64 faults, Trial trial, void* context) {
    void* const memory = mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& board = *new (memory) Board{};
    while (board.next < faults) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            set_console_sink([](void* context, const char*, u64, char) { *static_cast<bool*>(context) = true; },
                             &board.reported);
            run_children_share(board, faults, trial, context);
            _exit(0);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child) break;
        if (board.next == faults) break;
        ++(board.reported ? board.counts.ended : board.counts.crashed);
        ++board.next;
    }
    FaultCounts counts = board.counts;
    counts.faults = board.next;
    munmap(memory, sizeof(Board));
    return counts;
}

void FaultCampaign::print_head() {
    std::printf("%-28s %-24s %8s %8s %8s %8s %8s %8s\n", "operation", "fault in", "faults", "caught", "ended",
                "harmless", "wrong", "crashed");
}

void FaultCampaign::print(const std::string& operation, const std::string& where, const FaultCounts& counts) {
    const auto number = [](u64 value) { return static_cast<unsigned long long>(value); };
    std::printf("%-28s %-24s %8llu %8llu %8llu %8llu %8llu %8llu\n", operation.c_str(), where.c_str(),
                number(counts.faults), number(counts.caught), number(counts.ended), number(counts.harmless),
                number(counts.wrong), number(counts.crashed));
}

}  // namespace kvt::test
#endif
