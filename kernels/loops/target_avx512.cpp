// The loops for processors with AVX-512 as servers and desktops have it, with permutations of bytes: F, BW, DQ, VL and
// VBMI, and what goes before them.
#define ZTA_LOOP_TARGET avx512
#include "kernels/loops/rows_avx2.inc"
#include "kernels/loops/rows_avx512.inc"
#include "kernels/loops/scalar.inc"
#include "kernels/loops/tile.inc"
#include "kernels/loops/vector_avx512.inc"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Avx512;
template <int Bytes>
using RowsOf = RowsList<RowsAvx512<Bytes>, RowsAvx2<Bytes>>;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/body.inc"
