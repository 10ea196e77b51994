// Memory of a product of two operands of n words beyond operands and result, in bytes a word of the product: our scratch as
// the size queries tell it, and what each side really touches: the growth of a child process's peak.
//   kvnum_bench_memory n...

#include <flint/fft.h>
#include <gmp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "multiply/dispatch.h"
#include "multiply/twiddle_table.h"

using namespace kvt;
using namespace kvt::multiply;

namespace {

// A line of /proc/self/status, in bytes.
double status_bytes(const std::string& name) {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        double kilobytes = 0;
        if (word == name && file >> kilobytes) return 1024 * kilobytes;
    }
    std::exit(1);
}

struct Words {
    std::vector<u64> a, b, c;
};

// What the peak of a child grows by while it runs `side`, per word of the product.
double growth(u64 n, const std::function<void(Words&)>& prepare, const std::function<void(Words&)>& side) {
    int channel[2];
    if (pipe(channel) != 0) std::exit(1);
    const pid_t child = fork();
    if (child == 0) {
        Words w{std::vector<u64>(n, 0x123456789abcdef1), std::vector<u64>(n, 0xfedcba9876543211),
                std::vector<u64>(2 * n, 1)};
        prepare(w);
        const double before = status_bytes("VmRSS:");
        side(w);
        const double bytes = status_bytes("VmHWM:") - before;
        _exit(write(channel[1], &bytes, sizeof bytes) == sizeof bytes ? 0 : 1);
    }
    double bytes = 0;
    int status = 0;
    if (child < 0 || read(channel[0], &bytes, sizeof bytes) != sizeof bytes) std::exit(1);
    waitpid(child, &status, 0);
    close(channel[0]);
    close(channel[1]);
    return bytes / (2 * static_cast<double>(n));
}

}  // namespace

int main(int argc, char** argv) {
    std::printf("%10s %12s %10s %8s %8s   bytes per word of the product\n", "words", "our query", "our peak", "GMP",
                "FLINT");
    for (int i = 1; i < argc; ++i) {
        const u64 n = std::strtoull(argv[i], nullptr, 10);
        MulSizeRecord record;
        mul_Psize<u64>(record, 2 * n, 1);
        const auto nothing = [](Words&) {};
        const double ours = growth(
            n, [&](Words&) { ensure_global_table(128 * n); },
            [&](Words& w) {
                void* const scratch = std::malloc(record.scratch_bytes + 64);
                const BasicParameters params{global_table(), scratch, record.scratch_bytes, 1};
                mul_p<u64>(params, w.c.data(), w.a.data(), n, w.b.data(), n);
            });
        const double gmp = growth(
            n, nothing, [n](Words& w) { mpn_mul_n(w.c.data(), w.a.data(), w.b.data(), static_cast<mp_size_t>(n)); });
        const double flint = growth(n, nothing, [n](Words& w) {
            flint_mpn_mul_fft_main(w.c.data(), w.a.data(), static_cast<mp_size_t>(n), w.b.data(),
                                   static_cast<mp_size_t>(n));
        });
        std::printf("%10llu %12.1f %10.1f %8.1f %8.1f\n", static_cast<unsigned long long>(n),
                    static_cast<double>(record.scratch_bytes) / (2 * static_cast<double>(n)), ours, gmp, flint);
        std::fflush(stdout);
    }
}
