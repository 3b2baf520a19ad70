#pragma once

#include "kernels/mux_conversion.h"
#include "kernels/mux_kernel_list.h"

/// Interleaves up to 64 mono buffers into one mux buffer of the same container.
///
/// Samples are moved as they are. One object serves one caller at a time, since the volume settings are its own.
/// [no allocation but by the constructor] [no lock]
class ZTA_API CZtaConvertMonoToMux : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMonoToMux();
    ~CZtaConvertMonoToMux() override;

    /// Suggests formats that a row processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Interleaves the valid frames of all buffers, then applies the volumes if there are any. The mux must have a
    /// length of at least the buffers' on entry. Without volumes it ends with the buffers' length; with volumes it
    /// keeps its own, and all of that is scaled.
    /// Errors  ZT_E_INVALID_PARAMETER                no buffer or more than 64; volumes of another count; a buffer that
    ///                                               cannot be digested
    ///         ZT_E_INVALID_POINTER                  a volume count without volumes
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED       a buffer of another format than the three of the table
    ///         ZT_E_BUFFER_SIZE_MISMATCH             buffers of different lengths
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     a mux shorter than the buffers
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no row for the pair
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      volumes on another mux than 24-in-32; the samples are in it then
    ///         any other code                        from the mux or the volume step
    int ConvertMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                         SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table. Each takes one data pointer for each buffer. No source may overlap the mux.
#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int name(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames);
    ZTA_MONO_TO_MUX_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

    // The counted bodies behind most of them, for any count from 2 to 64. They use the array up: each entry then points
    // behind its data.
    int _ConvertNMonoTo1Mux(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames);
    int _ConvertNMonoTo1MuxFor24in24Buffer(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                           unsigned long ulFrames);
    int _ConvertNMonoTo1MuxFor16in16Buffer(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                           unsigned long ulFrames);

private:
    using Function = int (CZtaConvertMonoToMux::*)(void** ppvSources, unsigned long ulBufferCount, void* pvMux,
                                                   unsigned long ulFrames);

    TZtaKernelTable<Function, 15> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};
