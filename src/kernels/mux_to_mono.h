#pragma once

#include "kernels/mux_conversion.h"
#include "kernels/mux_kernel_list.h"

/// Splits one mux buffer into mono buffers of the same container.
///
/// Samples are moved as they are. One object serves one caller at a time, since the volume settings are its own.
/// [no allocation but by the constructor] [no lock]
class ZTA_API CZtaConvertMuxToMono : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMuxToMono();
    ~CZtaConvertMuxToMono() override;

    /// Suggests formats that a row processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Splits as many frames as the buffers have, then applies the volumes if there are any, to each buffer by itself.
    /// The buffers must have a length of at least the mux's on entry. Without volumes they end with the mux's length;
    /// with volumes they keep their own.
    /// Errors  ZT_E_INVALID_PARAMETER                no buffer or more than 64; volumes of another count; a buffer that
    ///                                               cannot be digested
    ///         ZT_E_INVALID_POINTER                  a volume count without volumes
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      a buffer of another format than the three of the table; volumes on
    ///                                               16-in-16 buffers; the samples are in them then
    ///         ZT_E_BUFFER_SIZE_MISMATCH             buffers of different lengths
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     buffers shorter than the mux
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no row for the pair; volumes on 24-in-24 buffers, as above
    ///         any other code                        from the buffers or the volume step; the last failure counts
    int ConvertMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                         SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table. Each takes one data pointer for each buffer. No destination may overlap the mux: frames
    // and channels are moved in an order that depends on the processor.
#define ZTA_MUX_ENTRY(in, out, name, body)                                                                             \
    int name(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount, unsigned long ulFrames);
    ZTA_MUX_TO_MONO_LIST(ZTA_MUX_ENTRY)
#undef ZTA_MUX_ENTRY

    // The counted bodies behind most of them, for any count from 2 to 64. They use the array up: each entry then points
    // behind its data.
    int _Convert1MuxToNMonoFor24in32Buffer(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                           unsigned long ulFrames);
    int _Convert1MuxToNMonoFor24in24Buffer(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                           unsigned long ulFrames);
    int _Convert1MuxToNMonoFor16in16Buffer(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                           unsigned long ulFrames);

private:
    using Function = int (CZtaConvertMuxToMono::*)(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                                   unsigned long ulFrames);

    TZtaKernelTable<Function, 15> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};
