// The variant for AVX2 and FMA.
#define ZTA_LOOP_VARIANT avx2
#if !(defined(__AVX2__) && defined(__FMA__) && !defined(__AVX512F__))
#error "kernels/loops/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "kernels/loops/simd_avx2-inl.h"
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"
#include "kernels/loops/tile_avx2-inl.h"

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {
using NativeSimd = Avx2;
template <int Bytes>
using TilesOf = TileList<TileAvx2<Bytes>>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT

#include "kernels/loops/loops-inl.h"
