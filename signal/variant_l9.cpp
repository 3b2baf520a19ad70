// The signal functions for processors with AVX2 and FMA.
#define ZTA_IPP_PREFIX l9
#define ZTA_IPP_VECTOR_BYTES 32
#include "signal/variant_body.inc"
