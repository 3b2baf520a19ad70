// The scalar variant, which every processor supports. The other variants are tested against it.
#define ZTA_LOOP_VARIANT scalar
#if !(defined(__SSE2__) && !defined(__SSE3__))
#error "kernels/loops/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {
using NativeSimd = Scalar;
template <int Bytes>
using TilesOf = TileList<>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT

#include "kernels/loops/loops-inl.h"
