// The signal functions for processors with SSE4.2.
#define ZTA_IPP_PREFIX y8
#define ZTA_IPP_VECTOR_BYTES 16
#include "signal/variant_body.inc"
