// The signal functions for processors with AVX-512 F, CD, ER and PF.
#define ZTA_IPP_PREFIX n0
#define ZTA_IPP_VECTOR_BYTES 64
#if !(defined(__AVX512F__) && defined(__AVX512CD__) && !defined(__AVX512BW__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
