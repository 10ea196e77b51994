// Pi as the program computes it, with and without text, to a precision of so many words.

#include "constants.h"
#include "numbers.h"

namespace peers {
namespace {

// The latest value, to be compared.
using Value = std::shared_ptr<kv::Real>;

kv::Real compute(std::size_t words) {
    program::Progress progress(false, 1);
    program::Workshop shop{progress, words, static_cast<double>(words) * 19.2659197};
    return program::pi().first.evaluate(shop);
}

Side our_pi(std::size_t words, std::uint64_t tasks, Value value) {
    return repeated([=] {
        kv::Context context(tasks);
        *value = compute(words);
    });
}

Side our_pi_with_text(std::size_t words, std::uint64_t tasks, Value value) {
    return repeated([=] {
        kv::Context context(tasks);
        *value = compute(words);
        context.release();
        const kv::Text text = value->to_decimal(static_cast<std::uint64_t>(static_cast<double>(words) * 19.2659197));
        if (text.view().substr(0, 4) != "3.14") throw std::runtime_error("wrong digits");
    });
}

Comparison pi_mpfr(const Setting& setting) {
    auto s = std::make_shared<Numbers>(setting);
    auto m = std::make_shared<MpfrNumbers>(*s);
    auto value = std::make_shared<kv::Real>();
    return {our_pi(s->p, s->tasks, value), repeated([m] {
                mpfr_free_cache();
                mpfr_const_pi(m->z, MPFR_RNDZ);
            }),
            [s, value, m] { return close(*s, *value->get(), m->z); }};
}

Comparison pi_flint(const Setting& setting) {
    auto s = std::make_shared<Numbers>(setting);
    auto f = std::make_shared<FlintNumbers>(*s);
    auto value = std::make_shared<kv::Real>();
    return {our_pi(s->p, s->tasks, value), repeated([f] {
                flint_cleanup();  // forgets the value before
                arb_const_pi(f->z, f->precision);
            }),
            [s, value, f] { return close(*s, *value->get(), f->z); }};
}

using MakePi = Side (*)(std::size_t, std::uint64_t, Value);

template <MakePi make>
Comparison in_products(const Setting& s) {
    return {make(s.words, s.tasks, std::make_shared<kv::Real>()), our_product(std::make_shared<Numbers>(s)),
            [] { return true; }};
}

constexpr Operation operations[] = {
    {"pi", "mpfr", "mpfr_const_pi", 2, pi_mpfr},
    {"pi", "flint", "arb_const_pi", 100, pi_flint},  // which has fewer words in a table
    {"pi", "own", "our product", 2, in_products<our_pi>},
    {"pi_text", "own", "our product", 2, in_products<our_pi_with_text>},
};

}  // namespace

std::span<const Operation> pi_operations() { return operations; }

}  // namespace peers
