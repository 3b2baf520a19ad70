// The signal functions for processors with SSSE3.
#define ZTA_IPP_PREFIX n8
#define ZTA_IPP_VECTOR_BYTES 16
#include "signal/variant_body.inc"
