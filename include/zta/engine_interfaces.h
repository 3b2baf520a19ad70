/// What the library offers: the engine and its factory.
#pragma once

#include <zta/audio_records.h>
#include <zta/host_interfaces.h>
#include <zta/unknown.h>

/// The class that the module offers, the factory of engines: {45F20097-F519-4DCF-80D8-CC0D06CBF259}
inline constexpr _GUID CLSID_ZtaAudioSamplesEngine ZTA_API = {
    0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59}};

/// {1E3A4C45-A1AD-4385-A650-1C3DB428F3CB}
inline constexpr _GUID IID_IZtaAudioSamplesEngine ZTA_API = {
    0x1E3A4C45, 0xA1AD, 0x4385, {0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB}};

/// {8593F6A8-4042-42B9-86D0-7160A75F5F87}
inline constexpr _GUID IID_IZtaAudioSamplesEngineFactory ZTA_API = {
    0x8593F6A8, 0x4042, 0x42B9, {0x86, 0xD0, 0x71, 0x60, 0xA7, 0x5F, 0x5F, 0x87}};

/// The audio samples engine.
///
/// Every operation runs to its end on the caller's thread; when it returns, all completions of its buffers have been
/// signalled. One operation runs at a time per engine: a second caller does not wait but gets ZT_E_MODULE_BUSY, with
/// its buffers signalled. Separate engines share nothing. Conversions neither round, dither nor saturate.
///
/// Operations, creation of a resampler apart: [any thread] [no allocation] [no lock] [no system call], as far as the
/// host's own buffers keep that.
///
/// Ownership: the caller keeps its references; the engine holds its own for the length of the call.
/// A failure is returned, and recorded on each output with `SetErrorCode` for its next consumer.
class ZTA_API IZtaAudioSamplesEngine : public IUnknown {
public:
    virtual ~IZtaAudioSamplesEngine() = default;

    /// Copies one buffer into another of the same channel count, converting sample format and data type, and applies
    /// the fades that the source asks for; the destination's fade flags read false afterwards if it asked.
    ///
    /// Between equal formats the bytes are copied and the destination keeps its valid length: a caller that wants
    /// the length to follow sets it first. A conversion sets the destination's valid length.
    ///
    /// Errors  ZT_E_INVALID_POINTER                      a null buffer (null destination: nothing is signalled)
    ///         ZT_E_INVALID_PARAMETER                    a description cannot be read, or the destination has no
    ///                                                   IZtAVContent (then nothing is signalled)
    ///         ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH  channel counts differ
    ///         ZT_E_MODULE_BUSY                          another operation runs
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL         the destination cannot hold the source's valid length
    ///         ZT_E_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_BUFFER_SIZE_MISMATCH,
    ///         ZT_E_BUFFER_FORMAT_MISMATCH               no conversion between the two formats
    ///         any other code                            what the source's producer or the host reported
    virtual int CopyAudioSamples(IZtAudioSamples* pSource, IZtAudioSamples* pDestination) = 0;

