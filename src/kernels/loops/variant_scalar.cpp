// The loops for every processor, one sample at a time. The others are tested against them.
#define ZTA_LOOP_TARGET plain
#include "kernels/loops/simd_scalar-inl.h"
#include "kernels/loops/tile-inl.h"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Scalar;
template <int Bytes>
using RowsOf = RowsList<>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/loops-inl.h"
