// The banner and the build report.

#include <gtest/gtest.h>
#include <kvnum/kvnum.h>

#include "support/console_capture.h"

namespace {

using kvt::test::ConsoleCapture;

TEST(VersionApi, TheBannerNamesTheLibraryAndItsVersion) {
    ConsoleCapture console(SetConsoleSink);
    PrintVersionInfo();
    EXPECT_EQ(console.take().find("kvnum "), 0u);
}

TEST(VersionApi, TheReportHasOneItemALine) {
    ConsoleCapture console(SetConsoleSink);
    CompilationOptions();
    const std::string text = console.take();
    for (const char* line : {
             "\nData Alignment:\t32\n",
             "\nModules:\n    Parallel Frameworks\tnone, spawn, cppasync, winpool, cilk\n    Word Kernels\tscalar, "
             "adx\n"
             "    Vector Kernels\tscalar, avx2, avx512, avx512ifma\n",
             "\nMULv2:\n    c32i_sqr: Basecase - Karatsuba\t22 iwords\n    c32i_mul: Basecase - Karatsuba\t12 "
             "iwords\n"
             "    c64i_sqr: Basecase - Karatsuba\t19 iwords\n    c64i_mul: Basecase - Karatsuba\t18 iwords\n",
             "\n    BKT: Basecase/Karatsuba\t116 words\n    FFT: Floating-Point FFT\t49152 words\n",
             "\n    BKT: Basecase/Karatsuba\t58 words\n    FFT: Floating-Point FFT\t24576 words\n",
             "\nBigFloat:\n    Extra Precision\t2 words\n    Addition Buffer\t128 words\n",
             "\nExactFloat:\n    Basecase clen\t20 words\n",
         })
        EXPECT_NE(text.find(line), std::string::npos) << line << "in\n" << text;
}

}  // namespace
