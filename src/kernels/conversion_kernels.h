/// What the classes share that convert the samples of one buffer into another: the steps of a call, and the kernels.
#pragma once

#include "kernels/kernel_call.h"
#include "kernels/loops/loops.h"

#include <zta/status.h>

/// Queries the input and the output of a conversion.
/// Errors  ZT_E_DESTINATION_BUFFER_TOO_SMALL  the capacity of the output is below the valid frames of the input
///         any other code                     from the query
inline int ZtaQueryConversion(CZtaAudioProcessingUtil& rUtil, const SZtaBufferQuery& rsInput,
                              const SZtaBufferQuery& rsOutput)
{
    const int iStatus = ZtaQueryBuffers(rUtil, {rsInput, rsOutput});
    if (iStatus < 0) {
        return iStatus;
    }
    const bool bFits = rsOutput.rsInformations.ulCapacityFrames >= rsInput.rsInformations.ulValidFrames;
    return bFits ? ZT_NOERROR : ZT_E_DESTINATION_BUFFER_TOO_SMALL;
}

/// Dispatches a kernel (frames, input, output) of `rKernels` for the valid frames of the input.
template <class Kernels, class Table>
int ZtaDispatchConversion(Kernels& rKernels, Table& rTable, const SZtAudioBufferInformations& rsInput,
                          const SZtAudioBufferInformations& rsOutput)
{
    return ZtaDispatchKernel(
        rKernels, rTable, rsInput.eFormat, rsOutput.eFormat, rsInput.ulValidFrames, [&](auto pfnKernel) {
            return (rKernels.*pfnKernel)(rsInput.ulValidFrames, rsInput.pvBuffer, rsOutput.pvBuffer);
        });
}

/// Defines a kernel that calls one conversion loop.
#define ZTA_DEFINE_CONVERSION_KERNEL(Class, name, loop, samplesPerFrame)                                               \
    int Class::name(unsigned long ulFrames, void* pvInput, void* pvOutput)                                             \
    {                                                                                                                  \
        ZtaActiveLoops().pfn##loop(pvInput, pvOutput, ulFrames*(samplesPerFrame));                                     \
        return ZT_NOERROR;                                                                                             \
    }
