/// What the library offers: the engine and its factory.
#pragma once

#include <zta/audio_records.h>
#include <zta/host_interfaces.h>
#include <zta/unknown.h>

inline constexpr _GUID CLSID_ZtaAudioSamplesEngine ZTA_API = {
    0x45F20097, 0xF519, 0x4DCF, {0x80, 0xD8, 0xCC, 0x0D, 0x06, 0xCB, 0xF2, 0x59}};
inline constexpr _GUID IID_IZtaAudioSamplesEngine ZTA_API = {
    0x1E3A4C45, 0xA1AD, 0x4385, {0xA6, 0x50, 0x1C, 0x3D, 0xB4, 0x28, 0xF3, 0xCB}};
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

    /// Interleaves two mono buffers into one stereo buffer: left first in each sample frame.
    virtual int CopyAudioSamplesMonoToStereo(IZtAudioSamples* pLeft, IZtAudioSamples* pRight,
                                             IZtAudioSamples* pStereo) = 0;

    /// Splits one stereo buffer into two mono buffers.
    virtual int CopyAudioSamplesStereoToMono(IZtAudioSamples* pStereo, IZtAudioSamples* pLeft,
                                             IZtAudioSamples* pRight) = 0;

    /// Copies `ulLength` bytes between two buffers of one format, from byte `ulSourceOffset` of the source's valid
    /// data to byte `ulDestinationOffset` of the destination's capacity.
    virtual int DuplicateAudioSamples(IZtAudioSamples* pSource, unsigned long ulSourceOffset,
                                      IZtAudioSamples* pDestination, unsigned long ulDestinationOffset,
                                      unsigned long ulLength) = 0;

    /// Interleaves mono buffers into one mux buffer; entry c is channel c. Volumes are optional (count 0).
    virtual int CopyAudioSamplesMonoToMux(IZtAudioSamples** ppMono, unsigned long ulMonoCount, IZtAudioSamples* pMux,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Interleaves stereo buffers into one mux buffer; entry k is channels 2k and 2k + 1.
    virtual int CopyAudioSamplesStereoToMux(IZtAudioSamples** ppStereo, unsigned long ulStereoCount,
                                            IZtAudioSamples* pMux, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Splits one mux buffer into mono buffers.
    virtual int CopyAudioSamplesMuxToMono(IZtAudioSamples* pMux, IZtAudioSamples** ppMono, unsigned long ulMonoCount,
                                          SZtAudioMonoVolumeInfo* psVolumes, unsigned long ulVolumeCount) = 0;

    /// Splits one mux buffer into stereo buffers.
    virtual int CopyAudioSamplesMuxToStereo(IZtAudioSamples* pMux, IZtAudioSamples** ppStereo,
                                            unsigned long ulStereoCount, SZtAudioMonoVolumeInfo* psVolumes,
                                            unsigned long ulVolumeCount) = 0;

    /// Applies one gain ramp per channel from a buffer to another of the same format and length, or to itself.
    virtual int ApplyVolume(IZtAudioSamples* pInput, IZtAudioSamples* pOutput, SZtAudioMonoVolumeInfo* psVolumes,
                            unsigned long ulVolumeCount) = 0;

    /// Creates the state of one resampled stream. The caller owns the reference that it gets. [allocates]
    virtual int CreateAudioResampler(SZtaWaveFormatInfo* psInputFormat, SZtaWaveFormatInfo* psOutputFormat,
                                     IUnknown** ppResampler) = 0;

    /// Resamples one buffer of a stream.
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
