// The signal functions for processors with SSE4.2.
#define ZTA_IPP_PREFIX y8
#define ZTA_IPP_VECTOR_BYTES 16
#if !(defined(__SSE4_2__) && !defined(__AVX__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
