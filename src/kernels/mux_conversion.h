#pragma once

#include "kernels/kernel_table.h"
#include "kernels/mux_kernel_list.h"
#include "kernels/volume.h"

/// The four classes between an array of mono or stereo buffers and one mux buffer of the same container.
///
/// Samples are copied unchanged, then scaled if the call has volumes. The settings block of the volumes belongs to the
/// object: one call at a time. [one thread] [real-time], except the constructors: [allocates]
///
/// A kernel has an array of one data pointer for each buffer. No buffer of the array may overlap the mux: the order in
/// which frames and channels are copied depends on the variant of the loops. Kernels for any count of buffers, whose
/// names begin with an underscore and which most table entries call, advance each pointer in the array past the
/// processed data. They accept 2 to 64 mono buffers or 2 to 32 stereo buffers.

#define ZTA_INTERLEAVE_KERNEL(in, out, name, kernel)                                                                   \
    int name(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames);
#define ZTA_DEINTERLEAVE_KERNEL(in, out, name, kernel)                                                                 \
    int name(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount, unsigned long ulFrames);

/// Interleaves up to 64 mono buffers into one mux buffer.
class ZTA_API CZtaConvertMonoToMux : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMonoToMux();
    ~CZtaConvertMonoToMux() override;

    /// Suggests formats that a table entry processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Interleaves the valid frames of all buffers and applies the volumes, one for each channel, if there are any. On
    /// entry, the valid length of the mux must be at least that of the buffers. Without volumes it becomes the buffers'
    /// length. With volumes it is kept, and the whole mux is scaled.
    /// Errors  ZT_E_INVALID_PARAMETER                no buffer or too many, another count of volumes, or a buffer of
    ///                                               the array that cannot be queried or classified
    ///         ZT_E_INVALID_POINTER                  a volume count with null volumes
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED       a buffer of the array has a format that the table does not have
    ///         ZT_E_BUFFER_SIZE_MISMATCH             the valid lengths of the array differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the mux is shorter than the buffers
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the pair
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      volumes, and the mux is not 24-in-32; it holds the samples
    ///         any other code                        from the mux or the volumes
    int ConvertMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                         SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table, and those for any count.
    ZTA_MONO_TO_MUX_LIST(ZTA_INTERLEAVE_KERNEL)
    ZTA_MONO_TO_MUX_ANY_COUNT_LIST(ZTA_INTERLEAVE_KERNEL)

private:
    using Self = CZtaConvertMonoToMux;
    using Function = int (Self::*)(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_MONO_TO_MUX_LIST)> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};

/// Interleaves up to 32 stereo buffers into one mux buffer.
class ZTA_API CZtaConvertStereoToMux : public CZtaAudioProcessingUtil {
public:
    CZtaConvertStereoToMux();
    ~CZtaConvertStereoToMux() override;

    /// Suggests formats that a table entry processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Does what ConvertMonoToMux does, for stereo buffers: two volumes for each. One volume more than that fails with
    /// ZT_E_INVALID_PARAMETER after the interleaving.
    int ConvertStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount, IZtAudioSamples* pMux,
                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table, and those for any count.
    ZTA_STEREO_TO_MUX_LIST(ZTA_INTERLEAVE_KERNEL)
    ZTA_STEREO_TO_MUX_ANY_COUNT_LIST(ZTA_INTERLEAVE_KERNEL)

private:
    using Self = CZtaConvertStereoToMux;
    using Function = int (Self::*)(void** ppvSources, unsigned long ulBufferCount, void* pvMux, unsigned long ulFrames);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_STEREO_TO_MUX_LIST)> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};

/// Deinterleaves one mux buffer into up to 64 mono buffers.
class ZTA_API CZtaConvertMuxToMono : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMuxToMono();
    ~CZtaConvertMuxToMono() override;

    /// Suggests formats that a table entry processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Deinterleaves as many frames as the buffers have, then applies the volumes, if there are any, to each buffer
    /// separately. On entry, the valid lengths of the buffers must be at least that of the mux. Without volumes they
    /// become the mux's length; with volumes they are kept.
    /// Errors  ZT_E_INVALID_PARAMETER                no buffer or too many, another count of volumes, or a buffer of
    ///                                               the array that cannot be queried or classified
    ///         ZT_E_INVALID_POINTER                  a volume count with null volumes
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED      a buffer of the array has a format that the table does not have;
    ///                                               or volumes on 16-in-16 buffers, which hold the samples
    ///         ZT_E_BUFFER_SIZE_MISMATCH             the valid lengths of the array differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL     the buffers are shorter than the mux
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  no table entry for the pair; or volumes on 24-in-24 buffers, which
    ///                                               hold the samples
    ///         any other code                        from the buffers or the volumes: the last failure
    int ConvertMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                         SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table, and those for any count.
    ZTA_MUX_TO_MONO_LIST(ZTA_DEINTERLEAVE_KERNEL)
    ZTA_MUX_TO_MONO_ANY_COUNT_LIST(ZTA_DEINTERLEAVE_KERNEL)

private:
    using Self = CZtaConvertMuxToMono;
    using Function = int (Self::*)(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                   unsigned long ulFrames);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_MUX_TO_MONO_LIST)> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};

/// Deinterleaves one mux buffer into up to 32 stereo buffers.
class ZTA_API CZtaConvertMuxToStereo : public CZtaAudioProcessingUtil {
public:
    CZtaConvertMuxToStereo();
    ~CZtaConvertMuxToStereo() override;

    /// Suggests formats that a table entry processes, and logs a failure.
    int SuggestFormat(SZtaWaveFormatInfo* psIn, SZtaWaveFormatInfo* psOut, SZtaWaveFormatInfo* psSuggestedIn,
                      SZtaWaveFormatInfo* psSuggestedOut);

    /// Does what ConvertMuxToMono does, for stereo buffers: two volumes for each. One volume more than that is ignored.
    /// 33 to 64 buffers are rejected only if there are frames to process.
    int ConvertMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                           SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount);

    // The kernels of the table, and those for any count.
    ZTA_MUX_TO_STEREO_LIST(ZTA_DEINTERLEAVE_KERNEL)
    ZTA_MUX_TO_STEREO_ANY_COUNT_LIST(ZTA_DEINTERLEAVE_KERNEL)

private:
    using Self = CZtaConvertMuxToStereo;
    using Function = int (Self::*)(void* pvMux, void** ppvDestinations, unsigned long ulBufferCount,
                                   unsigned long ulFrames);

    TZtaKernelTable<Function, ZTA_ENTRY_COUNT(ZTA_MUX_TO_STEREO_LIST)> m_oTable;
    CZtaApplyVolume m_oApplyVolume;

    friend struct SZtLayoutProbe;
};

#undef ZTA_INTERLEAVE_KERNEL
#undef ZTA_DEINTERLEAVE_KERNEL
