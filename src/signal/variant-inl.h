/// All functions of one variant.
///
/// A file variant_<prefix>.cpp defines
///   ZTA_IPP_PREFIX        the prefix of the names of its functions
///   ZTA_IPP_VECTOR_BYTES  the width of its vectors
/// and includes this header. To add a function: an entry in functions.h, and its body here as ZTA_IPP(name).
///
/// Objects of different variants must not share code: the linker keeps one copy of an inline function of a standard
/// header, and that copy may use instructions that the processor does not have. So every function that is not listed
/// in functions.h is in an anonymous namespace.
#include "signal/filter_bank-inl.h"
#include "signal/primitives-inl.h"
#include "signal/resample-inl.h"
