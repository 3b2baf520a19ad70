// The aliases that a variant's source file defines, for headers that are compiled alone.
#pragma once

#define ZTA_LOOP_VARIANT stub
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {
using NativeSimd = Scalar;
template <int Bytes>
using TilesOf = TileList<>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
