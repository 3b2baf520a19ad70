// The signal functions for processors with AVX-512 F, CD, ER and PF.
#define ZTA_IPP_PREFIX n0
#define ZTA_IPP_VECTOR_BYTES 64
#include "signal/variant_body.inc"
