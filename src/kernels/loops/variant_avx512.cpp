// The variant for AVX-512 F, BW, DQ, VL and VBMI.
#define ZTA_LOOP_VARIANT avx512
#if !(defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__) &&               \
      defined(__AVX512VBMI__))
#error "kernels/loops/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "kernels/loops/simd_avx512-inl.h"
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"
#include "kernels/loops/tile_avx2-inl.h"
#include "kernels/loops/tile_avx512-inl.h"

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {
using NativeSimd = Avx512;
template <int Bytes>
using TilesOf = TileList<TileAvx512<Bytes>, TileAvx2<Bytes>>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT

#include "kernels/loops/loops-inl.h"
