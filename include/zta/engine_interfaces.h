/// The interfaces of the library: the engine and its factory.
#pragma once

#include <zta/audio_records.h>
#include <zta/host_interfaces.h>
#include <zta/unknown.h>

/// {45F20097-F519-4DCF-80D8-CC0D06CBF259}, the class of the module: the engine factory
inline constexpr _GUID CLSID_ZtaAudioSamplesEngine ZTA_API = {
    0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59}};

/// {1E3A4C45-A1AD-4385-A650-1C3DB428F3CB}, the engine
inline constexpr _GUID IID_IZtaAudioSamplesEngine ZTA_API = {
    0x1E3A4C45, 0xA1AD, 0x4385, {0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB}};

/// {8593F6A8-4042-42B9-86D0-7160A75F5F87}, the engine factory
inline constexpr _GUID IID_IZtaAudioSamplesEngineFactory ZTA_API = {
    0x8593F6A8, 0x4042, 0x42B9, {0x86, 0xD0, 0x71, 0x60, 0xA7, 0x5F, 0x5F, 0x87}};

/// The audio samples engine.
///
/// An operation runs on the caller's thread. When it returns, the completion of every buffer has been signaled, unless
/// the operation documents otherwise. An engine runs one operation at a time: a concurrent call does not block, signals
/// its buffers and returns ZT_E_MODULE_BUSY. Engines share no mutable state. Conversions truncate: they do not round,
/// dither or saturate.
///
/// All operations except CreateAudioResampler are [any thread] [real-time], provided that the host's buffers are.
///
/// Ownership: the caller keeps its references; the engine holds references of its own during the call. Arrays and
/// records belong to the caller and are not used after the call. A failure is returned, and recorded on each output
/// with SetErrorCode. Samples that were written before a failure stay.
///
/// An operation that needs a scratch buffer which the host did not create fails with ZT_E_NOT_INITIALIZED. Which
/// operations need one depends on the formats and on the requested fades.
///
/// Buffers with 20 valid bits in 32 get the format 24 in 32 during the checks, also if the call then fails. ApplyVolume
/// and ProcessAudioResampler do not change formats.
class ZTA_API IZtaAudioSamplesEngine : public IUnknown {
public:
    virtual ~IZtaAudioSamplesEngine() = default;

    /// Copies a buffer to another with the same channel count, converts sample format and data type, and applies the
    /// fades that the source requests. If it requested one, the fade flags of the destination are false afterwards.
    ///
    /// Between equal formats the valid bytes are copied and the valid length of the destination does not change: set it
    /// before the call. The same holds for multi-format words to PCM of the same bits. Other conversions set the valid
    /// length of the destination.
    ///
    /// Errors  ZT_E_INVALID_POINTER                      a buffer is null (null destination: no buffer is signaled)
    ///         ZT_E_INVALID_PARAMETER                    a description is not available, or the destination lacks
    ///                                                   IZtAVContent (then no buffer is signaled)
    ///         ZT_E_AUDIO_CHANNEL_SELECT_COUNT_MISMATCH  the channel counts differ
    ///         ZT_E_MODULE_BUSY                          another operation is running
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL         the source's valid length exceeds the destination's capacity
    ///         ZT_E_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_BUFFER_SIZE_MISMATCH,
    ///         ZT_E_BUFFER_FORMAT_MISMATCH               the engine has no conversion between the formats
    ///         any other code                            error code of the source, or status code of the host
    virtual int CopyAudioSamples(IZtAudioSamples* pSource, IZtAudioSamples* pDestination) = 0;

