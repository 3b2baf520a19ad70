// The loops for processors with AVX2 and FMA.
#define ZTA_LOOP_TARGET avx2
#include "kernels/loops/tile_avx2-inl.h"
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"
#include "kernels/loops/simd_avx2-inl.h"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Avx2;
template <int Bytes>
using RowsOf = RowsList<RowsAvx2<Bytes>>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/loops-inl.h"
