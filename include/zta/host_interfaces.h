/// What a host implements: its buffers and its engine object.
///
/// The order of the operations is a binary contract: `IUnknown`'s three, then these, with nothing between and nothing
/// after. None of the three has a virtual destructor. The engine calls them on the caller's thread only, from inside
/// its own operations; they must be safe where the caller is, so on a real-time thread they must be real-time safe.
///
/// A negative status ends the operation and is its result, if nothing else is said. Those of the marks and signals are
/// ignored, but that DuplicateAudioSamples returns what SignalWriteCompletion returned. Pointers that the engine
/// passes are valid for the length of the call, and what they point at belongs to the engine.
#pragma once

#include <zta/audio_records.h>
#include <zta/unknown.h>

/// {E7906166-30F4-4F30-AE1E-2FCFAE969330}, the one identifier that the engine asks buffers for
inline constexpr _GUID IID_IZtAVContent ZTA_API = {
    0xE7906166, 0x30F4, 0x4F30, {0xAE, 0x1E, 0x2F, 0xCF, 0xAE, 0x96, 0x93, 0x30}};

/// {20B1F28E-A524-4997-A768-F4FF6342363E}
inline constexpr _GUID IID_IZtAudioSamples ZTA_API = {
    0x20B1F28E, 0xA524, 0x4997, {0xA7, 0x68, 0xF4, 0xFF, 0x63, 0x42, 0x36, 0x3E}};

/// {1E271296-1E50-40C9-8BB5-FB13F8133B96}
inline constexpr _GUID IID_IZtQuonEnginePrivate ZTA_API = {
    0x1E271296, 0x1E50, 0x40C9, {0x8B, 0xB5, 0xFB, 0x13, 0xF8, 0x13, 0x3B, 0x96}};

/// The side of a buffer that keeps its time marks, its completions and its error code.
///
/// Before it calls the engine, the host announces one read on each input and one write on each output; the engine
/// answers each announcement with exactly one signal. How the host announces is its own affair.
class ZTA_API IZtAVContent : public IUnknown {
public:
    /// The engine is about to write this buffer. All checks have passed. The status is ignored.
    virtual int MarkWriteStartTime() = 0;

    /// The engine has ended its work on this buffer. Follows the read completions, precedes SignalWriteCompletion.
    virtual int MarkWriteStopTime() = 0;

    /// The read that the host announced is over. Once per input and operation.
    virtual int SignalReadCompletion() = 0;

    /// The write that the host announced is over. Once per output and operation, the last call on it.
    virtual int SignalWriteCompletion() = 0;

    /// Stores a failure for the next consumer of this buffer. Called on outputs only, with negative codes only. The
    /// status is ignored.
    virtual int SetErrorCode(int iCode) = 0;

    /// Gives what the producer of this buffer left behind, 0 if nothing. The returned status is ignored; `*piCode`
    /// is the outcome.
    virtual int GetErrorCode(int* piCode) = 0;
};

/// A buffer of audio samples.
class ZTA_API IZtAudioSamples : public IZtAVContent {
public:
    /// From now on the description's `ePolarity` reads as passed. The status is ignored.
    virtual int SetPolarity(std::uint32_t ePolarity) = 0;

    /// Relabels the buffer: the next description has this format. The data is not touched.
    virtual int SetWaveFormat(SZtaWaveFormatInfo* psFormat) = 0;

    /// Fills the record, whose `ulSize` the caller has set. A failure during the checks of an operation is its
    /// ZT_E_INVALID_PARAMETER; `ApplyVolume` returns the host's code.
    virtual int GetAudioSamplesDescription(SZtAudioSamplesDescription* psDescription) = 0;

    /// Gives the address of the first sample, at any alignment, and the valid length in bytes. A copy of equal formats
    /// does not look at the status of this call and the next one.
    virtual int GetBufferAndLength(void** ppvBuffer, unsigned long* pulLength) = 0;

    /// Gives the capacity in bytes.
    virtual int GetBufferCapacity(unsigned long* pulCapacity) = 0;

    /// Gives the valid length in sample frames.
    virtual int GetLengthInSampleFrames(unsigned long* pulFrames) = 0;

    /// From now on the description's `bFadeIn` reads as passed. The status is ignored.
    virtual int SetFadeIn(bool bFadeIn) = 0;

    /// From now on the description's `bFadeOut` reads as passed. The status is ignored.
    virtual int SetFadeOut(bool bFadeOut) = 0;

    /// Sets the valid length in bytes, at most the capacity.
    virtual int SetLength(unsigned long ulLength) = 0;
};

/// The host's engine object. The engine uses it during creation only and holds no reference on it.
class ZTA_API IZtQuonEnginePrivate : public IUnknown {
public:
    /// Creates one buffer of the capacity that the record asks for, without altering the record. A failure is the
    /// result of CreateAudioSamplesEngine.
    /// ppSamples  receives the buffer with a reference that the caller owns
    virtual int CreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples) = 0;
};
