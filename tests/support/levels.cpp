#include "support/levels.h"

namespace kvt::test {

std::vector<kernels::Levels> all_levels() {
    using namespace kernels;
    const Levels best = supported_levels();
    std::vector<Levels> out{{VectorLevel::scalar, WordLevel::scalar}};
    for (unsigned v = 1; v <= static_cast<unsigned>(best.vector); ++v)
        out.push_back({static_cast<VectorLevel>(v), best.word});
    return out;
}

}  // namespace kvt::test
