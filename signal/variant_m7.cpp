// The signal functions for every processor: SSE2.
#define ZTA_IPP_PREFIX m7
#define ZTA_IPP_VECTOR_BYTES 16
#include "signal/variant_body.inc"
