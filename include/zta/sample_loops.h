/// Selection of the sample loops.
///
/// The kernels of the copy, volume, stereo and mux operations call sample loops. The loops exist in three variants:
/// "scalar" runs on every CPU (hosts may also select it by its former name, "plain"), "avx2" requires AVX2 and FMA,
/// "avx512" requires AVX-512 F, BW, DQ, VL and VBMI. The last two also require that the operating system saves the wide
/// registers. All variants are bit-exact; they differ in speed only. The module selects the widest supported variant,
/// once for the process. These functions are for tests, benchmarks, and hosts that need a fixed variant. They do not
/// affect the signal functions (<zta/ipp.h>).
#pragma once

#include <zta/export.h>

extern "C" {

/// Returns the name of the selected variant. The string is valid while the module is loaded. [any thread] [real-time],
/// but the first call may execute CPUID, which is slow in virtual machines.
ZTA_API const char* ztGetSampleLoops();

/// Selects a variant for the whole process, existing engines included. An operation that is running may finish with the
/// previous variant. [any thread] [real-time], with the same restriction
/// pszName  name of the variant; null selects the default of the module
/// Errors   ZT_E_INVALID_PARAMETER  unknown name, or the CPU does not support the variant; the selection is unchanged
ZTA_API int ztSelectSampleLoops(const char* pszName);

} // extern "C"
