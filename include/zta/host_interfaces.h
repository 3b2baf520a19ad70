/// The interfaces that a host implements: its buffers and its engine object.
///
/// The order of the operations is part of the binary interface: the three of `IUnknown`, then those declared here,
/// nothing in between or after them. None of the interfaces has a virtual destructor. The engine calls the objects on
/// the thread of the operation only, during the operation. On a real-time thread they must be real-time safe.
///
/// If an operation of a host returns a negative status code, the engine's operation ends and returns that code, unless
/// documented otherwise. The status codes of the marks and signals are ignored, with one exception:
/// DuplicateAudioSamples returns that of SignalWriteCompletion. Pointers that the engine passes are valid during the
/// call; the engine owns what they point to.
#pragma once

#include <zta/audio_records.h>
#include <zta/unknown.h>

/// {E7906166-30F4-4F30-AE1E-2FCFAE969330}, the only identifier that the engine queries on buffers
inline constexpr _GUID IID_IZtAVContent ZTA_API = {
    0xE7906166, 0x30F4, 0x4F30, {0xAE, 0x1E, 0x2F, 0xCF, 0xAE, 0x96, 0x93, 0x30}};

/// {20B1F28E-A524-4997-A768-F4FF6342363E}, a buffer; not queried by the engine
inline constexpr _GUID IID_IZtAudioSamples ZTA_API = {
    0x20B1F28E, 0xA524, 0x4997, {0xA7, 0x68, 0xF4, 0xFF, 0x63, 0x42, 0x36, 0x3E}};

/// {1E271296-1E50-40C9-8BB5-FB13F8133B96}, the engine object of a host; not queried by the engine
inline constexpr _GUID IID_IZtQuonEnginePrivate ZTA_API = {
    0x1E271296, 0x1E50, 0x40C9, {0x8B, 0xB5, 0xFB, 0x13, 0xF8, 0x13, 0x3B, 0x96}};

/// Time marks, completion signals and error code of a buffer.
///
/// Before it calls the engine, the host announces one read of each input and one write of each output. The engine
/// signals the completion of each announced access exactly once. How a host announces an access is not part of the
/// interface.
class ZTA_API IZtAVContent : public IUnknown {
public:
    /// The engine will now write this output: all checks have passed. The status code is ignored.
    virtual int MarkWriteStartTime() = 0;

    /// The engine has written this output. Called after the read signals and before SignalWriteCompletion.
    virtual int MarkWriteStopTime() = 0;

    /// The announced read has ended. Called once for each input of an operation.
    virtual int SignalReadCompletion() = 0;

    /// The announced write has ended. Called once for each output of an operation, as the last call except Release.
    virtual int SignalWriteCompletion() = 0;

    /// Records an error code for the next consumer of this buffer. Called on outputs only, with negative codes only.
    /// The status code is ignored.
    virtual int SetErrorCode(int iCode) = 0;

    /// Stores the error code that the producer of this buffer recorded, or 0. The returned status code is ignored;
    /// `*piCode` is the result.
    virtual int GetErrorCode(int* piCode) = 0;
};

/// A buffer of audio samples.
class ZTA_API IZtAudioSamples : public IZtAVContent {
public:
    /// Sets `ePolarity` of the description. The status code is ignored.
    virtual int SetPolarity(std::uint32_t ePolarity) = 0;

    /// Sets the format of the description. The samples do not change.
    virtual int SetWaveFormat(SZtaWaveFormatInfo* psFormat) = 0;

    /// Fills the record; the caller has set `ulSize`. If this fails during the checks of an operation, the operation
    /// returns ZT_E_INVALID_PARAMETER; ApplyVolume returns the host's code.
    virtual int GetAudioSamplesDescription(SZtAudioSamplesDescription* psDescription) = 0;

    /// Stores the address of the first sample, with any alignment, and the valid length in bytes. A copy between equal
    /// formats ignores the status codes of this operation and of GetBufferCapacity.
    virtual int GetBufferAndLength(void** ppvBuffer, unsigned long* pulLength) = 0;

    /// Stores the capacity in bytes.
    virtual int GetBufferCapacity(unsigned long* pulCapacity) = 0;

    /// Stores the valid length in sample frames.
    virtual int GetLengthInSampleFrames(unsigned long* pulFrames) = 0;

    /// Sets `bFadeIn` of the description. The status code is ignored.
    virtual int SetFadeIn(bool bFadeIn) = 0;

    /// Sets `bFadeOut` of the description. The status code is ignored.
    virtual int SetFadeOut(bool bFadeOut) = 0;

    /// Sets the valid length in bytes, at most the capacity.
    virtual int SetLength(unsigned long ulLength) = 0;
};

/// The engine object of the host. An engine uses it during its creation only and acquires no reference.
class ZTA_API IZtQuonEnginePrivate : public IUnknown {
public:
    /// Creates a buffer with the requested properties. Does not modify the record. A failure is the result of
    /// CreateAudioSamplesEngine. [allocates]
    /// ppSamples  receives the buffer with a reference that the caller owns
    virtual int CreateAudioSamples(SZtCreateAudioSamplesDescription* psDescription, IZtAudioSamples** ppSamples) = 0;
};
