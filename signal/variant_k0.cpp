// The signal functions for processors with AVX-512 F, CD, BW, DQ and VL.
#define ZTA_IPP_PREFIX k0
#define ZTA_IPP_VECTOR_BYTES 64
#include "signal/variant_body.inc"
