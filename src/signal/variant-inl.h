/// All functions of one build.
///
/// A file variant_<prefix>.cpp sets
///   ZTA_IPP_PREFIX        what stands before the names of its functions
///   ZTA_IPP_VECTOR_BYTES  the width of the vectors that it works with
/// and includes this. To add a function: a row in functions.h, and its body here as ZTA_IPP(name).
///
/// Nothing that is compiled here may be shared between objects: the linker keeps one copy of an inline function of a
/// standard header, and that copy may use instructions that the processor does not have. What is no row of functions.h
/// stands in an anonymous namespace.
#include "signal/functions.h"

#define ZTA_IPP_JOIN(prefix, name) prefix##_##name
#define ZTA_IPP_EXPAND(prefix, name) ZTA_IPP_JOIN(prefix, name)
#define ZTA_IPP(name) ZTA_IPP_EXPAND(ZTA_IPP_PREFIX, name)

#include "signal/primitives-inl.h"

#include "signal/filter_bank-inl.h"
#include "signal/resample-inl.h"
