// The loops for every processor, one sample at a time. The others are tested against them.
#define ZTA_LOOP_TARGET plain
#include "kernels/loops/scalar.inc"
#include "kernels/loops/tile.inc"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Scalar;
template <int Bytes>
using RowsOf = RowsList<>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/body.inc"
