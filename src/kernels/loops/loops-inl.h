/// All loops of one target, and their table.
///
/// To add a loop: a row in its list in loops.h and, if it is of a new kind, its law or move in the file of its family
/// here. To add a target: a row in ZTA_LOOP_TARGET_LIST, a file target_<name>.cpp as short as the others with
/// its options in CMakeLists.txt, and a file with its vector. Tests and benchmarks find both by the lists.
///
/// Nothing that is compiled here may be shared between objects: the linker keeps one copy of an inline function of a
/// standard header, and that copy may use instructions that the processor does not have.
#include "kernels/loops/convert-inl.h"
#include "kernels/loops/fade-inl.h"
#include "kernels/loops/gain_ramp-inl.h"
#include "kernels/loops/interleave-inl.h"
#include "kernels/loops/loops.h"
#include "kernels/loops/interleave_stereo-inl.h"

#define ZTA_STRING_OF(name) #name
#define ZTA_STRING(name) ZTA_STRING_OF(name)

// clang-format off
constinit const SZtaSampleLoops zta::loops::ZTA_LOOP_TARGET::g_sLoops = {
    ZTA_STRING(ZTA_LOOP_TARGET),
#define ZTA_LOOP_ROW(name, in, out, law) Convert<in, out, law>,
    ZTA_CONVERSION_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
#define ZTA_LOOP_ROW(bytes) InterleavePair<bytes>, SplitPair<bytes>,
    ZTA_PAIR_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
    ApplyGainRamp,
#define ZTA_LOOP_ROW(law, bytes, gains) Fade<Vector, law>,
    ZTA_FADE_LOOP_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
#define ZTA_LOOP_ROW(bytes) Interleave<bytes>, Split<bytes>,
    ZTA_ELEMENT_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
};
// clang-format on
