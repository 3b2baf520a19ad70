// The loops for processors with AVX-512 as servers and desktops have it: F, BW, DQ and VL, and what goes before them.
#define ZTA_LOOP_TARGET avx512
#include "kernels/loops/rows_avx2.inc"
#include "kernels/loops/scalar.inc"
#include "kernels/loops/vector_avx512.inc"

namespace zta::loops::ZTA_LOOP_TARGET {
namespace {
using Vector = Avx512;
} // namespace
} // namespace zta::loops::ZTA_LOOP_TARGET

#include "kernels/loops/body.inc"