    /// Interleaves two mono buffers into a stereo buffer, left channel first. Inputs and output may have different
    /// sample formats: they are converted through scratch buffers. If the fade flags of both inputs are equal, their
    /// fades are applied, and the flags of the output are false afterwards. Sets the valid length of the output.
    ///
    /// Errors  ZT_E_INVALID_POINTER                 a buffer is null (null output: no buffer is signaled; null input:
    ///                                              no input is signaled)
    ///         ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY  as for CopyAudioSamples
    ///         ZT_E_FORMAT_NOT_SUPPORTED            the channel counts are not 1, 1 and 2, or a format is not known
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE     a buffer holds opaque data
    ///         ZT_E_BUFFER_SIZE_MISMATCH            the valid lengths of the inputs differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL    a capacity is too small
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED, ZT_E_BUFFER_FORMAT_MISMATCH  no conversion between the formats
    ///         any other code                       error code of an input, or status code of the host
    virtual int CopyAudioSamplesMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                             IZtAudioSamples* pStereo) = 0;

    /// Deinterleaves a stereo buffer into two mono buffers and sets their valid lengths. Applies no fade. Each output
    /// must have the capacity for all frames. Outputs that are too small are rejected if both are, or if the small one
    /// needs a conversion; otherwise the operation writes past the end of the small one.
    ///
    /// Errors  ZT_E_INVALID_POINTER                 a buffer is null (null outputs: no buffer is signaled; null right
    ///                                              output: the input is not signaled)
    ///         ZT_E_FORMAT_NOT_SUPPORTED            the channel counts are not 2, 1 and 1, or a format is not known
    ///         the others as for CopyAudioSamplesMonoToStereo
    virtual int CopyAudioSamplesStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                             IZtAudioSamples* pRight) = 0;

    /// Copies bytes between two buffers of equal format. Propagates polarity and fade flags without applying a fade;
    /// the destination's valid length does not change. Returns the status code of SignalWriteCompletion: a failure of
    /// the copy itself (ZT_E_SOURCE_BUFFER_TOO_SMALL, ZT_E_DESTINATION_BUFFER_TOO_SMALL) is only recorded on the
    /// destination.
    ///
    /// ulSourceOffset       first byte, in the source's valid data
    /// ulDestinationOffset  first byte, in the destination's capacity
    /// ulLength             bytes to copy
    /// Errors  ZT_E_INVALID_POINTER, ZT_E_INVALID_PARAMETER, ZT_E_MODULE_BUSY  as for CopyAudioSamples
    ///         ZT_E_AUDIO_FORMAT_MISMATCH  the formats differ; opaque data may differ in its bits
    ///         any other code              error code of the source, or status code of the host
    virtual int DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                      IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                      unsigned long ulLength) = 0;

    /// Interleaves mono buffers into a mux of 4, 8, 16, 32 or 64 channels. Applies the fades that each input requests,
    /// then the gain ramps, which are optional and work on 24-in-32. Propagates the polarity of the last input. The
    /// mux's valid length must be at least that of the inputs before the call; without gain ramps it is set to that of
    /// the inputs.
    ///
    /// ppMono         array of buffers; entry c is channel c
    /// ulMonoCount    entries of ppMono
    /// psVolumes      array of gain ramps; entry c is that of channel c
    /// ulVolumeCount  0, or the channel count
    /// Errors  ZT_E_INVALID_POINTER               the array, an entry, the gain ramps or the mux are null (null mux: no
    ///                                            buffer is signaled)
    ///         ZT_E_INVALID_PARAMETER             a count is not allowed, a buffer is not readable, or a gain is
    ///                                            outside 0.0 to 8.0; or the mux lacks IZtAVContent (no buffer is
    ///                                            signaled)
    ///         ZT_E_BUFFER_FORMAT_MISMATCH        the mux has another channel count than the array
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE   the mux holds opaque data
    ///         ZT_E_BUFFER_SIZE_MISMATCH          the valid lengths of the inputs differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  an input exceeds the scratch buffers of 192000 bytes, or the valid
    ///                                            length of the mux is too small
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED, ZT_E_FORMAT_NOT_SUPPORTED,
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  the formats are not supported together
    ///         ZT_E_MODULE_BUSY                   another operation is running
    ///         any other code                     error code of an input, or status code of the host
    virtual int CopyAudioSamplesMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Interleaves stereo buffers into a mux; entry k is channels 2k and 2k + 1, gain ramp c is that of channel c.
    /// Propagates also the fade flags of the last input. Otherwise as CopyAudioSamplesMonoToMux.
    virtual int CopyAudioSamplesStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                            IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Deinterleaves a mux into mono buffers with the same container size; channel c is written to entry c. Applies the
    /// gain ramps, which are optional and work on 24-in-32, then the fades that the mux requests. Propagates the
    /// polarity of the mux. Before the call, the valid lengths of the outputs must be equal and at least that of the
    /// mux. Without gain ramps they are set to that of the mux.
    ///
    /// Errors  ZT_E_INVALID_POINTER               the array (no buffer is signaled), the mux or the gain ramps are null
    ///         ZT_E_INVALID_PARAMETER             a count or the channel count of the mux is not allowed, an entry is
    ///                                            null, a buffer is not readable or its format not known, or a gain
    ///                                            is outside 0.0 to 8.0
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE   a buffer holds opaque data
    ///         ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED   an output has another channel count or an unsupported format
    ///         ZT_E_BUFFER_SIZE_MISMATCH          the valid lengths of the outputs differ
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  the valid length of the outputs is less than that of the mux
    ///         ZT_E_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  the formats are not supported together
    ///         ZT_E_MODULE_BUSY                   another operation is running
    ///         any other code                     error code of the mux, or status code of the host
    virtual int CopyAudioSamplesMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Deinterleaves a mux into stereo buffers; channels 2k and 2k + 1 are written to entry k. Otherwise as
    /// CopyAudioSamplesMuxToMono.
    virtual int CopyAudioSamplesMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                            unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Applies one gain ramp for each channel, and then the fades that the input requests. Input and output are
    /// 24-in-32 buffers of equal format and valid length, or one buffer. The result saturates. Propagates the polarity.
    /// The valid length of the output keeps its value.
    ///
    /// psVolumes      array of gain ramps; entry c is that of channel c
    /// ulVolumeCount  the channel count
    /// Errors  ZT_E_INVALID_POINTER               a buffer is null (null output: no buffer is signaled)
    ///         ZT_E_INVALID_PARAMETER             there is not one gain ramp for each channel (null or no gain ramps:
    ///                                            the input is not signaled), a gain is outside 0.0 to 8.0, or a
    ///                                            format is not known; or the output lacks IZtAVContent (no buffer is
    ///                                            signaled)
    ///         ZT_E_PARAMETER_ARRAY_TOO_BIG       there are more than 64 channels
    ///         ZT_E_BUFFER_FORMAT_MISMATCH        the formats differ
    ///         ZT_E_UNSUPPORTED_AUDIO_DATA_TYPE   the input holds multi-format words or opaque data
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  the valid length of the output is less than that of the input
    ///         ZT_E_BUFFER_SIZE_MISMATCH          the valid length of the output is greater than that of the input
    ///         ZT_E_INPUT_FORMAT_NOT_SUPPORTED, ZT_E_OUTPUT_FORMAT_NOT_SUPPORTED,
    ///         ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  the format is not supported
    ///         ZT_E_MODULE_BUSY                   another operation is running
    ///         any other code                     error code of the input, or status code of the host
    virtual int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                            unsigned long ulVolumeCount) = 0;

    /// Creates a stream: the state of one resampled signal of 16-bit PCM between 44100 and 48000 Hz, mono or stereo.
    /// One call at a time may use a stream; streams share no mutable state. Release the stream to destroy it. Do not
    /// call its QueryInterface, which resets the reference count. Throws std::bad_alloc if the stream object cannot be
    /// allocated. [any thread] [allocates]
    ///
    /// ppResampler  receives the stream with a reference that the caller owns
    /// Errors  ZT_E_INVALID_POINTER               a pointer is null
    ///         ZT_E_INVALID_AUDIO_CHANNEL_TYPE    the channel counts are not both 1 or both 2
    ///         ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE  a container is not 16 bits
    ///         ZT_E_INVALID_AUDIO_DATA_TYPE       a data type is not PCM
    ///         ZT_E_INVALID_AUDIO_SAMPLING_RATE   the rates are not 44100 and 48000 Hz
    ///         ZT_E_INCONSISTENCY_DETECTED        the stream could not be created
    virtual int CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                                     IUnknown** ppResampler) = 0;

    /// Resamples one buffer of a stream and sets the valid length of the output. The samples of a stream do not depend
    /// on how it is divided into buffers. The output's capacity in frames must be at least the input's frames, and more
    /// than those times the ratio of the rates. An empty input sets the valid length of the output to its capacity.
    /// Polarity and fades are not propagated.
    ///
    /// eMode       keZtAudioResamplerModeRestart for the first buffer of a stream
    /// pResampler  stream with the same channel count; the engine acquires no reference
    /// Errors  ZT_E_INVALID_POINTER               a buffer or the stream is null (null output: no buffer is signaled)
    ///         ZT_E_INVALID_PARAMETER             as for CopyAudioSamples, or the object is no such stream
    ///         ZT_E_INVALID_AUDIO_CHANNEL_TYPE, ZT_E_INVALID_AUDIO_SAMPLING_RATE, ZT_E_INCOMPATIBLE_BITS_PER_SAMPLE,
    ///         ZT_E_INVALID_AUDIO_DATA_TYPE       as for CreateAudioResampler, in this order
    ///         ZT_E_MODULE_BUSY                   another operation is running
    ///         ZT_E_DESTINATION_BUFFER_TOO_SMALL  the capacity is too small; a mono stream has not advanced
    ///         ZT_E_BUFFER_SIZE_MISMATCH          an earlier failure left the channels out of step: restart the stream
    ///         ZT_E_FORMAT_NOT_SUPPORTED, ZT_E_PROCESSING_FORMAT_NOT_SUPPORTED  the formats are not supported together
    ///         any other code                     error code of the input, or status code of the host
    virtual int ProcessAudioResampler(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, EZtAudioResamplerMode eMode,
                                      IUnknown* pResampler) = 0;
};

/// Creates engines. The class factory of CLSID_ZtaAudioSamplesEngine creates it.
class ZTA_API IZtaAudioSamplesEngineFactory : public IUnknown {
public:
    virtual ~IZtaAudioSamplesEngineFactory() = default;

    /// Creates an engine, and has the host create the 131 scratch buffers of 192000 bytes each. The engine owns their
    /// references until it is destroyed. [any thread] [allocates]
    ///
    /// pEngine     engine object of the host; used during this call only
    /// ulReserved  ignored
    /// ppEngine    receives the engine with a reference that the caller owns, even if the host failed to create a
    ///             buffer; release such an engine without using it
    /// Errors      E_OUTOFMEMORY   an allocation failed; `*ppEngine` is unchanged
    ///             any other code  status code of the host's CreateAudioSamples
    virtual int CreateAudioSamplesEngine(IZtQuonEnginePrivate* pEngine, unsigned long ulReserved,
                                         IZtaAudioSamplesEngine** ppEngine) = 0;
};
