#include "multiply/engine_algorithm.h"

#include "frame/exceptions.h"

namespace kvt::multiply {

template <class W>
const TransformEngine& EngineAlgorithm<W>::engine() const {
    if (source_ == nullptr) raise_no_algorithm();
    return source_();
}

template <class W>
u64 EngineAlgorithm<W>::scratch_bytes(u64, u64) const {
    engine();
    return 0;
}

template <class W>
void EngineAlgorithm<W>::size_record(MulSizeRecord& record, u64 L, u64 tasks) const {
    record = length_record<W>(L, scratch_bytes(L, tasks));
}

template <class W>
void EngineAlgorithm<W>::square(const BasicParameters&, W*, const W*, u64) const {
    engine();
}

template <class W>
void EngineAlgorithm<W>::multiply(const BasicParameters&, W*, const W*, u64, const W*, u64) const {
    engine();
}

template <class W>
void EngineAlgorithm<W>::square_partial(const BasicParameters&, W*, u64, u64, const W*, u64) const {
    engine();
}

template <class W>
void EngineAlgorithm<W>::multiply_partial(const BasicParameters&, W*, u64, u64, const W*, u64, const W*, u64) const {
    engine();
}

template class EngineAlgorithm<u32>;
template class EngineAlgorithm<u64>;

}  // namespace kvt::multiply
