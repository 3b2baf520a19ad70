#pragma once

#include "kernels/kernel_table.h"

#include <zta/audio_records.h>
#include <zta/unknown.h>

/// Resamples 16-bit mono buffers between 44100 and 48000 Hz, one channel of a stream at a time.
///
/// All state lies in the stream object, so one object serves any number of streams. [real-time, except the creation of streams]
class ZTA_API CZtaResampleAudio : public CZtaAudioProcessingUtil {
public:
    CZtaResampleAudio();
    ~CZtaResampleAudio() override;

    int SuggestFormat(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, SZtaWaveFormatInfo* pSuggestedIn,
                      SZtaWaveFormatInfo* pSuggestedOut);
    int QueryFormatSupported(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, bool* pbSupported);

    /// Creates a stream with the rates and the output channels of two formats. The caller owns the reference and has
    /// checked rates, channels and data type. [allocates]
    /// Errors  ZT_E_INVALID_PARAMETER       a format does not have 16 bits per sample
    ///         ZT_E_INCONSISTENCY_DETECTED  no filter exists for the rates, or memory is missing
    int CreateAudioResampler(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, IUnknown** ppResampler);

    /// On failure, leaves *ppResampler unchanged and does not release the objects created so far.
    int CreateAudioResamplerMono16BitsToMono16Bits(unsigned long ulInRate, unsigned long ulOutRate,
                                                   unsigned long ulChannels, IUnknown** ppResampler);

    /// Resamples one mono buffer and sets the valid length of the output. An empty input marks the output as full.
    /// ulChannel is the channel of the stream, pResampler is from CreateAudioResampler.
    ///
    /// Errors  ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output's capacity is below the frames of the input, or not
    ///                                               above input frames * output rate / input rate; the stream is
    ///                                               unchanged
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  not 16-bit mono at the two rates
    ///         ZT_E_INVALID_POINTER                  no resampler, or a buffer has no address
    ///         ZT_E_INVALID_PARAMETER                not a resampler, or the channel does not exist
    int ResampleAudio(IZtAudioSamples* pIn, IZtAudioSamples* pOut, EZtAudioResamplerMode eMode, unsigned long ulChannel,
                      IUnknown* pResampler);

    /// The kernel. On entry ulOutSamples is the capacity of pOut in samples, on success the number of samples written.
    /// A restart primes the channel even if ulInSamples is 0: with the sample at pIn, or with silence if pIn is null.
    int Resample16BitMonoTo16BitMono(unsigned long ulInSamples, void* pIn, unsigned long& ulOutSamples, void* pOut,
                                     EZtAudioResamplerMode eMode, unsigned long ulChannel, IUnknown* pResampler);

private:
    using Function = int (CZtaResampleAudio::*)(unsigned long ulInSamples, void* pIn, unsigned long& ulOutSamples,
                                                void* pOut, EZtAudioResamplerMode eMode, unsigned long ulChannel,
                                                IUnknown* pResampler);

    TZtaKernelTable<Function, 2> m_oTable;

    friend struct SZtLayoutProbe;
};
