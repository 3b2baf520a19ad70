// The signal functions for processors with AVX.
#define ZTA_IPP_PREFIX e9
#define ZTA_IPP_VECTOR_BYTES 32
#if !(defined(__AVX__) && !defined(__AVX2__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