    /// Interleaves two mono buffers into one stereo buffer: left first in each sample frame. Formats are brought
    /// together through the pool, and a fade that both inputs ask for is applied. Sets the stereo buffer's length.
    ///
    /// Errors  ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY  as for CopyAudioSamples
    ///         ZT_E_FORMAT_NOT_SUPPORTED           channels are not 1, 1 and 2, or a format is not known
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE    a buffer holds opaque words
    ///         ZT_E_BUFFER_SIZE_MISMATCH           the inputs' lengths differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_BUFFER_FORMAT_MISMATCH
    virtual int CopyAudioSamplesMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                             IZtAudioSamples* pStereo) = 0;

    /// Splits one stereo buffer into two mono buffers and sets their lengths. Each output must have room for the
    /// frames: the call is refused where both are too small, and where one is a buffer that needs a conversion, not
    /// otherwise. Errors as above.
    virtual int CopyAudioSamplesStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                             IZtAudioSamples* pRight) = 0;

    /// Copies `ulLength` bytes between two buffers of one format, from byte `ulSourceOffset` of the source's valid
    /// data to byte `ulDestinationOffset` of the destination's capacity. Polarity and fade flags are handed on, the
    /// destination's length stays. A run outside the buffers is told by the destination's error code alone
    /// (ZT_E_SOURCE_BUFFER_TOO_SMALL, ZT_E_DESTINATION_BUFFER_TOO_SMALL): the call returns what the host's
    /// SignalWriteCompletion returned.
    ///
    /// Errors  ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY  as for CopyAudioSamples
    ///         ZT_E_AUDIO_FORMAT_MISMATCH  formats differ, other than in the width of opaque words
    virtual int DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                      IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                      unsigned long ulLength) = 0;

    /// Interleaves mono buffers into one mux buffer of 4, 8, 16, 32 or 64 channels; entry c is channel c. Volumes, one
    /// for each channel, are optional (count 0) and work on 24-in-32. The mux's valid length must already be the
    /// inputs' or more; without volumes it ends as the inputs'.
    ///
    /// Errors  ZT_E_INVALID_POINTER               null mux (nothing is signalled), array, entry, or missing volumes
    ///         ZT_E_INVALID_PARAMETER             a count that is not allowed, or a buffer that cannot be read
    ///         ZT_E_BUFFER_FORMAT_MISMATCH        the mux's channels are not those of the array
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE   a mux of opaque words
    ///         ZT_E_BUFFER_SIZE_MISMATCH          inputs of different lengths
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  an input beyond the pool's 192000 bytes, or a mux that is too short
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED
    ///         ZT_E_MODULE_BUSY, or what an input's producer or the host reported
    virtual int CopyAudioSamplesMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Interleaves stereo buffers into one mux buffer; entry k is channels 2k and 2k + 1, and volume c is channel c's.
    /// Errors as above.
    virtual int CopyAudioSamplesStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                            IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Splits one mux buffer into mono buffers of its container; channel c goes to entry c. The outputs' valid lengths
    /// must already be equal, and the mux's or more; without volumes they end as the mux's.
    ///
    /// Errors  ZT_E_INVALID_POINTER               null array (nothing is signalled), mux, or volumes with a count
    ///         ZT_E_INVALID_PARAMETER             a count or width that is not allowed, a null entry, or a buffer that
    ///                                            cannot be read
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED   an output of other channels
    ///         the others as above
    virtual int CopyAudioSamplesMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Splits one mux buffer into stereo buffers; channels 2k and 2k + 1 go to entry k. Errors as above.
    virtual int CopyAudioSamplesMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                            unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Applies one gain ramp per channel from a 24-in-32 buffer to another of the same format and length, or to itself,
    /// and then the fades that the input asks for. The result saturates. Sets no length other than the output's own.
    ///
    /// Errors  ZT_E_INVALID_POINTER              a null buffer (null output: nothing is signalled)
    ///         ZT_E_INVALID_PARAMETER            no volumes, not one for each channel, or a gain outside 0.0 to 8.0
    ///         ZT_E_BUFFER_FORMAT_MISMATCH       formats differ
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE  a multi-format or opaque input
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL, ZT_E_BUFFER_SIZE_MISMATCH  an output shorter or longer than the input
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED
    ///         ZT_E_MODULE_BUSY, or what the input's producer or the host reported
    virtual int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                            unsigned long ulVolumeCount) = 0;

    /// Creates the state of one stream of 16-bit PCM between 44100 and 48000 Hz, mono or stereo. The caller owns the
    /// one reference that it gets, and must not query the object. [any thread] [allocates]
    ///
    /// Errors  ZT_E_INVALID_POINTER, ZT_E_INVALID_AUDIO_CHANNEL_TYPE, ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE,
    ///         ZT_E_INVALID_AUDIO_DATA_TYPE, ZT_E_INVALID_AUDIO_SAMPLING_RATE: the first that fits;
    ///         ZT_E_INCONSISTENCY_DETECTED: the stream could not be made
    virtual int CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                                     IUnknown** ppResampler) = 0;

    /// Resamples one buffer of a stream. How a stream is cut into buffers does not change its samples. The output's
    /// valid length tells how many frames came out; its capacity must be at least the input's frames, and more than
    /// those times the ratio of the rates. An empty input marks the output full.
    /// pResampler  from CreateAudioResampler, for as many channels; no reference is taken
    ///
    /// Errors  ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY  as for CopyAudioSamples; also a stream
    ///                                            that is null, or none of this engine's making
    ///         ZT_E_INVALID_AUDIO_CHANNEL_TYPE, ZT_E_INVALID_AUDIO_SAMPLING_RATE, ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE,
    ///         ZT_E_INVALID_AUDIO_DATA_TYPE       the first that fits
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  the stream has not moved, in mono
    ///         ZT_E_BUFFER_SIZE_MISMATCH          the channels are out of step since an earlier failure: restart
    ///         ZT_E_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED
    virtual int ProcessAudioResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                                      IUnknown* pResampler) = 0;
};

/// Creates engines. A host gets it from the module's class factory under CLSID_ZtaAudioSamplesEngine.
class ZTA_API IZtaAudioSamplesEngineFactory : public IUnknown {
public:
    virtual ~IZtaAudioSamplesEngineFactory() = default;

    /// Creates an engine and, through `pEngine`, its pool of 131 buffers of 192000 bytes. [allocates]
    /// pEngine     the host; used during this call only
    /// ulReserved  ignored
    /// ppEngine    receives the engine with the one reference that the caller owns, also when the host refused a
    ///             buffer and the result is that failure: such an engine must be released, not used
    /// Errors      E_OUTOFMEMORY; what the host's CreateAudioSamples reported
    virtual int CreateAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long ulReserved,
                                         IZtaAudioSamplesEngine** ppEngine) = 0;
};
