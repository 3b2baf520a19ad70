// The signal functions for processors with AVX.
#define ZTA_IPP_PREFIX e9
#define ZTA_IPP_VECTOR_BYTES 32
#include "signal/variant_body.inc"
