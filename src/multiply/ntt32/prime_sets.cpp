#include "multiply/ntt32/prime_sets.h"

namespace kvt::multiply::ntt32 {

constinit const NttPrimeSet prime_sets[set_count] = {
#include "multiply/ntt32/prime_sets_data.inl"
};

}  // namespace kvt::multiply::ntt32
