/// All loops of one variant, and their dispatch table.
///
/// The source file of a variant defines ZTA_LOOP_VARIANT (the namespace), NativeSimd (the instruction set) and TilesOf
/// (the tiles for an element size), and then includes this header.
///
/// To add a loop, add an entry to its list in loops.h and, if necessary, an op to the file of its family. To add a
/// variant, add an entry to ZTA_LOOP_VARIANT_LIST, a source file variant_<name>.cpp, its options in CMakeLists.txt, and
/// a header simd_<name>-inl.h. Tests and benchmarks find both by the lists.
///
/// No symbol may be shared between the objects of two variants: the linker keeps one copy of an inline function of a
/// standard header, and that copy may use instructions that the processor does not support.
#pragma once

#include "kernels/loops/convert-inl.h"
#include "kernels/loops/fade-inl.h"
#include "kernels/loops/gain_ramp-inl.h"
#include "kernels/loops/interleave-inl.h"
#include "kernels/loops/interleave_stereo-inl.h"
#include "kernels/loops/loops.h"

#define ZTA_STRING_OF(name) #name
#define ZTA_STRING(name) ZTA_STRING_OF(name)

namespace zta::loops::ZTA_LOOP_VARIANT {
extern const SZtaSampleLoops g_sLoops;
}

// clang-format off
constinit const SZtaSampleLoops zta::loops::ZTA_LOOP_VARIANT::g_sLoops = {
    ZTA_STRING(ZTA_LOOP_VARIANT),
#define ZTA_LOOP_ENTRY(name, in, out, op) Convert<in, out, op>,
    ZTA_CONVERSION_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
#define ZTA_LOOP_ENTRY(bytes) InterleaveStereo<bytes>, DeinterleaveStereo<bytes>,
    ZTA_STEREO_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
    ApplyGainRamp,
#define ZTA_LOOP_ENTRY(op, bytes, gains) Fade<NativeSimd, op>,
    ZTA_FADE_LOOP_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
#define ZTA_LOOP_ENTRY(bytes) Interleave<bytes>, Deinterleave<bytes>,
    ZTA_ELEMENT_LIST(ZTA_LOOP_ENTRY)
#undef ZTA_LOOP_ENTRY
};
// clang-format on
