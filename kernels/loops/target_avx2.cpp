// The loops for processors with AVX2 and FMA.
#define ZTA_LOOP_TARGET avx2
#include "kernels/loops/rows_avx2.inc"
#include "kernels/loops/scalar.inc"
#include "kernels/loops/tile.inc"
#include "kernels/loops/vector_avx2.inc"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Avx2;
template <int Bytes>
using RowsOf = RowsList<RowsAvx2<Bytes>>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/body.inc"
