// Products and squares of any length, by the call a client uses: mulB and sqrB to 12 words, the dispatcher above.

#include <flint/fft.h>
#include <flint/flint.h>

#include "gmp_operands.h"

namespace peers {
namespace {

constexpr std::size_t longest_direct = 12;

using Shared = std::shared_ptr<Operands>;
using Side = std::function<void(std::uint64_t)>;

Shared product_operands(const Setting& s, std::size_t result_words) {
    auto x = std::make_shared<Operands>(s, result_words);
    x->prepare_product(result_words, s.tasks);
    return x;
}

Side our_product(Shared x, const Setting& s) {
    if (s.words <= longest_direct)
        return repeated([x, s] { mulB_c64(x->ours.data(), x->a.data(), s.words, x->b.data(), s.short_words); });
    return repeated(
        [x, s] { succeed(mul_p_c64(&x->params, x->ours.data(), x->a.data(), s.words, x->b.data(), s.short_words)); });
}

Side our_square(Shared x, const Setting& s) {
    if (s.words <= longest_direct) return repeated([x, s] { sqrB_c64(x->ours.data(), x->a.data(), s.words); });
    return repeated([x, s] { succeed(sqr_p_c64(&x->params, x->ours.data(), x->a.data(), s.words)); });
}

std::function<bool()> equal_results(Shared x) {
    return [x] { return x->ours == x->theirs; };
}

Comparison product_gmp(const Setting& s) {
    Shared x = product_operands(s, s.words + s.short_words);
    return {our_product(x, s), repeated([x, s] { multiply_gmp(*x, s); }), equal_results(x)};
}

Comparison square_gmp(const Setting& s) {
    Shared x = product_operands(s, 2 * s.words);
    return {our_square(x, s), repeated([x, s] { mpn_sqr(limbs(x->theirs), limbs(x->a), s.words); }),
            equal_results(x)};
}

Comparison product_flint(const Setting& s) {
    Shared x = product_operands(s, s.words + s.short_words);
    flint_set_num_threads(static_cast<int>(s.tasks));
    return {our_product(x, s), repeated([x, s] {
                flint_mpn_mul_fft_main(limbs(x->theirs), limbs(x->a), static_cast<mp_size_t>(s.words), limbs(x->b),
                                       static_cast<mp_size_t>(s.short_words));
            }),
            equal_results(x)};
}

Comparison square_flint(const Setting& s) {
    Shared x = product_operands(s, 2 * s.words);
    flint_set_num_threads(static_cast<int>(s.tasks));
    return {our_square(x, s), repeated([x, s] {
                flint_mpn_mul_fft_main(limbs(x->theirs), limbs(x->a), static_cast<mp_size_t>(s.words), limbs(x->a),
                                       static_cast<mp_size_t>(s.words));
            }),
            equal_results(x)};
}

// Our square against our product of two operands of its length: the ratio says how much the square saves.
Comparison square_own_product(const Setting& s) {
    const Setting balanced{s.words, s.words, s.tasks};
    Shared square = product_operands(balanced, 2 * s.words), product = product_operands(balanced, 2 * s.words);
    auto expected = std::make_shared<Words>(2 * s.words);
    mpn_sqr(limbs(*expected), limbs(square->a), s.words);
    return {our_square(square, balanced), our_product(product, balanced),
            [square, expected] { return square->ours == *expected; }};
}

constexpr Operation operations[] = {
    {"mul", "gmp", "mpn_mul_n, mpn_mul", 1, product_gmp},
    {"sqr", "gmp", "mpn_sqr", 1, square_gmp},
    {"mul", "flint", "flint_mpn_mul_fft_main", 128, product_flint},
    {"sqr", "flint", "flint_mpn_mul_fft_main", 128, square_flint},
    {"sqr", "own", "our product", 1, square_own_product},
};

}  // namespace

std::span<const Operation> product_operations() { return operations; }

}  // namespace peers
