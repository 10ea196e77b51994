#include "kernels/division.h"

#include <gtest/gtest.h>

#include "support/levels.h"
#include "support/operands.h"

#if KVNUM_HAVE_GMP
#include <gmp.h>

namespace kvt::kernels {
namespace {

// A / D against the oracle's words.
void check(std::vector<u64> A, const std::vector<u64>& D) {
    const u64 n = D.size();
    std::vector<u64> q(n), complement(n), expected_q(n + 1), expected_rest(n);
    for (u64 i = 0; i < n; ++i) complement[i] = ~D[i];
    mpn_tdiv_qr(expected_q.data(), expected_rest.data(), 0, A.data(), 2 * n, D.data(), n);
    ASSERT_EQ(expected_q[n], 0u);
    expected_q.pop_back();
    divide_words(q.data(), A.data(), complement.data(), n);
    A.resize(n);
    ASSERT_EQ(q, expected_q) << n << " words";
    ASSERT_EQ(A, expected_rest) << n << " words";
}

// Upper half of A := D - less, so that the quotient's words are near the largest.
std::vector<u64> just_below(std::vector<u64> low, const std::vector<u64>& D, u64 less) {
    low.insert(low.end(), D.begin(), D.end());
    mpn_sub_1(low.data() + D.size(), low.data() + D.size(), D.size(), less);
    return low;
}

TEST(Division, QuotientAndRemainderAreThoseOfTheOracle) {
    for (const Levels levels : test::all_levels()) {
        const test::LevelScope scope(levels);
        test::Rng rng(1);
        for (u64 n : {2, 3, 4, 5, 8, 9, 10, 11, 17, 18, 19, 26, 33, 64}) {
            for (test::Pattern of_d : test::hard_patterns) {
                for (test::Pattern of_a : test::hard_patterns) {
                    for (u64 round = 0; round < test::rounds(6); ++round) {
                        auto D = test::words<u64>(of_d, n, rng);
                        D.back() |= u64{1} << 63;
                        auto A = test::words<u64>(of_a, 2 * n, rng);
                        A.back() &= ~u64{0} >> 1;  // below D's top word or equal to it after the next line
                        if (A.back() >= D.back()) A.back() = D.back() - 1;
                        check(A, D);
                        A.resize(n);
                        check(just_below(A, D, 1), D);
                        check(just_below(A, D, 1 + rng.next()), D);
                        // Remainders whose two top words are the divisor's: the largest digit.
                        auto equal = just_below(A, D, 1);
                        equal[2 * n - 1] = D[n - 1];
                        equal[2 * n - 2] = D[n - 2];
                        if (mpn_cmp(equal.data() + n, D.data(), n) < 0) check(equal, D);
                    }
                }
            }
        }
    }
}

// Words at the ends of their range, in the divisor, the digits and the remainder: there digits are corrected.
TEST(Division, DigitsAreCorrected) {
    for (const Levels levels : test::all_levels()) {
        const test::LevelScope scope(levels);
        test::Rng rng(2);
        constexpr u64 top = u64{1} << 63;
        constexpr u64 extremes[] = {0, 1, 2, top - 1, top, top + 1, ~u64{1}, ~u64{0}};
        const auto fill = [&](std::vector<u64>& x) {
            for (u64& word : x) word = rng.below(4) == 0 ? rng.next() : extremes[rng.below(8)];
        };
        for (u64 round = 0; round < test::rounds(20'000); ++round) {
            const u64 n = 2 + rng.below(5);
            std::vector<u64> D(n), q(n), rest(n), A(2 * n);
            fill(D);
            fill(q);
            fill(rest);
            D.back() |= top;
            if (mpn_cmp(rest.data(), D.data(), n) >= 0) mpn_sub_1(rest.data(), D.data(), n, 1 + rng.below(3));
            mpn_mul_n(A.data(), q.data(), D.data(), n);
            mpn_add(A.data(), A.data(), 2 * n, rest.data(), n);
            check(A, D);
        }
    }
}

}  // namespace
}  // namespace kvt::kernels
#endif
