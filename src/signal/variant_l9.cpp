// The signal functions for processors with AVX2 and FMA.
#define ZTA_IPP_PREFIX l9
#define ZTA_IPP_VECTOR_BYTES 32
#if !(defined(__AVX2__) && defined(__FMA__) && !defined(__AVX512F__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
