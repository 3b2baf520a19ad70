#pragma once

#include "kernels/kernel_table.h"

#include <zta/audio_records.h>
#include <zta/unknown.h>

/// Resamples 16-bit mono buffers between 44100 and 48000 Hz, one channel of a stream at a time.
///
/// All state lies in the stream object, so one object serves any number of streams. [no allocation per buffer]
class ZTA_API CZtaResampleAudio : public CZtaAudioProcessingUtil {
public:
    CZtaResampleAudio();
    ~CZtaResampleAudio() override;

    int SuggestFormat(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, SZtaWaveFormatInfo* pSuggestedIn,
                      SZtaWaveFormatInfo* pSuggestedOut);
    int QueryFormatSupported(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, bool* pbSupported);

    /// Creates the state of a stream with the rates and the output's channels of two formats. The caller owns the
    /// reference. [allocates]
    /// Errors  ZT_E_INVALID_PARAMETER: a format is not of 16 bits; ZT_E_INCONSISTENCY_DETECTED: no filter for the
    /// rates.
    ///         Rates, channels and data type are the caller's to check.
    int CreateAudioResampler(SZtaWaveFormatInfo* pIn, SZtaWaveFormatInfo* pOut, IUnknown** ppResampler);

    /// ppResampler is left alone on a failure, and what was made by then is not released.
    int CreateAudioResamplerMono16BitsToMono16Bits(unsigned long ulInRate, unsigned long ulOutRate,
                                                   unsigned long ulChannels, IUnknown** ppResampler);

    /// Resamples one mono buffer and sets the output's valid length to what came out. An empty input leaves the output
    /// marked full to its capacity.
    /// ulChannel    the channel of the stream
    /// pResampler   from CreateAudioResampler
    /// Errors  ZT_E_DESTINATION_BUFFER_TOO_SMALL     the output's capacity in frames is below the input's frames, or
    /// not
    ///                                               above input frames * output rate / input rate; the stream has not
    ///                                               moved
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  not 16-bit mono at the two rates
    ///         ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER  no resampler, or one without that channel
    int ResampleAudio(IZtAudioSamples* pIn, IZtAudioSamples* pOut, EZtAudioResamplerMode eMode, unsigned long ulChannel,
                      IUnknown* pResampler);

    /// ulOutSamples  on entry the room of pOut in samples, on success the samples written
    int Resample16BitMonoTo16BitMono(unsigned long ulInSamples, void* pIn, unsigned long& ulOutSamples, void* pOut,
                                     EZtAudioResamplerMode eMode, unsigned long ulChannel, IUnknown* pResampler);

private:
    using Function = int (CZtaResampleAudio::*)(unsigned long ulInSamples, void* pIn, unsigned long& ulOutSamples,
                                                void* pOut, EZtAudioResamplerMode eMode, unsigned long ulChannel,
                                                IUnknown* pResampler);

    TZtaKernelTable<Function, 2> m_oTable;

    friend struct SZtLayoutProbe;
};
