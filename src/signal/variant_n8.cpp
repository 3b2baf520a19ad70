// The signal functions for processors with SSSE3.
#define ZTA_IPP_PREFIX n8
#define ZTA_IPP_VECTOR_BYTES 16
#if !(defined(__SSE2__) && !defined(__SSE3__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
