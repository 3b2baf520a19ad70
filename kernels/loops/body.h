/// All loops of one target, and their table.
///
/// To add a loop: a row in its list in loops.h and, if it is of a new kind, its law or move in the file of its family
/// here. To add a target: a row in ZTA_LOOP_TARGET_LIST, a file target_<name>.cpp as short as the others, a header
/// with its vector, and both in CMakeLists.txt. Tests and benchmarks find both by the lists.
///
/// Nothing that is compiled here may be shared between objects: the linker keeps one copy of an inline function of a
/// standard header, and that copy may use instructions that the processor does not have.
#include "kernels/loops/conversions.h"
#include "kernels/loops/interleave.h"
#include "kernels/loops/loops.h"

#define ZTA_STRING_OF(name) #name
#define ZTA_STRING(name) ZTA_STRING_OF(name)

constinit const SZtaSampleLoops zta::loops::ZTA_LOOP_TARGET::g_sLoops = {ZTA_STRING(ZTA_LOOP_TARGET),
#define ZTA_LOOP_ROW(name, in, out, law) Convert<in, out, law>,
                                                                         ZTA_CONVERSION_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
#define ZTA_LOOP_ROW(bytes) Interleave<bytes>, Split<bytes>,
                                                                             ZTA_ELEMENT_LIST(ZTA_LOOP_ROW)
#undef ZTA_LOOP_ROW
};
