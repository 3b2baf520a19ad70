// The signal functions for processors with AVX-512 F, CD, BW, DQ and VL.
#define ZTA_IPP_PREFIX k0
#define ZTA_IPP_VECTOR_BYTES 64
#if !(defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__))
#error "signal/CMakeLists.txt compiles this variant with other instruction sets"
#endif
#include "signal/variant-inl.h"
