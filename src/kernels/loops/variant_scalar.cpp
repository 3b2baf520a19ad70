// The loops for every processor, one sample at a time. The others are tested against them.
#define ZTA_LOOP_VARIANT plain
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {
using NativeSimd = Scalar;
template <int ByteShuffle>
using TilesOf = TileList<>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT

#include "kernels/loops/loops-inl.h"
