#pragma once

#include <zta/export.h>

/// The sample loops, which the kernels of the copy, volume, stereo and mux operations spend their time in, exist once
/// for each instruction set: "plain" runs on every processor, "avx2" on those with AVX2 and FMA, "avx512" on those with
/// AVX-512 F, BW, DQ and VL, each with the operating system's consent. All give the same samples to the last bit; the
/// choice is one of speed, and the module makes it by itself, once for the process. These two functions are for tests,
/// measurements, and for hosts that know better. The signal functions make a choice of their own: see zta/ipp.h.
extern "C" {

/// The name of the loops in use. The string is constant and static. [any thread] [no allocation] [no lock]
ZTA_API const char* ztGetSampleLoops();

/// Puts other loops into use, for the whole process: an operation that runs meanwhile may end with the ones that it
/// began with. Takes effect also for engines that exist. [any thread] [no allocation] [no lock]
/// pszName  their name; null for the module's own choice
/// Errors   ZT_E_INVALID_PARAMETER: no such loops, or this processor does not run them; the ones in use stay
ZTA_API int ztSelectSampleLoops(const char* pszName);

} // extern "C"
